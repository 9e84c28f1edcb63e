// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <cstdio>
#include <string>

#include "companion/Database.h"
#include "companion/Inspection.h"
#include "companion/Trouble.h"

namespace {

//! [use]
void printTables(const std::string& path) {
  const Companion::Inspection inspection = Companion::inspect(path);
  std::printf("The file is %s.\n", Companion::nameOf(inspection.state));
  const Companion::Database database(path);
  for (const Companion::Table& table : database.tables()) {
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
  } catch (const Companion::Trouble& trouble) {
    std::fprintf(stderr, "%s\n", trouble.what());
    return 1;
  }
}
