// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "history-db/base/Console.h"
#include "history-db/base/Trouble.h"

namespace HistoryDb {

/// What dump() is to print, and in which form.
struct DumpOptions {
  std::string file;
  /// "json", "jsonl" or "csv".
  std::string format = "json";
  /// Only these tables; all when there are none.
  std::vector<std::string> tables;
  /// Only the records of these keys; all when there are none.
  std::vector<std::int32_t> keys;
};

/// Prints every record with every field by name.
Status dump(const DumpOptions& options, Console& console);

}  // namespace HistoryDb
