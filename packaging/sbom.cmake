# SPDX-FileCopyrightText: 2026 the history-convert authors
# SPDX-License-Identifier: MIT

# What the programs are made of, and under which licences: ${SBOM}, in the form of SPDX 2.3.
include_guard(GLOBAL)

set(SBOM ${PROJECT_BINARY_DIR}/packaging/sbom.spdx.json)
# SOURCE_DATE_EPOCH makes it the same each time.
string(TIMESTAMP SBOM_CREATED "%Y-%m-%dT%H:%M:%SZ" UTC)
if(CMAKE_EXE_LINKER_FLAGS MATCHES "(^| )-static( |$)")
  set(SBOM_LINK STATIC_LINK)
else()
  set(SBOM_LINK DYNAMIC_LINK)
endif()
# Their code is in history-db: they are headers.
if(HISTORY_CONVERT_HISTORY_DB)
  find_package(CLI11 REQUIRED)
  find_package(nlohmann_json REQUIRED)
endif()
foreach(library CLI11 nlohmann_json)
  if(NOT ${library}_VERSION)
    set(${library}_VERSION NOASSERTION)
  endif()
endforeach()
configure_file(${CMAKE_CURRENT_LIST_DIR}/sbom.spdx.json.in ${SBOM} @ONLY)
