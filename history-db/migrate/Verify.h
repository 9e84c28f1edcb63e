// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

#include "history-db/base/Console.h"
#include "history-db/base/Trouble.h"

namespace HistoryDb {

/// What verify() is to hold against what.
struct VerifyOptions {
  /// The file that was converted, of schema 0.
  std::string original;
  /// What came out, of schema 1.
  std::string converted;
  bool json = false;
  bool quiet = false;
  /// Where a receipt goes; none when it is empty.
  std::string receipt;
  bool force = false;
};

/// Proves a conversion from schema 0 to 1, value by value. Findings when anything differs.
Status verify(const VerifyOptions& options, Console& console);

}  // namespace HistoryDb
