// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <cstdio>
#include <string>

#include "history-db/base/Trouble.h"
#include "history-db/inspect/Inspection.h"
#include "history-db/records/Database.h"

namespace {

//! [use]
void printTables(const std::string& path) {
  const HistoryDb::Inspection inspection = HistoryDb::inspect(path);
  std::printf("The file is %s.\n", HistoryDb::nameOf(inspection.state));
  const HistoryDb::Database database(path);
  for (const HistoryDb::Table& table : database.tables()) {
    std::printf("%s: %d\n", table.name.name, static_cast<int>(table.rows.size()));
  }
}
//! [use]

}  // namespace

int main(int argc, char* argv[]) {
  if (argc != 2) {
    return 1;
  }
  try {
    printTables(argv[1]);
  } catch (const HistoryDb::Trouble& trouble) {
    std::fprintf(stderr, "%s\n", trouble.what());
    return 1;
  }
}
