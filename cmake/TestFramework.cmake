# SPDX-FileCopyrightText: 2026 the history-convert authors
# SPDX-License-Identifier: MIT

# GoogleTest as GTest::gtest and GTest::gtest_main. For another machine there is no package of it: it
# is built from the sources that the Debian package googletest has.

if(NOT CMAKE_CROSSCOMPILING)
  find_package(GTest REQUIRED)
  return()
endif()

set(BUILD_GMOCK OFF)
set(INSTALL_GTEST OFF)
set(CMAKE_POLICY_DEFAULT_CMP0077 NEW)
add_subdirectory(/usr/src/googletest ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
# The tests that do not run for 32-bit processors under an emulator.
list(APPEND TESTS_LEFT_OUT
  # Two mappings of 2 GiB: there are no such addresses.
  LimitTest.AFileOfTwoGibibytesTakesNoMore
  # The emulator gives programs files of its own making in /proc/self.
  NamesTest.EachInfileHasAClearEnd)

foreach(library gtest gtest_main)
  # Its headers are not to be warned about.
  get_target_property(folders ${library} INTERFACE_INCLUDE_DIRECTORIES)
  set_target_properties(${library} PROPERTIES INTERFACE_SYSTEM_INCLUDE_DIRECTORIES "${folders}")
  if(NOT TARGET GTest::${library})
    add_library(GTest::${library} ALIAS ${library})
  endif()
endforeach()
