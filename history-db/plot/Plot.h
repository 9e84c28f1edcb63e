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

/// What plot() is to draw, and in which form.
struct PlotOptions {
  std::string file;
  /// The table; the first one with records when it is empty.
  std::string table;
  /// The record; the first one of the table without it.
  std::optional<std::int32_t> key;
  /// Names of fields of the periods, such as "minA"; the minima and maxima when there are none.
  std::vector<std::string> fields;
  /// The file to write; standard output when it is empty.
  std::string output;
  /// Draw with characters, 80 columns wide, instead.
  bool terminal = false;
  bool ascii = false;
  bool force = false;
};

/// Draws the days and months of a record.
Status plot(const PlotOptions& options, Console& console);

}  // namespace HistoryDb
