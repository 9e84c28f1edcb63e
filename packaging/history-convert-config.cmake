# SPDX-FileCopyrightText: 2026 the history-convert authors
# SPDX-License-Identifier: MIT

# find_package(history-convert) gives the target history-convert::history-convert.
include(CMakeFindDependencyMacro)
find_dependency(Threads)
include(${CMAKE_CURRENT_LIST_DIR}/history-convert-targets.cmake)
