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
      _entry(entry),
      _rows(rows) {
  if (_stored == nullptr) {
    _entry.width = 0;
  }
}

PackedInts& IntColumn::own() {
  if (_own == nullptr) {
    _own = std::make_unique<PackedInts>(_stored, _entry.width, _rows, _order);
  }
  return *_own;
}

void IntColumn::set(std::int32_t row, std::int32_t value) {
  if (at(row) != value) {
    own().set(row, value);
    _changed = true;
  }
}

void IntColumn::append() {
  own().append(0);
  _changed = true;
}

void IntColumn::remove(std::int32_t row, std::int32_t count) {
  own().remove(row, count);
  _changed = true;
}

void IntColumn::copy(std::int32_t row, const Column& from, std::int32_t fromRow) {
  set(row, static_cast<const IntColumn&>(from).at(fromRow));
}

void IntColumn::save(Commit& commit, Bytes& walk) {
  Extent block = _entry.block;
  if (_changed) {
    commit.release(block);
    block = commit.place(own().packed());
    commit.whenDone([this, block] {
      _entry.block = block;
      _changed = false;
    });
  }
  appendExtent(walk, block);
}

// ---- WideColumn ----

namespace {

constexpr std::ptrdiff_t wideSize = 8;

}  // namespace

WideColumn::WideColumn(std::shared_ptr<Source> source, Extent entry, std::int32_t rows)
    : _source(std::move(source)),
      _order(orderOf(_source)),
      _stored(bytesOf(_source, entry)),
      _entry(entry),
      _rows(rows) {}

WideColumn::WideColumn(std::shared_ptr<Source> source, std::int32_t rows)
    : WideColumn(std::move(source), Extent{}, rows) {
  _changed = rows > 0;
}

Bytes& WideColumn::own() {
  if (!_inMemory) {
    if (_stored != nullptr) {
      _own.assign(_stored, _stored + _entry.size);
    }
    _own.resize(static_cast<std::size_t>(_rows * wideSize));
    _inMemory = true;
  }
  return _own;
}

std::int64_t WideColumn::at(std::int32_t row) const {
  const std::uint8_t* column = _inMemory ? _own.data() : _stored;
  return column != nullptr ? wideGet(column, row, _order) : 0;
}

void WideColumn::set(std::int32_t row, std::int64_t value) {
  if (at(row) != value) {
    widePut(own().data(), row, value, _order);
    _changed = true;
  }
}

void WideColumn::append() {
  Bytes& bytes = own();
  bytes.resize(bytes.size() + wideSize);
  ++_rows;
  _changed = true;
}

void WideColumn::remove(std::int32_t row, std::int32_t count) {
  Bytes& bytes = own();
  bytes.erase(bytes.begin() + row * wideSize, bytes.begin() + (row + count) * wideSize);
  _rows -= count;
  _changed = true;
}

void WideColumn::copy(std::int32_t row, const Column& from, std::int32_t fromRow) {
  set(row, static_cast<const WideColumn&>(from).at(fromRow));
}

void WideColumn::save(Commit& commit, Bytes& walk) {
  Extent block = _entry;
  if (_changed) {
    commit.release(block);
    block = commit.place(own().data(), static_cast<std::int64_t>(own().size()));
    commit.whenDone([this, block] {
      _entry = block;
      _changed = false;
    });
  }
  appendExtent(walk, block);
}

// ---- BytesColumn ----

BytesColumn::BytesColumn(std::shared_ptr<Source> source, const BytesEntry& entry, std::int32_t rows)
    : _source(std::move(source)), _sizes(bytesOf(_source, entry.sizes.block)) {
  if (_source != nullptr) {
    EntryReader(*_source).memos(entry.memos, rows, _memos);
  }
  takeStored(entry, rows);
}

/// The last commit has this, and what _sizes and _memos tell.
void BytesColumn::takeStored(const BytesEntry& entry, std::int32_t rows) {
  _entry = entry;
  _storedRows = rows;
  _offsets.clear();
  if (_sizes == nullptr) {
    return;
  }
  _offsets.reserve(static_cast<std::size_t>(rows / stride) + 1);
  std::int32_t offset = 0;
  for (std::int32_t row = 0; row < rows; ++row) {
    if (row % stride == 0) {
      _offsets.push_back(offset);
    }
    offset += storedSize(row);
  }
}

std::int32_t BytesColumn::storedSize(std::int32_t row) const {
  return packedGet(_sizes, _entry.sizes.width, row, orderOf(_source));
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
  } else if (_sizes != nullptr) {
    place.kind = Place::Kind::Inline;
    place.block.position = _entry.data.position + _offsets[static_cast<std::size_t>(row / stride)];
    for (std::int32_t before = row - row % stride; before < row; ++before) {
      place.block.position += storedSize(before);
    }
    place.block.size = storedSize(row);
  }
  place.bytes = bytesOf(_source, place.block);
  return place;
}

BytesColumn::Place BytesColumn::placeOf(std::int32_t row) const {
  const std::int32_t origin = _changed ? _origins[static_cast<std::size_t>(row)] : row;
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

std::vector<std::int32_t>& BytesColumn::origins() {
  if (!_changed) {
    const auto rows = static_cast<std::size_t>(_storedRows);
    // A few rows are added more often than twice as many.
    _origins.reserve(rows + rows / 16 + 16);
    _origins.resize(rows);
    std::iota(_origins.begin(), _origins.end(), 0);
    _changed = true;
  }
  return _origins;
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
  std::int32_t& origin = origins()[static_cast<std::size_t>(row)];
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
  origins().push_back(none);
}

void BytesColumn::remove(std::int32_t row, std::int32_t count) {
  std::vector<std::int32_t>& all = origins();
  const auto first = all.begin() + row;
  std::for_each(first, first + count, [this](std::int32_t origin) { forget(origin); });
  all.erase(first, first + count);
}

void BytesColumn::copy(std::int32_t row, const Column& from, std::int32_t fromRow) {
  const Item item = static_cast<const BytesColumn&>(from).at(fromRow);
  set(row, item.bytes, item.size);
}

bool BytesColumn::movesData() const {
  std::int64_t kept = 0;
  for (std::size_t row = 0; row < _origins.size(); ++row) {
    const Place place = placeOf(static_cast<std::int32_t>(row));
    if (place.kind == Place::Kind::Fresh && place.block.size <= inlineLimit) {
      return true;
    }
    kept += place.kind == Place::Kind::Inline ? place.block.size : 0;
  }
  return kept != _entry.data.size;
}

void BytesColumn::save(Commit& commit, Bytes& walk) {
  if (!_changed) {
    appendEntry(walk, _entry);
    return;
  }
  const bool moves = movesData();
  Bytes data;
  PackedInts sizes(orderOf(_source));
  std::vector<Memo> memos;
  std::vector<bool> keeps(_memos.size());
  const auto rows = static_cast<std::int32_t>(_origins.size());
  for (std::int32_t row = 0; row < rows; ++row) {
    Place place = placeOf(row);
    const std::int32_t size = place.block.size;
    // Inline items that have to be moved anyway are moved out if they are long.
    const bool isFresh = place.kind == Place::Kind::Fresh;
    const bool isMemo =
        place.kind == Place::Kind::Memo ? size > 0 : size > inlineLimit && (isFresh || moves);
    sizes.append(isMemo ? 0 : size);
    if (size > 0 && place.bytes == nullptr) {
      commit.fail();
    } else if (isMemo) {
      if (place.kind == Place::Kind::Memo) {
        keeps[place.memo] = true;
      } else {
        place.block = commit.place(place.bytes, size);
      }
      memos.push_back({row, place.block});
    } else if (moves) {
      data.insert(data.end(), place.bytes, place.bytes + size);
    }
  }
  BytesEntry entry;
  entry.data = _entry.data;
  if (moves) {
    commit.release(_entry.data);
    entry.data = commit.place(std::move(data));
  }
  const Bytes packed = entry.data.size > 0 ? sizes.packed() : Bytes{};
  entry.sizes.block = commit.place(Bytes(packed));
  entry.sizes.width = packedWidthOf(rows, entry.sizes.block.size);
  commit.release(_entry.sizes.block);
  entry.memos = commit.place(memoWalk(memos));
  commit.release(_entry.memos);
  for (std::size_t i = 0; i < _memos.size(); ++i) {
    if (!keeps[i]) {
      commit.release(_memos[i].block);
    }
  }
  appendEntry(walk, entry);
  commit.whenDone([this, entry, rows, packed, memos] {
    _ownSizes = packed;
    _sizes = packed.empty() ? nullptr : _ownSizes.data();
    _memos = memos;
    takeStored(entry, rows);
    _changed = false;
    // Not {}, which would keep the memory.
    _origins = std::vector<std::int32_t>();
    _fresh = std::vector<Fresh>();
    _unused.clear();
  });
}

void BytesColumn::listBlocks(std::vector<Extent>& blocks) const {
  blocks.insert(blocks.end(), {_entry.data, _entry.sizes.block, _entry.memos});
  for (const Memo& memo : _memos) {
    blocks.push_back(memo.block);
  }
}

Bytes BytesColumn::memoWalk(const std::vector<Memo>& memos) {
  Bytes walk;
  std::int32_t next = 0;
  for (const Memo& memo : memos) {
    appendInteger(walk, memo.row - next);
    appendExtent(walk, memo.block);
    next = memo.row + 1;
  }
  return walk;
}

void BytesColumn::appendEntry(Bytes& walk, const BytesEntry& entry) {
  appendExtent(walk, entry.data);
  if (entry.data.size > 0) {
    appendExtent(walk, entry.sizes.block);
  }
  appendExtent(walk, entry.memos);
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
  commit.enter();
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
  commit.release(_entry);
  commit.release(_dropped);
  const Extent entry = commit.place(Bytes(block));
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
