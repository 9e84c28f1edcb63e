# SPDX-FileCopyrightText: 2026 the history-convert authors
# SPDX-License-Identifier: MIT

# How the project's libraries, programs and tests are built.
#
#   core_library(NAME [OPTIONS TARGET] [SOURCES ...] HEADERS ... [DEPENDS ...])
#     A static library, of the device software without OPTIONS: no exceptions,
#     no RTTI. Every header is compiled alone once, so that each one includes
#     what it needs.
#   core_test(NAME [BUSY] [OPTIONS TARGET] SOURCES ... DEPENDS ...)
#     A GoogleTest program; each of its cases becomes a test with a time limit.
#     Nothing when tests are not built. What it tests is optimised as the preset
#     says, its own code only if it is BUSY itself: most take longer to be
#     compiled than to run.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)

# Seconds. Generous: a test that hangs must fail, a slow machine must not.
set(TEST_TIME_LIMIT 120)

if(CMAKE_CXX_FLAGS MATCHES -fsanitize)
  list(APPEND TESTS_LEFT_OUT
    # Sanitizers take more memory than a test of it allows, and have an allocator that asks nobody
    # when there is none.
    "MemoryTest.*" FaultsDeathTest.MemoryThatCannotBeHadIsFatal
    # These start hundreds of processes, each of which does the same with one call failing.
    "*/InterruptedMigrationTest.*")
endif()
if(CMAKE_CXX_FLAGS MATCHES -fsanitize=thread)
  list(APPEND TESTS_LEFT_OUT
    # The sanitizer gives threads larger stacks.
    ThreadsTest.RunUnderTheirNameOnASmallStackWithoutPriority
    # It takes a descriptor to find out what is suppressed.
    ScarcityTest.TooFewDescriptors
    # These have one thread, and take minutes when each access is watched.
    "*/CrashTest.*" "*TargetTest.*"
    # What a file holds makes no difference to the threads.
    "*/HostileInputTest.*")
endif()

find_package(Threads REQUIRED)

add_library(build_options INTERFACE)
target_compile_options(build_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wsign-conversion -Wextra-semi
  $<IF:$<CXX_COMPILER_ID:GNU>,-Wcast-align=strict,-Wcast-align>
  $<$<BOOL:${HISTORY_CONVERT_WERROR}>:-Werror>)
# Files past 2 GiB must fail for what they are, not for their offset.
target_compile_definitions(build_options INTERFACE _FILE_OFFSET_BITS=64)
target_include_directories(build_options INTERFACE ${PROJECT_SOURCE_DIR})
target_link_libraries(build_options INTERFACE Threads::Threads)

# For what asks the system about files: on 32-bit processors it refuses those dated behind January 2038
# otherwise.
add_library(file_dates INTERFACE)
target_compile_definitions(file_dates INTERFACE _TIME_BITS=64)

add_library(core_options INTERFACE)
target_link_libraries(core_options INTERFACE build_options)
# Some processors, ARM among them, have no other way to tell the call stack of a fatal error.
target_compile_options(core_options INTERFACE -fno-exceptions -fno-rtti -funwind-tables)

# Classes derived from those of a core library have to do without RTTI, too.
add_library(test_options INTERFACE)
target_link_libraries(test_options INTERFACE build_options)
target_compile_options(test_options INTERFACE -fno-rtti)

function(core_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "OPTIONS" "SOURCES;HEADERS;DEPENDS")
  if(NOT arg_OPTIONS)
    set(arg_OPTIONS core_options)
  endif()

  if(arg_SOURCES)
    add_library(${name} STATIC ${arg_SOURCES})
    set(scope PUBLIC)
    target_link_libraries(${name} PRIVATE ${arg_OPTIONS})
  else()
    add_library(${name} INTERFACE)
    set(scope INTERFACE)
  endif()
  target_sources(${name} ${scope} FILE_SET HEADERS
    BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${arg_HEADERS})
  target_link_libraries(${name} ${scope} ${arg_DEPENDS})

  set(units)
  foreach(header ${arg_HEADERS})
    set(unit ${CMAKE_CURRENT_BINARY_DIR}/alone/${header}.cpp)
    file(CONFIGURE OUTPUT ${unit} CONTENT "#include \"${CMAKE_CURRENT_SOURCE_DIR}/${header}\"\n")
    list(APPEND units ${unit})
  endforeach()
  add_library(${name}_headers OBJECT ${units})
  target_link_libraries(${name}_headers PRIVATE ${arg_OPTIONS} ${name})
endfunction()

function(core_test name)
  if(NOT BUILD_TESTING)
    return()
  endif()
  cmake_parse_arguments(PARSE_ARGV 1 arg "BUSY" "OPTIONS" "SOURCES;DEPENDS")
  if(NOT arg_OPTIONS)
    set(arg_OPTIONS test_options)
  endif()

  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_OPTIONS} ${arg_DEPENDS} GTest::gtest_main)
  if(NOT arg_BUSY)
    target_compile_options(${name} PRIVATE -O0)
  endif()
  # Those that cannot run where the tests are built for, by name.
  list(JOIN TESTS_LEFT_OUT ":" left_out)
  gtest_discover_tests(${name} TEST_FILTER "-${left_out}" DISCOVERY_TIMEOUT 60
    PROPERTIES TIMEOUT ${TEST_TIME_LIMIT})
endfunction()
