# SPDX-License-Identifier: Apache-2.0
# What every target of the tree shares: the language level, the warnings, the sanitizers, and where
# the programs, bundles and resources end up.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(VELTO_BUNDLES_DIR ${CMAKE_BINARY_DIR}/bundles)
set(VELTO_RESOURCES_DIR ${CMAKE_BINARY_DIR}/share/velto/alerts)

find_program(CCACHE ccache)
if(CCACHE)
  # The settings without which it does not look at what includes a precompiled header.
  set(CMAKE_C_COMPILER_LAUNCHER
      env CCACHE_SLOPPINESS=pch_defines,time_macros ${CCACHE})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_C_COMPILER_LAUNCHER})
  add_compile_options($<$<AND:$<COMPILE_LANGUAGE:CXX>,$<CXX_COMPILER_ID:GNU>>:-fpch-preprocess>)
endif()

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wformat=2
                    -Wundef -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  add_compile_options(-Wthread-safety)
else()
  # GCC 12 takes the destructor of a std::variant for a use of every alternative.
  add_compile_options(-Wno-maybe-uninitialized)
endif()

if(VELTO_SANITIZE)
  add_compile_options(-fsanitize=${VELTO_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all
                      -O1 -g1)
  add_link_options(-fsanitize=${VELTO_SANITIZE})
  if(VELTO_SANITIZE MATCHES "undefined" AND NOT VELTO_FUZZ)
    # It looks through a pipe whether an object's memory can be read, and takes a good object for a
    # wild one where there are no descriptors left, as some tests have it.
    add_compile_options(-fno-sanitize=vptr)
  endif()
else()
  add_compile_options(-fstack-protector-strong)
  add_link_options(-Wl,-z,relro,-z,now)
  if(CMAKE_BUILD_TYPE STREQUAL "Release")
    add_compile_definitions(_FORTIFY_SOURCE=2)
  endif()
endif()

if(VELTO_FUZZ)
  # So that the fuzzer sees which code an input reaches.
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# velto_library(NAME SOURCES... [PUBLIC libs...] [PRIVATE libs...])
function(velto_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name} PUBLIC ${ARG_PUBLIC} PRIVATE ${ARG_PRIVATE})
endfunction()

# What most tests include, compiled once for all of them: it is more than most of their own code.
# Product code goes without, so that a missing include shows.
function(velto_precompile_for_tests target)
  if(NOT TARGET velto_test_headers)
    # A program, since it has to be compiled with the same flags as those that use it.
    file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/TestHeaders.cpp CONTENT "int main() {}\n")
    add_executable(velto_test_headers EXCLUDE_FROM_ALL ${CMAKE_BINARY_DIR}/TestHeaders.cpp)
    target_link_libraries(velto_test_headers PRIVATE Boost::json GTest::gmock)
    target_precompile_headers(
      velto_test_headers PRIVATE <boost/json.hpp> <gmock/gmock.h> <gtest/gtest.h> <filesystem>
      <functional> <map> <memory> <optional> <string> <thread> <variant> <vector>)
  endif()
  target_precompile_headers(${target} REUSE_FROM velto_test_headers)
endfunction()

# velto_test(NAME SOURCES... LIBRARIES libs... [LABELS labels...])
# A GoogleTest program; each of its tests is a test of its own to ctest. Programs labelled
# "concurrent" run under ThreadSanitizer as well.
function(velto_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBRARIES;LABELS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  if(VELTO_SANITIZE STREQUAL "thread")
    target_sources(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests/support/UninstrumentedLibraries.cpp)
  endif()
  target_link_libraries(${name} PRIVATE ${ARG_LIBRARIES} velto_test_support Boost::json
                                        GTest::gmock GTest::gtest_main)
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  velto_precompile_for_tests(${name})
  if(VELTO_TEST_LABEL AND NOT VELTO_TEST_LABEL IN_LIST ARG_LABELS)
    set_target_properties(${name} PROPERTIES EXCLUDE_FROM_ALL ON)
    return()
  endif()
  set(properties TIMEOUT 300)
  if(ARG_LABELS)
    list(APPEND properties LABELS ${ARG_LABELS})
  endif()
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST PROPERTIES ${properties})
endfunction()

# velto_fuzz_target(NAME SOURCE LIBRARIES libs...)
# With VELTO_FUZZ a libFuzzer program; without, a program that replays the seed corpus
# fuzz/corpus/NAME, which runs as a test.
function(velto_fuzz_target name source)
  cmake_parse_arguments(ARG "" "" "LIBRARIES" ${ARGN})
  if(VELTO_FUZZ)
    add_executable(${name} ${source})
    target_link_options(${name} PRIVATE -fsanitize=fuzzer)
  else()
    add_executable(${name} ${source} ${PROJECT_SOURCE_DIR}/fuzz/ReplayMain.cpp)
    add_test(NAME fuzz.${name} COMMAND ${name} ${PROJECT_SOURCE_DIR}/fuzz/corpus/${name})
  endif()
  target_link_libraries(${name} PRIVATE ${ARG_LIBRARIES})
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/fuzz)
endfunction()

# velto_bench(NAME SOURCES... LIBRARIES libs...)
# A benchmark program. It also runs as a test, once through small data, so that it keeps working.
function(velto_bench name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBRARIES" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LIBRARIES} benchmark::benchmark fmt::fmt)
  if(VELTO_TESTS)
    add_test(NAME bench.${name} COMMAND ${name} --quick)
  endif()
endfunction()
