// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "metakit/Sequence.h"

#include <algorithm>
#include <limits>

#include "metakit/BytesColumn.h"
#include "metakit/EntryReader.h"
#include "metakit/IntColumn.h"
#include "metakit/ViewColumn.h"
#include "metakit/WideColumn.h"

namespace Metakit {

Sequence::Sequence() : _structure(std::make_shared<Structure>()), _freeStanding(true) {}

Sequence::Sequence(std::shared_ptr<Source> source, std::shared_ptr<const Structure> structure)
    : _source(std::move(source)), _structure(std::move(structure)), _freeStanding(false) {
  for (const Field& field : _structure->fields) {
    _columns.push_back(newColumn(field));
  }
}

Sequence::Sequence(std::shared_ptr<Source> source, std::shared_ptr<const Structure> structure,
                   WalkReader& walk)
    : _source(std::move(source)),
      _structure(std::move(structure)),
      _freeStanding(false),
      _rows(walk.count()) {
  for (const Field& field : _structure->fields) {
    _columns.push_back(_rows > 0 ? storedColumn(field, walk) : newColumn(field));
  }
}

std::shared_ptr<const Structure> Sequence::nestedStructure(const Field& field) const {
  // Shares the ownership of the whole tree of structures that the nested one is part of.
  return {_structure, field.rows};
}

std::unique_ptr<Column> Sequence::newColumn(const Field& field) const {
  switch (field.type) {
    case 'I':
    case 'F':
      return std::make_unique<IntColumn>(_source, PackedEntry{}, _rows);
    case 'L':
    case 'D':
      return std::make_unique<WideColumn>(_source, Extent{}, _rows);
    case 'V':
      return std::make_unique<ViewColumn>(_source, nestedStructure(field), _rows);
    default:
      return std::make_unique<BytesColumn>(_source, BytesEntry{}, _rows);
  }
}

std::unique_ptr<Column> Sequence::storedColumn(const Field& field, WalkReader& walk) const {
  EntryReader reader(*_source);
  switch (field.type) {
    case 'I':
    case 'F': {
      PackedEntry entry;
      reader.packed(walk, _rows, entry);
      return std::make_unique<IntColumn>(_source, entry, _rows);
    }
    case 'L':
    case 'D': {
      Extent entry;
      reader.wide(walk, _rows, entry);
      return std::make_unique<WideColumn>(_source, entry, _rows);
    }
    case 'V': {
      Extent entry;
      reader.view(walk, _rows, *field.rows, entry);
      return std::make_unique<ViewColumn>(_source, nestedStructure(field), entry, _rows);
    }
    default: {
      BytesEntry entry;
      reader.bytes(walk, _rows, entry);
      return std::make_unique<BytesColumn>(_source, entry, _rows);
    }
  }
}

const char* Sequence::description() const {
  _description = _structure->description();
  return _description.c_str();
}

Column* Sequence::resolve(const std::string* name, char type) const {
  const int index = _structure->find(*name);
  Column* found = nullptr;
  if (index >= 0 && _structure->fields[static_cast<std::size_t>(index)].type == type) {
    found = &columnAt(index);
  }
  _resolved.push_back({name, type, found});
  return found;
}

Column* Sequence::columnToSet(const std::string* name, char type, const Structure* rows) {
  Column* found = column(name, type);
  if (found != nullptr || !_freeStanding || _structure->find(*name) >= 0) {
    return found;
  }
  Field field;
  field.name = *name;
  field.type = type;
  if (type == 'V') {
    field.ownRows = rows != nullptr ? rows->clone() : std::make_unique<Structure>();
    field.rows = field.ownRows.get();
  }
  auto structure = _structure->clone();
  structure->fields.push_back(std::move(field));
  restructure(std::move(structure));
  return column(name, type);
}

bool Sequence::append() {
  if (_rows == std::numeric_limits<std::int32_t>::max()) {
    return false;
  }
  for (const auto& column : _columns) {
    column->append();
  }
  ++_rows;
  _changed = true;
  return true;
}

void Sequence::remove(std::int32_t row, std::int32_t count) {
  if (count == 0) {
    return;
  }
  for (const auto& column : _columns) {
    column->remove(row, count);
  }
  _rows -= count;
  _changed = true;
}

void Sequence::assign(std::int32_t row, Sequence& from, std::int32_t fromRow) {
  if (&from == this && row == fromRow) {
    return;
  }
  if (!hasViews()) {
    copyRow(row, from, fromRow);
    return;
  }
  // One of the rows may stand below the other and change with it.
  Sequence between;
  between.append();
  between.copyRow(0, from, fromRow);
  copyRow(row, between, 0);
}

void Sequence::assign(Sequence& from) {
  if (&from == this) {
    return;
  }
  if (!hasViews()) {
    copyRows(from);
    return;
  }
  Sequence between;
  between.copyRows(from);
  copyRows(between);
}

bool Sequence::hasViews() const {
  return std::any_of(_structure->fields.begin(), _structure->fields.end(),
                     [](const Field& field) { return field.type == 'V'; });
}

void Sequence::copyRow(std::int32_t row, Sequence& from, std::int32_t fromRow) {
  if (_freeStanding) {
    for (const Field& field : from.structure().fields) {
      columnToSet(internName(field.name), field.type, field.rows);
    }
  }
  for (std::size_t i = 0; i < _columns.size(); ++i) {
    const Field& field = _structure->fields[i];
    const Column* source = from.column(internName(field.name), field.type);
    if (source != nullptr) {
      _columns[i]->copy(row, *source, fromRow);
    } else {
      _columns[i]->clear(row);
    }
  }
}

void Sequence::copyRows(Sequence& from) {
  remove(0, _rows);
  for (std::int32_t row = 0; row < from.rows() && append(); ++row) {
    copyRow(row, from, row);
  }
}

void Sequence::restructure(std::shared_ptr<const Structure> structure) {
  const bool same = _structure->isSameAs(*structure);
  const std::shared_ptr<const Structure> before = std::exchange(_structure, std::move(structure));
  const FieldIndex oldIndices(*before);
  std::vector<std::unique_ptr<Column>> columns;
  for (const Field& field : _structure->fields) {
    const int old = oldIndices.find(field.name);
    if (old < 0 || before->fields[static_cast<std::size_t>(old)].type != field.type) {
      columns.push_back(newColumn(field));
      continue;
    }
    columns.push_back(std::move(_columns[static_cast<std::size_t>(old)]));
    if (field.type == 'V') {
      static_cast<ViewColumn&>(*columns.back()).restructure(nestedStructure(field));
    }
  }
  for (const auto& column : _columns) {
    if (column != nullptr) {
      column->listBlocks(_dropped);
    }
  }
  _columns = std::move(columns);
  _resolved.clear();
  _changed = _changed || !same;
}

bool Sequence::changed() const {
  return _changed || std::any_of(_columns.begin(), _columns.end(),
                                 [](const auto& column) { return column->changed(); });
}

void Sequence::save(Commit& commit, Bytes& walk) {
  appendInteger(walk, _rows);
  std::vector<Extent> superfluous;
  if (_rows > 0) {
    superfluous = _dropped;
    for (const auto& column : _columns) {
      column->save(commit, walk);
    }
  } else {
    // A table without rows has no columns in the file.
    listBlocks(superfluous);
    commit.whenDone([this] { startColumnsAnew(); });
  }
  commit.release(superfluous);
  commit.whenDone([this] {
    _changed = false;
    _dropped.clear();
  });
}

void Sequence::startColumnsAnew() {
  for (std::size_t i = 0; i < _columns.size(); ++i) {
    _columns[i] = newColumn(_structure->fields[i]);
  }
  _resolved.clear();
}

void Sequence::listBlocks(std::vector<Extent>& blocks) const {
  blocks.insert(blocks.end(), _dropped.begin(), _dropped.end());
  for (const auto& column : _columns) {
    column->listBlocks(blocks);
  }
}

}  // namespace Metakit
