# What `cmake --install` puts where. The paths in the package files are relative, so that an
# installed tree can be moved.
include(CMakePackageConfigHelpers)

set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME Runtime)
set(resources ${CMAKE_INSTALL_DATADIR}/tolvek)
set(headers ${CMAKE_INSTALL_INCLUDEDIR}/tolvek)
set(package ${CMAKE_INSTALL_LIBDIR}/cmake/tolvek)

# Programs and what belongs to them. `made` is the target that writes the page, if one does.
function(install_manual page made)
  cmake_path(GET page FILENAME name)
  add_custom_command(OUTPUT ${name}.gz DEPENDS ${page} ${made}
    COMMAND gzip -9nc ${page} > ${name}.gz VERBATIM)
  add_custom_target(compressed_${name} ALL DEPENDS ${name}.gz)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endfunction()

install(TARGETS tolvek RUNTIME)
install_manual(${PROJECT_SOURCE_DIR}/docs/man/tolvek.1 "")
if(TARGET tvk)
  install(TARGETS tvk RUNTIME)
  install_manual(${PROJECT_BINARY_DIR}/tvk.1 tvk_manual)
  install(FILES completions/tvk.bash
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME tvk)
endif()

install(DIRECTORY data/ DESTINATION ${resources})
install(FILES LICENSE README.md CHANGELOG.md cmake/copyright DESTINATION ${CMAKE_INSTALL_DOCDIR})
# The recipes of docs/cookbook.md read the last two.
install(DIRECTORY docs examples resources DESTINATION ${CMAKE_INSTALL_DOCDIR}
  PATTERN man EXCLUDE PATTERN "*.py" EXCLUDE PATTERN "*.sh" EXCLUDE)

# The library.
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME Development)
install(TARGETS tolvek_lib EXPORT tolvek ARCHIVE INCLUDES DESTINATION ${headers})
install(DIRECTORY src/ DESTINATION ${headers}
  FILES_MATCHING PATTERN "*.h" PATTERN app EXCLUDE)

install(EXPORT tolvek NAMESPACE tolvek:: DESTINATION ${package} FILE tolvekTargets.cmake)
configure_package_config_file(cmake/tolvekConfig.cmake.in tolvekConfig.cmake
  INSTALL_DESTINATION ${package} PATH_VARS resources)
write_basic_package_version_file(tolvekConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/tolvekConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/tolvekConfigVersion.cmake DESTINATION ${package})

# The variables of an installation may be absolute paths: so each is made relative.
set(pc_prefix ${CMAKE_INSTALL_PREFIX})
cmake_path(RELATIVE_PATH pc_prefix BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH pc_libdir ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_LIBDIR})
file(RELATIVE_PATH pc_includedir ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_INCLUDEDIR}/tolvek)
file(RELATIVE_PATH pc_resources ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_DATADIR}/tolvek)
configure_file(cmake/tolvek.pc.in tolvek.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/tolvek.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
