// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdio>
#include <cstdlib>

namespace Fuzz {

/// Ends the process with `rule`, which a fuzzer takes for a finding, unless it holds.
inline void check(bool holds, const char* rule) {
  if (!holds) {
    std::fprintf(stderr, "broken: %s\n", rule);
    std::abort();
  }
}

}  // namespace Fuzz
