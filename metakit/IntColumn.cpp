// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "metakit/IntColumn.h"

#include <utility>

namespace Metakit {

IntColumn::IntColumn(std::shared_ptr<Source> source, const PackedEntry& entry, std::int32_t rows)
    : _source(std::move(source)),
      _order(orderOf(_source)),
      _stored(bytesOf(_source, entry.block)),
      _block{entry.block},
      _width(_stored != nullptr ? entry.width : 0),
      _storedRows(rows),
      _kept(rows),
      _fresh(_order) {}

PackedInts IntColumn::all() const {
  if (_kept == 0) {
    return _fresh;
  }
  PackedInts values(_stored, _width, _kept, _order);
  for (std::int32_t i = 0; i < _fresh.size(); ++i) {
    values.append(_fresh.at(i));
  }
  return values;
}

void IntColumn::takeAll() {
  if (_kept > 0) {
    _fresh = all();
    _kept = 0;
  }
}

void IntColumn::set(std::int32_t row, std::int32_t value) {
  if (at(row) == value) {
    return;
  }
  if (row < _kept) {
    takeAll();
  }
  _fresh.set(row - _kept, value);
}

void IntColumn::remove(std::int32_t row, std::int32_t count) {
  takeAll();
  _fresh.remove(row, count);
}

void IntColumn::copy(std::int32_t row, const Column& from, std::int32_t fromRow) {
  set(row, static_cast<const IntColumn&>(from).at(fromRow));
}

bool IntColumn::extend(Commit& commit, Growable& block) const {
  if (_kept != _storedRows || _fresh.leastWidth() > _width) {
    return false;
  }
  if (_width == 0) {
    // Zeros take no bytes.
    return true;
  }
  // A few of the shortest columns are longer than their values, and so may be those of others.
  if (_kept <= longestShortColumn || _block.block.size != packedSize(_kept, _width)) {
    return false;
  }
  // The last byte may have room for values yet. It is written again, with the bits it has.
  const std::int32_t perByte = _width < 8 ? 8 / _width : 1;
  const std::int32_t again = _kept % perByte;
  PackedInts added(_order, _width);
  for (std::int32_t row = _kept - again; row < rows(); ++row) {
    added.append(at(row));
  }
  Bytes bytes = added.bytes();
  return commit.extend(_block, again > 0 ? 1 : 0, bytes, block);
}

void IntColumn::save(Commit& commit, Bytes& walk) {
  Growable block = _block;
  if (changed()) {
    if (!extend(commit, block)) {
      block = commit.replace(_block, all().packed());
    }
    commit.whenDone([this, block] {
      _block = block;
      _stored = bytesOf(_source, block.block);
      _kept = rows();
      _storedRows = _kept;
      _width = packedWidthOf(_kept, block.block.size);
      _fresh = PackedInts(_order);
    });
  }
  appendExtent(walk, block.block);
}

void IntColumn::listBlocks(std::vector<Extent>& blocks) const {
  blocks.push_back(_block.withSlack());
}

}  // namespace Metakit
