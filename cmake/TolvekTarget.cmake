# What all of our own targets are compiled with. It is linked privately, so nothing of it reaches
# those who use the library.
add_library(tolvek_options INTERFACE)
target_compile_features(tolvek_options INTERFACE cxx_std_20)
target_compile_options(tolvek_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow
  # Sums are rounded as written: no fused multiply-add.
  -ffp-contract=off
  # g++ 12 takes "text" + string for an overlapping copy (its bug 105651).
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
if(TOLVEK_WARNINGS_AS_ERRORS)
  target_compile_options(tolvek_options INTERFACE -Werror)
endif()
if(TOLVEK_SANITIZE)
  target_compile_options(tolvek_options INTERFACE
    -fsanitize=${TOLVEK_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer
    # With sanitizers g++ takes much of the standard library for uninitialized.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  target_link_options(tolvek_options INTERFACE -fsanitize=${TOLVEK_SANITIZE})
endif()

# One folder of the core: an object library, so that using a folder that is not named under DEPENDS
# does not link. All of them together make libtolvek.a.
function(tolvek_layer name)
  cmake_parse_arguments(LAYER "" "" "SOURCES;DEPENDS" ${ARGN})
  add_library(${name} OBJECT ${LAYER_SOURCES})
  target_include_directories(${name} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/src>)
  target_compile_features(${name} PUBLIC cxx_std_20)
  target_link_libraries(${name} PUBLIC ${LAYER_DEPENDS} PRIVATE $<BUILD_INTERFACE:tolvek_options>)
endfunction()
