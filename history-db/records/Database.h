// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "history-db/files/InputFile.h"
#include "history-db/records/Layout.h"

namespace Metakit {
class Datafile;
}

namespace HistoryDb {

/// A history table by name, and what its records are.
struct TableName {
  const char* name;
  Kind kind;
};

/// The tables of a history database, in the order in which a conversion writes them.
constexpr std::array<TableName, 3> tableNames = {{{"TormaQuilletHistory", Kind::System},
                                                  {"nativeZoneHistory", Kind::Zone},
                                                  {"ZoneHistory", Kind::Zone}}};

/// A row of a table: its key, and the record as it is stored, of any size.
struct Row {
  std::int32_t key = 0;
  /// Valid as long as the database it is from.
  std::string_view body;
};

/// A history table. Valid as long as the database it is from; one without rows where the file has
/// no such table.
struct Table {
  TableName name;
  /// Whether the file has it.
  bool exists = false;
  /// In the order in which they are stored.
  std::vector<Row> rows;
};

/// A history database that is read: its tables as the last commit left them. It never writes to the
/// file. One thread at a time.
class Database {
 public:
  /// Opens the file and lists the rows. Throws Trouble when it cannot be opened, is no database, is
  /// damaged or has too many records for its size. A file of length 0 has no tables.
  explicit Database(const std::string& path);
  explicit Database(const InputFile& file);
  ~Database();
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  /// Those of `tableNames`.
  const std::array<Table, tableNames.size()>& tables() const { return _tables; }

  /// The names of all else that the file holds, in its order.
  const std::vector<std::string>& otherViews() const { return _otherViews; }

 private:
  /// Throws Trouble when there are more records than a file of that size may have.
  void checkRows(const std::string& path, std::int64_t stored) const;

  std::unique_ptr<Metakit::Datafile> _file;
  std::array<Table, tableNames.size()> _tables;
  std::vector<std::string> _otherViews;
};

/// The schema that the System records of a database tell by their size.
enum class SchemaFound {
  /// There are no System records, and Zone records are the same in both.
  Either,
  Zero,
  One,
  /// There are records of both, or of another size.
  Mixed
};

SchemaFound schemaOf(const Database& database);
/// What one record tells by its size.
SchemaFound schemaOf(Kind kind, std::size_t size);
/// What the records of two lists tell together.
SchemaFound combined(SchemaFound a, SchemaFound b);
/// "0 or 1", "0", "1" or "mixed".
const char* nameOf(SchemaFound schema);

}  // namespace HistoryDb
