# SPDX-FileCopyrightText: 2026 the history-convert authors
# SPDX-License-Identifier: MIT

# Debian packages of what is installed, one for each component; `./dev package` makes them.

file(STRINGS changelog entry LIMIT_COUNT 1)
if(NOT entry MATCHES "^history-convert \\(${PROJECT_VERSION}-([0-9]+)\\) ")
  message(FATAL_ERROR "The first entry of packaging/changelog is not of ${PROJECT_VERSION}: ${entry}")
endif()
set(CPACK_DEBIAN_PACKAGE_RELEASE ${CMAKE_MATCH_1})
set(debian_version ${PROJECT_VERSION}-${CMAKE_MATCH_1})
file(STRINGS ${PROJECT_SOURCE_DIR}/CHANGELOG.md section REGEX "^## \\[${PROJECT_VERSION}\\] - ")
if(NOT section)
  message(FATAL_ERROR "CHANGELOG.md has no section of ${PROJECT_VERSION}")
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_CONTACT "The history-convert authors <history-convert@packages.invalid>")
# Each description begins with a summary of its own.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SOURCE history-convert)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_CONVERTER_PACKAGE_NAME history-convert)
set(CPACK_DEBIAN_CONVERTER_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_CONVERTER_DESCRIPTION
"converter of history databases between schema versions
An embedded device keeps its history in one database file. This program
reads such a file, whose records are of one schema version, and writes
them anew under another one. It is what a device needs for an upgrade.")

set(CPACK_DEBIAN_HISTORY-DB_PACKAGE_NAME history-db)
set(CPACK_DEBIAN_HISTORY-DB_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_HISTORY-DB_DESCRIPTION
"inspector of history databases
Tells what history databases hold and what is wrong with them, proves that
a conversion kept every value, upgrades a file with care, dumps, loads,
copies and plots histories. With the documents of the project.")
# It runs the converter of its own version.
set(history_db_depends "history-convert (= ${debian_version})")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME history-convert-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
"layers of the history converter as a C++ library
Message-passing servers on POSIX threads, a database interface with
synchronous proxies, its service on Metakit datafiles, and the records of
both schema versions: a static library, its headers and a CMake package.")
# What includes the headers and links the library cannot do without these.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libc6-dev, libstdc++-12-dev")

if(CMAKE_CROSSCOMPILING)
  # dpkg-shlibdeps knows the packages of this machine alone. These are what it tells there, and what
  # unwinds the stack on ARM.
  set(CPACK_DEBIAN_CONVERTER_PACKAGE_DEPENDS
    "libc6 (>= 2.34), libgcc-s1 (>= 3.5), libstdc++6 (>= 11)")
  string(APPEND history_db_depends
    ", libc6 (>= 2.34), libfmt9 (>= 9.1.0+ds1), libgcc-s1 (>= 3.5), libgcrypt20 (>= 1.10.0)"
    ", libstdc++6 (>= 12)")
else()
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
endif()
set(CPACK_DEBIAN_HISTORY-DB_PACKAGE_DEPENDS "${history_db_depends}")

set(CPACK_COMPONENTS_ALL converter)
if(HISTORY_CONVERT_HISTORY_DB)
  list(APPEND CPACK_COMPONENTS_ALL history-db)
endif()
if(NOT USE_SYSTEM_METAKIT)
  list(APPEND CPACK_COMPONENTS_ALL development)
endif()

# What every Debian package has, and no other installation.
add_compressed(changelog changelog.Debian)
foreach(component ${CPACK_COMPONENTS_ALL})
  string(TOUPPER ${component} upper)
  set(name ${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
  install(FILES copyright ${CMAKE_CURRENT_BINARY_DIR}/changelog.Debian.gz
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name} COMPONENT ${component} EXCLUDE_FROM_ALL)
  install(FILES lintian-overrides RENAME ${name}
    DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()

include(CPack)
