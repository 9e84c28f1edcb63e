// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

namespace TestSupport {

/// Bytes as the documents of formats show them: 16 to a line, each line beginning with its offset.
inline std::string hexDump(const std::string& bytes) {
  std::string text;
  char part[24];
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i % 16 == 0) {
      std::snprintf(part, sizeof part, "%s%04zx ", i == 0 ? "" : "\n", i);
      text += part;
    }
    std::snprintf(part, sizeof part, " %02x", static_cast<unsigned char>(bytes[i]));
    text += part;
  }
  return text + "\n";
}

}  // namespace TestSupport
