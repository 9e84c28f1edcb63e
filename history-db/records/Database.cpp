// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/records/Database.h"

#include "history-db/base/Trouble.h"
#include "metakit/BytesColumn.h"
#include "metakit/Datafile.h"
#include "metakit/File.h"
#include "metakit/IntColumn.h"
#include "metakit/Sequence.h"
#include "metakit/Structure.h"
#include "persist/history/RowLimit.h"
#include "posix/StoredSize.h"

namespace HistoryDb {

namespace {

/// A table, without other properties that the view of the file has.
std::shared_ptr<Metakit::Sequence> viewOf(Metakit::Datafile& file, const Table& table) {
  return file.view(std::string(table.name.name) + "[Key:I,Record:B]");
}

/// Lists the rows of a table. Returns the bytes of their bodies.
std::int64_t read(const Metakit::Sequence& view, Table& table) {
  const auto& keys = static_cast<Metakit::IntColumn&>(view.columnAt(0));
  const auto& records = static_cast<Metakit::BytesColumn&>(view.columnAt(1));
  std::int64_t bytes = 0;
  table.rows.reserve(static_cast<std::size_t>(view.rows()));
  for (std::int32_t row = 0; row < view.rows(); ++row) {
    const Metakit::BytesColumn::Item body = records.at(row);
    table.rows.push_back(
        {keys.at(row),
         {reinterpret_cast<const char*>(body.bytes), static_cast<std::size_t>(body.size)}});
    bytes += body.size;
  }
  return bytes;
}

}  // namespace

Database::Database(const std::string& path) : Database(InputFile(path)) {}

Database::Database(const InputFile& file)
    : _file(std::make_unique<Metakit::Datafile>(file.open())) {
  if (!_file->isValid()) {
    throw Trouble(file.name() + ": It is no database, or damaged; \"history-db info\" tells more.");
  }
  for (std::size_t i = 0; i < tableNames.size(); ++i) {
    _tables[i].name = tableNames[i];
  }
  for (const Metakit::Field& field : _file->root()->structure().fields) {
    bool isHistory = false;
    for (Table& table : _tables) {
      if (field.type == 'V' && Metakit::isSameName(field.name, table.name.name)) {
        table.exists = true;
        isHistory = true;
      }
    }
    if (!isHistory) {
      _otherViews.push_back(field.name);
    }
  }
  const std::int64_t stored = StoredSize::of(file.descriptor());
  checkRows(file.name(), stored);
  std::int64_t bytes = 0;
  for (Table& table : _tables) {
    if (table.exists) {
      bytes += read(*viewOf(*_file, table), table);
    }
  }
  // Memory and output must not grow with the holes of the file.
  if (!Pvn::Persist::History::areBytesPlausible(bytes, stored)) {
    throw Trouble(file.name() + ": Its records take more bytes than the file stores.");
  }
}

void Database::checkRows(const std::string& path, std::int64_t stored) const {
  std::int64_t systemRows = 0;
  std::int64_t zoneRows = 0;
  for (const Table& table : _tables) {
    if (table.exists) {
      (table.name.kind == Kind::System ? systemRows : zoneRows) += viewOf(*_file, table)->rows();
    }
  }
  if (!Pvn::Persist::History::areRowsPlausible(systemRows, zoneRows, stored)) {
    throw Trouble(path + ": It has too many records for its size.");
  }
}

Database::~Database() = default;

SchemaFound schemaOf(const Database& database) {
  SchemaFound found = SchemaFound::Either;
  for (const Table& table : database.tables()) {
    for (const Row& row : table.rows) {
      found = combined(found, schemaOf(table.name.kind, row.body.size()));
    }
  }
  return found;
}

SchemaFound schemaOf(Kind kind, std::size_t size) {
  if (kind == Kind::Zone) {
    return SchemaFound::Either;
  }
  const Layout* const layout = layoutOfSize(kind, size);
  return layout == nullptr     ? SchemaFound::Mixed
         : layout->schema == 0 ? SchemaFound::Zero
                               : SchemaFound::One;
}

SchemaFound combined(SchemaFound a, SchemaFound b) {
  return a == SchemaFound::Either ? b : b == SchemaFound::Either || a == b ? a : SchemaFound::Mixed;
}

const char* nameOf(SchemaFound schema) {
  switch (schema) {
    case SchemaFound::Either:
      return "0 or 1";
    case SchemaFound::Zero:
      return "0";
    case SchemaFound::One:
      return "1";
    default:
      return "mixed";
  }
}

}  // namespace HistoryDb
