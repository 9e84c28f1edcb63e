// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "companion/NewDatabase.h"

#include <mk4.h>

#include <cerrno>

#include "companion/Trouble.h"

namespace Companion {

NewDatabase::NewDatabase(const std::string& path, const std::string& name)
    : _name(name.empty() ? path : name), _storage(std::make_unique<c4_Storage>(path.c_str(), 1)) {
  if (!_storage->Strategy().IsValid()) {
    throw Trouble(_name + ": It cannot be opened for writing.");
  }
}

NewDatabase::~NewDatabase() = default;

void NewDatabase::addTable(const std::string& name) {
  _table = std::make_unique<c4_View>(_storage->GetAs((name + "[Key:I,Record:B]").c_str()));
}

void NewDatabase::addRow(std::int32_t key, std::string_view body) {
  static const c4_IntProp keyColumn("Key");
  static const c4_BytesProp recordColumn("Record");
  c4_Row row;
  keyColumn(row) = key;
  recordColumn(row) = c4_Bytes(body.data(), static_cast<int>(body.size()));
  if (_table->Add(row) < 0) {
    throwError(_name, "The table takes no more rows", EFBIG);
  }
}

void NewDatabase::commit() {
  if (!_storage->Commit()) {
    throwError(_name, "It cannot be written", _storage->Strategy()._failure);
  }
}

}  // namespace Companion
