# SPDX-FileCopyrightText: 2026 the history-convert authors
# SPDX-License-Identifier: MIT

# Finds an installed Metakit: its header mk4.h and its library, named mk4 or mk4_static. Gives the
# target Metakit::mk4. Tell where it is installed by CMAKE_PREFIX_PATH.

find_path(Metakit_INCLUDE_DIR mk4.h)
find_library(Metakit_LIBRARY NAMES mk4 mk4_static)
mark_as_advanced(Metakit_INCLUDE_DIR Metakit_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Metakit
  REQUIRED_VARS Metakit_LIBRARY Metakit_INCLUDE_DIR)

if(Metakit_FOUND AND NOT TARGET Metakit::mk4)
  add_library(Metakit::mk4 UNKNOWN IMPORTED)
  set_target_properties(Metakit::mk4 PROPERTIES
    IMPORTED_LOCATION ${Metakit_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${Metakit_INCLUDE_DIR})
endif()
