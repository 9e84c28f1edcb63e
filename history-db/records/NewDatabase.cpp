// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/records/NewDatabase.h"

#include <cerrno>
#include <utility>

#include "history-db/base/Trouble.h"
#include "history-db/files/NewFile.h"
#include "metakit/BytesColumn.h"
#include "metakit/Datafile.h"
#include "metakit/File.h"
#include "metakit/IntColumn.h"
#include "metakit/Sequence.h"

namespace HistoryDb {

NewDatabase::NewDatabase(const std::string& path)
    : NewDatabase(path, Metakit::openFile(path.c_str(), true)) {}

NewDatabase::NewDatabase(const NewFile& file) : NewDatabase(file.path(), file.open()) {}

NewDatabase::NewDatabase(std::string name, std::unique_ptr<Metakit::File> file)
    : _name(std::move(name)), _file(std::make_unique<Metakit::Datafile>(std::move(file))) {
  if (!_file->isValid()) {
    throw Trouble(_name + ": It cannot be opened for writing.");
  }
}

NewDatabase::~NewDatabase() = default;

void NewDatabase::addTable(const std::string& name) {
  _table = _file->view(name + "[Key:I,Record:B]");
}

void NewDatabase::addRow(std::int32_t key, std::string_view body) {
  if (!_table->append()) {
    throwError(_name, "The table takes no more rows", EFBIG);
  }
  const std::int32_t row = _table->rows() - 1;
  static_cast<Metakit::IntColumn&>(_table->columnAt(0)).set(row, key);
  static_cast<Metakit::BytesColumn&>(_table->columnAt(1))
      .set(row, body.data(), static_cast<std::int32_t>(body.size()));
}

void NewDatabase::commit() {
  const int error = _file->commit();
  if (error != 0) {
    throwError(_name, "It cannot be written", error);
  }
}

}  // namespace HistoryDb
