// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "metakit/Column.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <numeric>
#include <utility>

#include "metakit/Sequence.h"

namespace Metakit {

namespace {

/// A datafile without a file yet takes the byte order of little-endian ones; so do rows in memory.
ByteOrder orderOf(const std::shared_ptr<Source>& source) {
  return source != nullptr ? source->order() : ByteOrder::Little;
}

const std::uint8_t* bytesOf(const std::shared_ptr<Source>& source, Extent block) {
  return source != nullptr ? source->bytes(block) : nullptr;
}

}  // namespace

// ---- IntColumn ----

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

// ---- WideColumn ----

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

// ---- BytesColumn ----

BytesColumn::BytesColumn(std::shared_ptr<Source> source, const BytesEntry& entry, std::int32_t rows)
    : _source(std::move(source)),
      _data{entry.data},
      _memoWalk{entry.memos},
      _storedRows(rows),
      _kept(rows),
      _sizes(_source, entry.sizes, rows) {
  if (_source != nullptr) {
    const auto overrides = [this](std::int32_t row) { return _sizes.stored(row) > 0; };
    EntryReader(*_source).memos(entry.memos, rows, overrides, _memos);
  }
  _hasOverridden = std::any_of(_memos.begin(), _memos.end(),
                               [this](const Memo& memo) { return _sizes.stored(memo.row) > 0; });
}

/// Where a stored item begins among the inline ones.
std::int32_t BytesColumn::storedOffset(std::int32_t row) const {
  if (_offsets.empty()) {
    _offsets.push_back(0);
  }
  const auto wanted = static_cast<std::size_t>(row / stride);
  const auto sizeOf = [this](std::int32_t first, std::int32_t last) {
    std::int32_t size = 0;
    for (std::int32_t at = first; at < last; ++at) {
      size += _sizes.stored(at);
    }
    return size;
  };
  while (_offsets.size() <= wanted) {
    const auto first = static_cast<std::int32_t>(_offsets.size() - 1) * stride;
    _offsets.push_back(_offsets.back() + sizeOf(first, first + stride));
  }
  return _offsets[wanted] + sizeOf(row - row % stride, row);
}

BytesColumn::Place BytesColumn::storedPlace(std::int32_t row) const {
  Place place;
  const auto memo =
      std::lower_bound(_memos.begin(), _memos.end(), row,
                       [](const Memo& candidate, std::int32_t at) { return candidate.row < at; });
  if (memo != _memos.end() && memo->row == row) {
    place.kind = Place::Kind::Memo;
    place.block = memo->block;
    place.memo = static_cast<std::size_t>(memo - _memos.begin());
  } else if (_data.block.size > 0) {
    place.kind = Place::Kind::Inline;
    place.block = {_data.block.position + storedOffset(row), _sizes.stored(row)};
  }
  place.bytes = _source != nullptr ? _source->itemBytes(place.block) : nullptr;
  return place;
}

BytesColumn::Place BytesColumn::placeOf(std::int32_t row) const {
  const std::int32_t origin = originOf(row);
  if (origin > none) {
    return storedPlace(origin);
  }
  Place place;
  if (origin < none) {
    const Fresh& item = _fresh[freshIndex(origin)];
    place.kind = Place::Kind::Fresh;
    place.block.size = item.size;
    place.bytes = item.bytes.get();
  }
  return place;
}

BytesColumn::Item BytesColumn::at(std::int32_t row) const {
  const Place place = placeOf(row);
  // An item that cannot be read any more is none.
  return {place.bytes, place.bytes != nullptr ? place.block.size : 0};
}

void BytesColumn::takeAll() {
  const auto kept = static_cast<std::size_t>(_kept);
  _origins.insert(_origins.begin(), kept, 0);
  std::iota(_origins.begin(), _origins.begin() + _kept, 0);
  _kept = 0;
}

void BytesColumn::forget(std::int32_t origin) {
  if (origin < none) {
    _fresh[freshIndex(origin)] = {};
    _unused.push_back(origin);
  }
}

void BytesColumn::set(std::int32_t row, const void* bytes, std::int32_t size) {
  const Item before = at(row);
  const auto length = static_cast<std::size_t>(size);
  if (before.size == size && (size == 0 || std::memcmp(before.bytes, bytes, length) == 0)) {
    return;
  }
  Fresh item;
  if (size > 0) {
    item = {std::make_unique<std::uint8_t[]>(length), size};
    std::memcpy(item.bytes.get(), bytes, length);
  }
  if (row < _kept) {
    takeAll();
  }
  _sizes.set(row, size > inlineLimit ? 0 : size);
  std::int32_t& origin = _origins[static_cast<std::size_t>(row - _kept)];
  forget(std::exchange(origin, none));
  if (size == 0) {
    return;
  }
  if (_unused.empty()) {
    _fresh.emplace_back();
    _unused.push_back(none - static_cast<std::int32_t>(_fresh.size()));
  }
  origin = _unused.back();
  _unused.pop_back();
  _fresh[freshIndex(origin)] = std::move(item);
}

void BytesColumn::append() {
  if (_hasOverridden) {
    takeAll();
  }
  _origins.push_back(none);
  _sizes.append();
}

void BytesColumn::remove(std::int32_t row, std::int32_t count) {
  takeAll();
  const auto first = _origins.begin() + row;
  std::for_each(first, first + count, [this](std::int32_t origin) { forget(origin); });
  _origins.erase(first, first + count);
  _sizes.remove(row, count);
}

void BytesColumn::copy(std::int32_t row, const Column& from, std::int32_t fromRow) {
  const Item item = static_cast<const BytesColumn&>(from).at(fromRow);
  set(row, item.bytes, item.size);
}

bool BytesColumn::movesData() const {
  std::int64_t stays = 0;
  for (std::int32_t row = 0; row < rows(); ++row) {
    const Place place = placeOf(row);
    if (place.kind == Place::Kind::Fresh && place.block.size <= inlineLimit) {
      return true;
    }
    stays += place.kind == Place::Kind::Inline ? place.block.size : 0;
  }
  return stays != _data.block.size;
}

void BytesColumn::save(Commit& commit, Bytes& walk) {
  Growable data = _data;
  Growable memoWalk = _memoWalk;
  if (changed()) {
    const bool appends = _kept == _storedRows;
    const bool moves = !appends && movesData();
    Bytes items;
    Bytes memoEntries;
    std::vector<Memo> memos;
    std::vector<bool> keeps(appends ? 0 : _memos.size());
    std::int32_t nextRow = appends && !_memos.empty() ? _memos.back().row + 1 : 0;
    for (std::int32_t row = _kept; row < rows(); ++row) {
      Place place = placeOf(row);
      const std::int32_t size = place.block.size;
      // Inline items that have to be moved anyway are moved out if they are long.
      const bool isFresh = place.kind == Place::Kind::Fresh;
      const bool isMemo =
          place.kind == Place::Kind::Memo ? size > 0 : size > inlineLimit && (isFresh || moves);
      _sizes.set(row, isMemo ? 0 : size);
      if (size > 0 && place.bytes == nullptr) {
        commit.fail();
      } else if (isMemo) {
        if (place.kind == Place::Kind::Memo) {
          keeps[place.memo] = true;
        } else {
          place.block = commit.place(place.bytes, size);
        }
        appendInteger(memoEntries, row - nextRow);
        appendExtent(memoEntries, place.block);
        nextRow = row + 1;
        memos.push_back({row, place.block});
      } else if (appends || moves) {
        items.insert(items.end(), place.bytes, place.bytes + size);
      }
    }
    if (appends) {
      data = commit.append(_data, bytesOf(_source, _data.block), std::move(items));
      memoWalk =
          commit.append(_memoWalk, bytesOf(_source, _memoWalk.block), std::move(memoEntries));
    } else {
      if (moves) {
        data = commit.replace(_data, std::move(items));
      }
      memoWalk = commit.replace(_memoWalk, std::move(memoEntries));
    }
    for (std::size_t i = 0; i < keeps.size(); ++i) {
      if (!keeps[i]) {
        commit.release(_memos[i].block);
      }
    }
    commit.whenDone([this, appends, data, memoWalk, memos = std::move(memos)] {
      _data = data;
      _memoWalk = memoWalk;
      if (!appends) {
        _memos.clear();
        _offsets.clear();
        _hasOverridden = false;
      }
      _memos.insert(_memos.end(), memos.begin(), memos.end());
      _kept = rows();
      _storedRows = _kept;
      // Not {}, which would keep the memory.
      _origins = std::vector<std::int32_t>();
      _fresh = std::vector<Fresh>();
      _unused.clear();
    });
  }
  appendExtent(walk, data.block);
  // Without inline items there are no sizes.
  Bytes noEntry;
  _sizes.save(commit, data.block.size > 0 ? walk : noEntry);
  appendExtent(walk, memoWalk.block);
}

void BytesColumn::listBlocks(std::vector<Extent>& blocks) const {
  blocks.insert(blocks.end(), {_data.withSlack(), _memoWalk.withSlack()});
  _sizes.listBlocks(blocks);
  for (const Memo& memo : _memos) {
    blocks.push_back(memo.block);
  }
}

// ---- ViewColumn ----

ViewColumn::ViewColumn(std::shared_ptr<Source> source, std::shared_ptr<const Structure> structure,
                       Extent entry, std::int32_t rows)
    : _source(std::move(source)),
      _structure(std::move(structure)),
      _rows(rows),
      _entry(entry),
      _stored(bytesOf(_source, entry)) {
  if (_stored == nullptr) {
    return;
  }
  EntryReader reader(*_source);
  WalkReader walk(_stored, _entry.size);
  _parts.reserve(static_cast<std::size_t>(rows));
  for (std::int32_t row = 0; row < rows; ++row) {
    const auto offset = static_cast<std::int32_t>(walk.position() - _stored);
    reader.sequence(walk, *_structure);
    _parts.push_back({offset, static_cast<std::int32_t>(walk.position() - _stored) - offset});
  }
}

ViewColumn::ViewColumn(std::shared_ptr<Source> source, std::shared_ptr<const Structure> structure,
                       std::int32_t rows)
    : ViewColumn(std::move(source), std::move(structure), Extent{}, rows) {
  _changed = rows > 0;
}

WalkReader ViewColumn::storedWalk(std::int32_t row) const {
  if (static_cast<std::size_t>(row) >= _parts.size()) {
    return {nullptr, 0};
  }
  const Part& part = _parts[static_cast<std::size_t>(row)];
  return {_stored + part.offset, part.size};
}

const std::shared_ptr<Sequence>& ViewColumn::at(std::int32_t row) const {
  std::shared_ptr<Sequence>& rows = _loaded[row];
  if (rows == nullptr) {
    WalkReader walk = storedWalk(row);
    if (walk.atEnd()) {
      rows = std::make_shared<Sequence>(_source, _structure);
    } else {
      walk.integer();
      rows = std::make_shared<Sequence>(_source, _structure, walk);
    }
  }
  return rows;
}

void ViewColumn::restructure(const std::shared_ptr<const Structure>& structure) {
  if (!_structure->isSameAs(*structure)) {
    for (std::size_t row = 0; row < _parts.size(); ++row) {
      at(static_cast<std::int32_t>(row));
    }
    _changed = true;
  }
  for (const auto& [row, rows] : _loaded) {
    rows->restructure(structure);
  }
  _structure = structure;
}

void ViewColumn::append() {
  ++_rows;
  _changed = true;
}

void ViewColumn::remove(std::int32_t row, std::int32_t count) {
  listBlocksOf(row, count, _dropped);
  const auto stored = static_cast<std::int32_t>(_parts.size());
  _parts.erase(_parts.begin() + std::min(row, stored),
               _parts.begin() + std::min(row + count, stored));
  auto loaded = _loaded.erase(_loaded.lower_bound(row), _loaded.lower_bound(row + count));
  while (loaded != _loaded.end()) {
    auto moved = _loaded.extract(loaded++);
    moved.key() -= count;
    _loaded.insert(std::move(moved));
  }
  _rows -= count;
  _changed = true;
}

void ViewColumn::clear(std::int32_t row) {
  Sequence& rows = *at(row);
  rows.remove(0, rows.rows());
}

void ViewColumn::copy(std::int32_t row, const Column& from, std::int32_t fromRow) {
  at(row)->copyRows(*static_cast<const ViewColumn&>(from).at(fromRow));
}

bool ViewColumn::changed() const {
  return _changed || std::any_of(_loaded.begin(), _loaded.end(),
                                 [](const auto& row) { return row.second->changed(); });
}

void ViewColumn::save(Commit& commit, Bytes& walk) {
  if (!changed()) {
    appendExtent(walk, _entry);
    return;
  }
  const bool isTooDeep = !commit.enter();
  Bytes block;
  std::vector<Part> parts;
  parts.reserve(static_cast<std::size_t>(_rows));
  auto loaded = _loaded.begin();
  for (std::int32_t row = 0; row < _rows; ++row) {
    const auto offset = static_cast<std::int32_t>(block.size());
    if (loaded != _loaded.end() && loaded->first == row) {
      appendInteger(block, 0);
      loaded->second->save(commit, block);
      ++loaded;
    } else if (static_cast<std::size_t>(row) < _parts.size()) {
      const Part& part = _parts[static_cast<std::size_t>(row)];
      block.insert(block.end(), _stored + part.offset, _stored + part.offset + part.size);
    } else {
      // No rows: the reserved 0 and the row count.
      appendInteger(block, 0);
      appendInteger(block, 0);
    }
    parts.push_back({offset, static_cast<std::int32_t>(block.size()) - offset});
  }
  commit.leave();
  if (isTooDeep) {
    // No block can be read from there, but none is needed for tables without rows. Those take two
    // bytes each, others take more.
    if (block.size() > 2 * parts.size()) {
      commit.fail();
    }
    block.clear();
    parts.clear();
  }
  commit.release(_entry);
  commit.release(_dropped);
  const Extent entry = isTooDeep ? Extent{} : commit.placeWalk(Bytes(block));
  appendExtent(walk, entry);
  commit.whenDone([this, entry, block = std::move(block), parts = std::move(parts)] {
    _entry = entry;
    _ownStored = block;
    _stored = _ownStored.data();
    _parts = parts;
    _changed = false;
    _dropped.clear();
  });
}

void ViewColumn::listBlocks(std::vector<Extent>& blocks) const {
  blocks.push_back(_entry);
  blocks.insert(blocks.end(), _dropped.begin(), _dropped.end());
  listBlocksOf(0, _rows, blocks);
}

void ViewColumn::listBlocksOf(std::int32_t first, std::int32_t count,
                              std::vector<Extent>& blocks) const {
  auto loaded = _loaded.lower_bound(first);
  const auto stored = static_cast<std::int32_t>(_parts.size());
  for (std::int32_t row = first; row < std::min(first + count, stored); ++row) {
    if (loaded != _loaded.end() && loaded->first == row) {
      ++loaded;
      continue;
    }
    WalkReader walk = storedWalk(row);
    EntryReader(*_source, blocks).sequence(walk, *_structure);
  }
  for (loaded = _loaded.lower_bound(first);
       loaded != _loaded.end() && loaded->first < first + count; ++loaded) {
    loaded->second->listBlocks(blocks);
  }
}

}  // namespace Metakit
