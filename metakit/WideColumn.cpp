// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "metakit/WideColumn.h"

#include <cstddef>
#include <utility>

namespace Metakit {

WideColumn::WideColumn(std::shared_ptr<Source> source, Extent entry, std::int32_t rows)
    : _source(std::move(source)),
      _order(orderOf(_source)),
      _stored(bytesOf(_source, entry)),
      _block{entry},
      _storedRows(rows),
      _kept(rows) {}

void WideColumn::takeAll() {
  const std::size_t size = static_cast<std::size_t>(_kept) * wideSize;
  if (_stored != nullptr) {
    _fresh.insert(_fresh.begin(), _stored, _stored + size);
  } else {
    _fresh.insert(_fresh.begin(), size, 0);
  }
  _kept = 0;
}

std::int64_t WideColumn::at(std::int32_t row) const {
  if (row >= _kept) {
    return wideGet(_fresh.data(), row - _kept, _order);
  }
  return _stored != nullptr ? wideGet(_stored, row, _order) : 0;
}

void WideColumn::set(std::int32_t row, std::int64_t value) {
  if (at(row) == value) {
    return;
  }
  if (row < _kept) {
    takeAll();
  }
  widePut(_fresh.data(), row - _kept, value, _order);
}

void WideColumn::remove(std::int32_t row, std::int32_t count) {
  takeAll();
  const auto first = _fresh.begin() + static_cast<std::ptrdiff_t>(row) * wideSize;
  _fresh.erase(first, first + static_cast<std::ptrdiff_t>(count) * wideSize);
}

void WideColumn::copy(std::int32_t row, const Column& from, std::int32_t fromRow) {
  set(row, static_cast<const WideColumn&>(from).at(fromRow));
}

void WideColumn::save(Commit& commit, Bytes& walk) {
  Growable block = _block;
  // Zeros may have been left out of the file, or are not in it yet.
  if (_stored == nullptr) {
    takeAll();
  }
  if (changed()) {
    block = _kept > 0 ? commit.append(_block, _stored, Bytes(_fresh))
                      : commit.replace(_block, Bytes(_fresh));
    commit.whenDone([this, block] {
      _block = block;
      _stored = bytesOf(_source, block.block);
      _kept = block.block.size / wideSize;
      _storedRows = _kept;
      _fresh.clear();
    });
  }
  appendExtent(walk, block.block);
}

void WideColumn::listBlocks(std::vector<Extent>& blocks) const {
  blocks.push_back(_block.withSlack());
}

}  // namespace Metakit
