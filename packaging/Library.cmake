# SPDX-FileCopyrightText: 2026 the history-convert authors
# SPDX-License-Identifier: MIT

# The layers of the device software as one library, its headers and the CMake package. The programs are
# built of the libraries of the layers, which hold their dependencies to what ARCHITECTURE.md allows.

include(CMakePackageConfigHelpers)

add_library(layers STATIC)
foreach(layer posix rtk_list rtk_string rtk_error rtk_thread rtk_messaging random
              database database_metakit metakit persist_history persist)
  get_target_property(headers ${layer} HEADER_SET)
  target_sources(layers PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${headers})
  get_target_property(type ${layer} TYPE)
  if(type STREQUAL STATIC_LIBRARY)
    target_sources(layers PRIVATE $<TARGET_OBJECTS:${layer}>)
  endif()
endforeach()
set(headers ${CMAKE_INSTALL_INCLUDEDIR}/history-convert)

# Without RTTI: classes derived from those of the library need it like them.
target_compile_options(layers INTERFACE -fno-rtti)
target_compile_features(layers INTERFACE cxx_std_17)
target_link_libraries(layers INTERFACE Threads::Threads)
# The headers include <mk4.h>.
target_include_directories(layers INTERFACE
  $<INSTALL_INTERFACE:${headers}> $<INSTALL_INTERFACE:${headers}/metakit>)
set_target_properties(layers PROPERTIES
  LINKER_LANGUAGE CXX OUTPUT_NAME history-convert EXPORT_NAME history-convert)

set(package ${CMAKE_INSTALL_LIBDIR}/cmake/history-convert)
install(TARGETS layers EXPORT history-convert-targets COMPONENT development
  FILE_SET HEADERS DESTINATION ${headers} COMPONENT development)
install(EXPORT history-convert-targets
  NAMESPACE history-convert:: DESTINATION ${package} COMPONENT development)
write_basic_package_version_file(history-convert-config-version.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES history-convert-config.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/history-convert-config-version.cmake
  DESTINATION ${package} COMPONENT development)
