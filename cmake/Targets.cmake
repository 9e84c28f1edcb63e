# SPDX-FileCopyrightText: 2026 the history-convert authors
# SPDX-License-Identifier: MIT

# How the project's libraries, programs and tests are built.
#
#   core_library(NAME [OPTIONS TARGET] [SOURCES ...] HEADERS ... [DEPENDS ...])
#     A static library, of the device software without OPTIONS: no exceptions,
#     no RTTI. Every header is compiled alone once, so that each one includes
#     what it needs.
#   core_test(NAME [BUSY] [ALONE] [ONE_THREAD] [OPTIONS TARGET] SOURCES ... DEPENDS ...)
#     A GoogleTest program. Its cases share TEST_PROCESSES processes, each of
#     which becomes a test with a time limit; each case is in one of its own
#     when that is 0 or the program is ALONE. Nothing when tests are not built,
#     nor with ONE_THREAD when data races are looked for. The libraries that it
#     tests are optimised and checked as the preset and they themselves say, its
#     own code only if it is BUSY: most take longer to be compiled than to run.
#   compile_as_one(TARGET)
#     With COMPILE_AS_ONE, several of its sources are compiled at a time, as most
#     of the time goes into the headers that they share; not those that have
#     options of their own. Call it behind what links build_options, whose
#     -Wshadow it takes back. core_test calls it.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)

# Seconds. Generous: a test that hangs must fail, a slow machine must not.
set(TEST_TIME_LIMIT 120)

set(SANITIZED OFF)
set(DATA_RACES OFF)
if(CMAKE_CXX_FLAGS MATCHES -fsanitize)
  set(SANITIZED ON)
endif()
if(CMAKE_CXX_FLAGS MATCHES -fsanitize=thread)
  set(DATA_RACES ON)
endif()
# Nothing slows programs down; what a sanitizer or an emulator adds nothing to is tested here alone.
set(PLAIN_BUILD ON)
if(SANITIZED OR CMAKE_CROSSCOMPILING)
  set(PLAIN_BUILD OFF)
endif()
option(COMPILE_AS_ONE "Compile several sources of the tests and of history-db at a time" OFF)
set(TEST_PROCESSES 0 CACHE STRING
  "Processes that the cases of a test program share, or 0 when each has its own")

if(SANITIZED)
  list(APPEND TESTS_LEFT_OUT
    # Sanitizers take more memory than a test of it allows, and have an allocator that asks nobody
    # when there is none.
    "MemoryTest.*" FaultsDeathTest.MemoryThatCannotBeHadIsFatal
    # They make the regular expressions of the C++ library take more stack than there can be.
    "DumpSchemaTest.*" "*/DumpSchemaTest.*"
    # Their strcasecmp knows the letters of ASCII only.
    StringLocaleTest.IgnoresTheCaseOfItsLetters
    # These start hundreds of processes, each of which does the same with one call failing.
    "*/InterruptedMigrationTest.*" "ExchangedFilesTest.*")
endif()
if(NOT PLAIN_BUILD)
  # Some of the histories of files do, each takes seconds.
  list(APPEND TESTS_LEFT_OUT "Histories/CrashTest.*/3" "Histories/CrashTest.*/4" "Histories/CrashTest.*/5")
endif()
if(DATA_RACES)
  list(APPEND TESTS_LEFT_OUT
    # The sanitizer keeps a signal back that comes just as a wait begins, and nothing ends the wait then.
    PosixSemaphoreTest.GoesBackToWaitingAfterASignalHandler
    # It gives threads larger stacks.
    ThreadsTest.RunUnderTheirNameOnASmallStackWithoutPriority
    # It takes a descriptor to find out what is suppressed.
    ScarcityTest.TooFewDescriptors ScarcityTest.NoDescriptorForInfile
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

# For what is shipped: a fault in the programs must not become a way into the device. Position-independent
# code is the default of Debian's compilers. Sanitizers bring checks of their own, and do not work with
# those of the C library. tests/hardening checks the result.
add_library(hardening INTERFACE)
if(NOT SANITIZED)
  include(CheckCXXCompilerFlag)
  target_compile_options(hardening INTERFACE -fstack-protector-strong
    # Takes an optimised build.
    $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
  foreach(flag stack-clash-protection cf-protection)
    check_cxx_compiler_flag(-f${flag} HAS_${flag})
    if(HAS_${flag})
      target_compile_options(hardening INTERFACE -f${flag})
    endif()
  endforeach()
  target_link_options(hardening INTERFACE LINKER:-z,relro LINKER:-z,now)
endif()

add_library(core_options INTERFACE)
target_link_libraries(core_options INTERFACE build_options hardening)
# Some processors, ARM among them, have no other way to tell the call stack of a fatal error.
target_compile_options(core_options INTERFACE -fno-exceptions -fno-rtti -funwind-tables)

# Classes derived from those of a core library have to do without RTTI, too.
add_library(test_options INTERFACE)
target_link_libraries(test_options INTERFACE build_options)
target_compile_options(test_options INTERFACE -fno-rtti)

# For the tests' own code, most of which takes longer to be compiled than to run. Data races and wrong
# addresses are looked for there too, as what it calls is in part compiled with it.
add_library(compiled_fast INTERFACE)
target_compile_options(compiled_fast INTERFACE -O0 -fno-sanitize=undefined)

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

  if(NOT PLAIN_BUILD)
    return()
  endif()
  set(units)
  foreach(header ${arg_HEADERS})
    set(unit ${CMAKE_CURRENT_BINARY_DIR}/alone/${header}.cpp)
    file(CONFIGURE OUTPUT ${unit} CONTENT "#include \"${CMAKE_CURRENT_SOURCE_DIR}/${header}\"\n")
    list(APPEND units ${unit})
  endforeach()
  add_library(${name}_headers OBJECT ${units})
  target_link_libraries(${name}_headers PRIVATE ${arg_OPTIONS} ${name})
endfunction()

# Names of one source may shadow those of another, which they never meet otherwise. The builds that
# compile each source on its own look for shadowing.
add_library(compiled_as_one INTERFACE)
target_compile_options(compiled_as_one INTERFACE -Wno-shadow)
function(compile_as_one target)
  if(COMPILE_AS_ONE)
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 10)
    target_link_libraries(${target} PRIVATE compiled_as_one)
  endif()
endfunction()

function(core_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "BUSY;ALONE;ONE_THREAD" "OPTIONS" "SOURCES;DEPENDS")
  if(NOT BUILD_TESTING OR (arg_ONE_THREAD AND DATA_RACES))
    return()
  endif()
  if(NOT arg_OPTIONS)
    set(arg_OPTIONS test_options)
  endif()

  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_OPTIONS} ${arg_DEPENDS} GTest::gtest_main
    $<$<NOT:$<BOOL:${arg_BUSY}>>:compiled_fast>)
  compile_as_one(${name})

  # Those that cannot run where the tests are built for, by name.
  list(JOIN TESTS_LEFT_OUT ":" left_out)
  # Those that take longest come first.
  set(cost 0)
  if(arg_ALONE)
    set(cost 1000)
  endif()
  if(arg_ALONE OR NOT TEST_PROCESSES)
    gtest_discover_tests(${name} TEST_FILTER "-${left_out}" DISCOVERY_TIMEOUT 60
      PROPERTIES TIMEOUT ${TEST_TIME_LIMIT} COST ${cost})
    return()
  endif()
  math(EXPR time_limit "5 * ${TEST_TIME_LIMIT}")
  foreach(process RANGE 1 ${TEST_PROCESSES})
    set(test ${name}.${process}of${TEST_PROCESSES})
    math(EXPR shard "${process} - 1")
    add_test(NAME ${test} COMMAND ${name} "--gtest_filter=-${left_out}")
    set_tests_properties(${test} PROPERTIES TIMEOUT ${time_limit}
      ENVIRONMENT "GTEST_TOTAL_SHARDS=${TEST_PROCESSES};GTEST_SHARD_INDEX=${shard}")
  endforeach()
endfunction()
