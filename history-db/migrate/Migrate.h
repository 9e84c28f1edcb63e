// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

#include "history-db/base/Console.h"
#include "history-db/base/Trouble.h"

namespace HistoryDb {

/// What migrate() is to convert, and where to.
struct MigrateOptions {
  /// The database, of schema 0.
  std::string file;
  /// Where the converted one goes; in place of `file` when it is empty.
  std::string output;
  /// The program history-convert; looked for beside this program and then in PATH when it is empty.
  std::string converter;
  bool dryRun = false;
  bool quiet = false;
  bool force = false;
};

/// Converts a database to schema 1 with the program history-convert, proves that, and puts the
/// result in place. Unless all went well everything is left as it was.
Status migrate(const MigrateOptions& options, Console& console);

}  // namespace HistoryDb
