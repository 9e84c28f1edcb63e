// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/migrate/Proof.h"

#include <fmt/format.h>

#include "history-db/base/Trouble.h"
#include "history-db/files/Sha256.h"

namespace HistoryDb {

FileContents contentsOf(const InputFile& file) {
  return {file.name(), static_cast<std::uint64_t>(file.status().st_size), sha256OfFile(file)};
}

void expectUnchanged(const InputFile& file, const FileContents& before) {
  const FileContents now = contentsOf(file);
  if (now.size != before.size || now.sha256 != before.sha256) {
    throw Trouble(before.path + ": It was changed while it was read.");
  }
}

Proof prove(const InputFile& original, const InputFile& converted) {
  Proof proof = {contentsOf(original), contentsOf(converted), {}};
  proof.comparison = compare(Database(original), Database(converted));
  expectUnchanged(original, proof.original);
  expectUnchanged(converted, proof.converted);
  return proof;
}

std::string textOf(const Comparison& comparison) {
  std::string text;
  for (const Difference& difference : comparison.told) {
    text += textOf(difference) + "\n";
  }
  if (comparison.differences > comparison.told.size()) {
    text += fmt::format("... and {} more differences\n",
                        comparison.differences - comparison.told.size());
  }
  for (const std::string& note : comparison.notes) {
    text += "Note: " + note + "\n";
  }
  for (const TableComparison& table : comparison.tables) {
    const std::string rows =
        table.originalRows == table.convertedRows
            ? fmt::format("{}", table.originalRows)
            : fmt::format("{} became {}", table.originalRows, table.convertedRows);
    text += fmt::format("{}: rows {}, values {}, differences {}\n", table.name, rows, table.values,
                        table.differences);
  }
  return text;
}

}  // namespace HistoryDb
