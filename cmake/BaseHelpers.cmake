# Helpers that add every area of Base the same way: its library sources, its test executable,
# its benchmarks and its fuzz targets. Each area's CMakeLists.txt is a few calls to these.

# The areas of the library, each after the areas it uses: in the order of their first layer in
# cmake/BaseLayers.txt (Utility at its core's place; .ci/check-rules compares the two). Each has
# a folder under src/components/Base/ and, where it has them, under tests/, bench/ and fuzz/.
set(BASE_AREAS Containers RTB Linear Utility String OS TCP IO Undo Plugin)

# base_add_plugin(): plug-in libraries for the loader (shared with client projects).
include("${CMAKE_CURRENT_LIST_DIR}/BasePlugin.cmake")

# base_add_area_subdirectories(): adds <Area>/ of the current folder for every area that has a
# CMakeLists.txt there.
macro(base_add_area_subdirectories)
  foreach(_base_area IN LISTS BASE_AREAS)
    if(EXISTS "${CMAKE_CURRENT_SOURCE_DIR}/${_base_area}/CMakeLists.txt")
      add_subdirectory(${_base_area})
    endif()
  endforeach()
endmacro()

# Compiler warnings for Base's own targets (never for third-party code such as GoogleTest).
function(base_set_warnings target)
  if(MSVC)
    target_compile_options(${target} PRIVATE /W4)
  else()
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic)
    if(BASE_WARNINGS_AS_ERRORS)
      target_compile_options(${target} PRIVATE -Werror)
    endif()
  endif()
endfunction()

# base_platform_sources(<variable> <file>...)
# Sets <variable> to the files that belong to this build, picked by name: "...Posix.cpp" only
# on POSIX builds, "...Win32.cpp" only on Windows builds, every other file always.
function(base_platform_sources variable)
  set(picked)
  foreach(file IN LISTS ARGN)
    if(file MATCHES "Win32\\.cpp$" AND NOT WIN32)
      continue()
    endif()
    if(file MATCHES "Posix\\.cpp$" AND WIN32)
      continue()
    endif()
    list(APPEND picked "${file}")
  endforeach()
  set(${variable} ${picked} PARENT_SCOPE)
endfunction()

# base_add_sources(<file>...)
# Adds sources of the current area to the Base library, platform files picked by name.
function(base_add_sources)
  base_platform_sources(files ${ARGN})
  foreach(file IN LISTS files)
    target_sources(Base PRIVATE "${CMAKE_CURRENT_SOURCE_DIR}/${file}")
  endforeach()
endfunction()

# base_find_gtest(): GoogleTest as GTest::gtest / GTest::gtest_main. The system package when it
# fits the compiler; for a cross build it is compiled from /usr/src/googletest.
macro(base_find_gtest)
  if(NOT CMAKE_CROSSCOMPILING)
    find_package(GTest QUIET)
  endif()
  if(NOT TARGET GTest::gtest)
    if(NOT EXISTS "/usr/src/googletest/CMakeLists.txt")
      message(FATAL_ERROR "GoogleTest not found (install googletest / libgtest-dev)")
    endif()
    set(BUILD_GMOCK OFF CACHE BOOL "" FORCE)
    set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
    set(gtest_force_shared_crt ON CACHE BOOL "" FORCE)
    add_subdirectory("/usr/src/googletest" "${PROJECT_BINARY_DIR}/_deps/googletest" EXCLUDE_FROM_ALL SYSTEM)
    if(NOT TARGET GTest::gtest)
      add_library(GTest::gtest ALIAS gtest)
      add_library(GTest::gtest_main ALIAS gtest_main)
    endif()
  endif()
  include(GoogleTest)
endmacro()

# base_add_test(<Area> <file>...)
# One GoogleTest executable per area, Base<Area>Tests, discovered by CTest when the tests run
# (under Wine through the cross-compiling emulator for the Windows build).
function(base_add_test area)
  set(target "Base${area}Tests")
  add_executable(${target} ${ARGN})
  target_link_libraries(${target} PRIVATE Base::Base BaseTestSupport GTest::gtest_main)
  target_include_directories(${target} PRIVATE "${PROJECT_SOURCE_DIR}/tests/support")
  base_set_warnings(${target})
  gtest_discover_tests(${target}
    DISCOVERY_MODE PRE_TEST
    DISCOVERY_TIMEOUT 120
    TEST_PREFIX "${area}."
    PROPERTIES LABELS "${area}" TIMEOUT 600)
endfunction()

# base_add_benchmark(<name> <file>... [LIBRARIES <lib>...])
# A Google Benchmark program bench_<name>; comparison libraries go in LIBRARIES.
function(base_add_benchmark name)
  cmake_parse_arguments(ARG "" "" "LIBRARIES" ${ARGN})
  set(target "bench_${name}")
  add_executable(${target} ${ARG_UNPARSED_ARGUMENTS})
  target_link_libraries(${target} PRIVATE Base::Base benchmark::benchmark ${ARG_LIBRARIES})
  target_include_directories(${target} PRIVATE "${PROJECT_SOURCE_DIR}/bench/support")
  base_set_warnings(${target})
endfunction()

# base_add_fuzzer(<name> <file>...)
# With BASE_BUILD_FUZZERS (clang): a libFuzzer program fuzz_<name>, and a test that replays its
# corpus. Otherwise: fuzz_<name>_replay, the same entry point under a small driver that feeds it
# every file of fuzz/corpus/<name>/, registered as an ordinary test.
function(base_add_fuzzer name)
  set(corpus "${PROJECT_SOURCE_DIR}/fuzz/corpus/${name}")
  if(BASE_BUILD_FUZZERS)
    set(target "fuzz_${name}")
    add_executable(${target} ${ARGN})
    target_link_libraries(${target} PRIVATE Base::Base)
    target_include_directories(${target} PRIVATE "${PROJECT_SOURCE_DIR}/fuzz/support")
    target_compile_options(${target} PRIVATE -fsanitize=fuzzer)
    target_link_options(${target} PRIVATE -fsanitize=fuzzer)
    add_test(NAME "fuzz.${name}.corpus" COMMAND ${target} -runs=0 "${corpus}")
  else()
    set(target "fuzz_${name}_replay")
    add_executable(${target} ${ARGN} "${PROJECT_SOURCE_DIR}/fuzz/support/ReplayMain.cpp")
    target_link_libraries(${target} PRIVATE Base::Base)
    target_include_directories(${target} PRIVATE "${PROJECT_SOURCE_DIR}/fuzz/support")
    base_set_warnings(${target})
    if(CMAKE_CROSSCOMPILING AND WIN32)
      # Wine sees the host's root directory as drive Z:.
      set(corpus "Z:${corpus}")
    endif()
    add_test(NAME "fuzz.${name}.corpus" COMMAND ${target} "${corpus}")
  endif()
  set_tests_properties("fuzz.${name}.corpus" PROPERTIES LABELS "fuzz" TIMEOUT 600)
endfunction()
