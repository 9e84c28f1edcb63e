// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

#include "history-db/base/Console.h"
#include "history-db/base/Trouble.h"

namespace HistoryDb {

/// What load() is to make a database of.
struct LoadOptions {
  /// What `dump` printed; "-" is standard input.
  std::string document;
  /// The database to write.
  std::string file;
  bool force = false;
};

/// Writes a database file from a document of `dump`, in its formats json and jsonl.
Status load(const LoadOptions& options, Console& console);

}  // namespace HistoryDb
