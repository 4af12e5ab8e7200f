# `cpack` makes one Debian package of all that is installed.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tolvek)
set(CPACK_PACKAGE_VENDOR "Tolvek developers")
set(CPACK_PACKAGE_CONTACT "Tolvek developers <tolvek@example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_DESCRIPTION
"Finds the words of Chinese text and the tokens of English text, and their
parts of speech.

This package contains the programs tolvek and tvk, the C++ library with its
headers, and the models.")
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/OpenToAll.cmake)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION text)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
include(CPack)
