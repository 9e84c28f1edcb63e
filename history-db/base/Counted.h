// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

#include <fmt/format.h>

namespace HistoryDb {

/// A number with its noun, such as "1 row" and "2 rows".
template <class Count>
std::string counted(Count count, const char* one, const char* many) {
  return fmt::format("{} {}", count, count == 1 ? one : many);
}

}  // namespace HistoryDb
