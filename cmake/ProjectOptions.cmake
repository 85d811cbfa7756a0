# Compiler settings shared by every target the project builds itself.

set(TEV_SANITIZER "" CACHE STRING "Sanitizer variant: empty, asan or tsan")

if(TEV_SANITIZER STREQUAL "asan")
  set(tev_sanitizer_flags -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
elseif(TEV_SANITIZER STREQUAL "tsan")
  set(tev_sanitizer_flags -fsanitize=thread -fno-omit-frame-pointer)
elseif(NOT TEV_SANITIZER STREQUAL "")
  message(FATAL_ERROR "TEV_SANITIZER must be empty, asan or tsan, not '${TEV_SANITIZER}'")
endif()

if(tev_sanitizer_flags)
  add_compile_options(${tev_sanitizer_flags} -O1)
  add_link_options(${tev_sanitizer_flags})
endif()

# __FILE__ relative to the source tree, as on a device build.
add_compile_options(-fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=)

# Warnings as errors, for the project's own targets only.
function(tev_project_target target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Werror)
endfunction()

# Android's libutils (RefBase, sp, wp) from Debian.
find_path(ANDROID_UTILS_INCLUDE_DIR utils/RefBase.h PATHS /usr/include/android REQUIRED)
find_library(ANDROID_UTILS_LIBRARY utils PATHS /usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/android REQUIRED NO_DEFAULT_PATH)
add_library(android_utils SHARED IMPORTED GLOBAL)
set_target_properties(android_utils PROPERTIES
  IMPORTED_LOCATION ${ANDROID_UTILS_LIBRARY}
  INTERFACE_INCLUDE_DIRECTORIES ${ANDROID_UTILS_INCLUDE_DIR})

# One gtest executable per call, registered with ctest as one test.
function(tev_add_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gmock GTest::gtest_main)
  tev_project_target(${name})
  add_test(NAME ${name} COMMAND ${name})
endfunction()

# A gtest executable whose every test runs in a process of its own, for code with
# process-wide state (the library's singleton, its counters and its IPC thread).
include(GoogleTest)
function(tev_add_isolated_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gmock GTest::gtest_main)
  tev_project_target(${name})
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT 120)
endfunction()
