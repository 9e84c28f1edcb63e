// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "companion/Database.h"

#include "companion/Trouble.h"
#include "metakit/Column.h"
#include "metakit/Datafile.h"
#include "metakit/File.h"
#include "metakit/Sequence.h"
#include "metakit/Structure.h"

namespace Companion {

namespace {

/// Lists the rows of a table. Properties that the view of the file has besides are left aside.
void read(Metakit::Datafile& file, Table& table) {
  const auto view = file.view(std::string(table.name.name) + "[Key:I,Record:B]");
  const auto& keys = static_cast<Metakit::IntColumn&>(view->columnAt(0));
  const auto& records = static_cast<Metakit::BytesColumn&>(view->columnAt(1));
  table.rows.reserve(static_cast<std::size_t>(view->rows()));
  for (std::int32_t row = 0; row < view->rows(); ++row) {
    const Metakit::BytesColumn::Item body = records.at(row);
    table.rows.push_back(
        {keys.at(row),
         {reinterpret_cast<const char*>(body.bytes), static_cast<std::size_t>(body.size)}});
  }
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
  for (Table& table : _tables) {
    if (table.exists) {
      read(*_file, table);
    }
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

}  // namespace Companion
