// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <string>

namespace HistoryDbTesting {

inline void append(std::string& bytes, std::uint32_t number, int size) {
  for (int i = 0; i < size; ++i) {
    bytes += static_cast<char>(number >> (8 * i) & 0xFFU);
  }
}

/// A list as the system takes it: the user 61236 and the mask may read and write, the group and
/// others nothing.
inline std::string accessControlList() {
  constexpr std::uint32_t none = 0xFFFFFFFF;
  constexpr std::uint32_t entries[][3] = {
      {0x01, 6, none}, {0x02, 6, 61236}, {0x04, 0, none}, {0x10, 6, none}, {0x20, 0, none}};
  std::string list;
  append(list, 2, 4);
  for (const auto& [tag, permissions, id] : entries) {
    append(list, tag, 2);
    append(list, permissions, 2);
    append(list, id, 4);
  }
  return list;
}

}  // namespace HistoryDbTesting
