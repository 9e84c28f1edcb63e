// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "history-db/base/Console.h"
#include "history-db/base/Trouble.h"
#include "history-db/files/InputFile.h"

namespace HistoryDb {

/// Something that is not as it should be in a database file.
struct Finding {
  /// An error loses data or confuses who reads it; a warning is what a healthy device would not
  /// have stored.
  bool isError = true;
  /// Such as "ZoneHistory key 7 days[3] minA"; empty when it concerns the whole file.
  std::string where;
  /// What is wrong, in words.
  std::string what;
  /// Whether a conversion keeps it as it is and loses nothing by it: a key that stands twice.
  bool isKept = false;
};

/// Findings of a file that are told; the others are only counted.
constexpr std::size_t mostFindings = 1000;

/// What is wrong with a file: its structure, its tables, its records. The errors come first; of all
/// together no more than `mostFindings`. Throws Trouble when it cannot be read or is no datafile.
std::vector<Finding> findingsIn(const InputFile& file);

/// What check() is to look at, and how.
struct CheckOptions {
  std::vector<std::string> files;
  bool json = false;
  bool quiet = false;
  /// How many files are worked on at the same time; 1 or more.
  int jobs = 1;
};

/// Tells the findings of each file, in the order given, or only the status when `quiet` is set.
/// Findings when there are some, warnings included; trouble when a file cannot be read; the worst
/// of all files counts.
Status check(const CheckOptions& options, Console& console);

}  // namespace HistoryDb
