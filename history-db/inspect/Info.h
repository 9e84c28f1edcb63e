// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <vector>

#include "history-db/base/Console.h"
#include "history-db/base/Trouble.h"

namespace HistoryDb {

/// What info() is to tell of, and how.
struct InfoOptions {
  std::vector<std::string> files;
  bool json = false;
  bool quiet = false;
  /// How many files are worked on at the same time; 1 or more.
  int jobs = 1;
};

/// Tells the facts of each file, in the order given: lines "name: value", or one line of JSON per
/// file. Findings when a file is not whole, trouble when one is no database, damaged or cannot be
/// read; the others are told nevertheless.
Status info(const InfoOptions& options, Console& console);

}  // namespace HistoryDb
