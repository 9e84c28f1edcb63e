// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

#include "history-db/base/Console.h"
#include "history-db/base/Trouble.h"

namespace HistoryDb {

/// What copy() is to copy, and where to.
struct CopyOptions {
  std::string file;
  std::string newFile;
  bool force = false;
};

/// Writes a compact copy of a database: all views with all rows, in one commit. Findings when the
/// file was cut off and less than its last commit could be read, which is told.
Status copy(const CopyOptions& options, Console& console);

}  // namespace HistoryDb
