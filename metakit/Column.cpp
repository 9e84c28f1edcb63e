#include "metakit/Column.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
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
    : _source(std::move(source)), _entry(entry), _rows(rows) {
  if (_source != nullptr) {
    _sizes = _source->bytes(_entry.sizes.block);
    EntryReader(*_source).memos(_entry.memos, rows, _memos);
    noteOffsets();
  }
}

void BytesColumn::noteOffsets() {
  if (_sizes == nullptr) {
    return;
  }
  _offsets.reserve(static_cast<std::size_t>(_rows / stride) + 1);
  std::int32_t offset = 0;
  for (std::int32_t row = 0; row < _rows; ++row) {
    if (row % stride == 0) {
      _offsets.push_back(offset);
    }
    offset += packedGet(_sizes, _entry.sizes.width, row, _source->order());
  }
}

BytesColumn::Place BytesColumn::storedPlace(std::int32_t row) const {
  const auto memo =
      std::lower_bound(_memos.begin(), _memos.end(), row,
                       [](const Memo& candidate, std::int32_t at) { return candidate.row < at; });
  if (memo != _memos.end() && memo->row == row) {
    return {memo->block, true};
  }
  Place place;
  if (_sizes == nullptr) {
    return place;
  }
  const auto sizeAt = [this](std::int32_t at) {
    return packedGet(_sizes, _entry.sizes.width, at, _source->order());
  };
  place.block.position = _entry.data.position + _offsets[static_cast<std::size_t>(row / stride)];
  for (std::int32_t before = row - row % stride; before < row; ++before) {
    place.block.position += sizeAt(before);
  }
  place.block.size = sizeAt(row);
  return place;
}

std::vector<BytesColumn::Cell>& BytesColumn::own() {
  if (!_inMemory) {
    _cells.reserve(static_cast<std::size_t>(_rows));
    for (std::int32_t row = 0; row < _rows; ++row) {
      _cells.push_back({storedPlace(row), nullptr});
    }
    _offsets = {};
    _memos = {};
    _inMemory = true;
  }
  return _cells;
}

const std::uint8_t* BytesColumn::bytesOf(const Cell& cell) const {
  return cell.fresh != nullptr ? cell.fresh.get() : Metakit::bytesOf(_source, cell.place.block);
}

BytesColumn::Item BytesColumn::at(std::int32_t row) const {
  Item item = {nullptr, 0};
  if (_inMemory) {
    const Cell& cell = _cells[static_cast<std::size_t>(row)];
    item = {bytesOf(cell), cell.place.block.size};
  } else {
    const Extent block = storedPlace(row).block;
    item = {Metakit::bytesOf(_source, block), block.size};
  }
  // An item that cannot be read any more is none.
  return item.bytes != nullptr ? item : Item{nullptr, 0};
}

void BytesColumn::noteChange(const Cell& cell) {
  if (!cell.place.memo) {
    _dataChanged = _dataChanged || cell.place.block.size > 0;
  } else if (cell.fresh == nullptr) {
    _dropped.push_back(cell.place.block);
  }
}

void BytesColumn::set(std::int32_t row, const void* bytes, std::int32_t size) {
  const Item before = at(row);
  const auto length = static_cast<std::size_t>(size);
  if (before.size == size &&
      (before.bytes == nullptr || std::memcmp(before.bytes, bytes, length) == 0)) {
    return;
  }
  Cell cell;
  cell.place.block.size = size;
  cell.place.memo = size > inlineLimit;
  if (size > 0) {
    cell.fresh = std::make_unique<std::uint8_t[]>(length);
    std::memcpy(cell.fresh.get(), bytes, length);
  }
  Cell& old = own()[static_cast<std::size_t>(row)];
  noteChange(old);
  noteChange(cell);
  old = std::move(cell);
  _changed = true;
}

void BytesColumn::append() {
  own().emplace_back();
  ++_rows;
  _changed = true;
}

void BytesColumn::remove(std::int32_t row, std::int32_t count) {
  std::vector<Cell>& cells = own();
  for (std::int32_t i = row; i < row + count; ++i) {
    noteChange(cells[static_cast<std::size_t>(i)]);
  }
  cells.erase(cells.begin() + row, cells.begin() + row + count);
  _rows -= count;
  _changed = true;
}

void BytesColumn::copy(std::int32_t row, const Column& from, std::int32_t fromRow) {
  const Item item = static_cast<const BytesColumn&>(from).at(fromRow);
  set(row, item.bytes, item.size);
}

void BytesColumn::appendEntry(Bytes& walk, const BytesEntry& entry) {
  appendExtent(walk, entry.data);
  if (entry.data.size > 0) {
    appendExtent(walk, entry.sizes.block);
  }
  appendExtent(walk, entry.memos);
}

void BytesColumn::save(Commit& commit, Bytes& walk) {
  if (!_changed) {
    appendEntry(walk, _entry);
    return;
  }
  Bytes data;
  PackedInts sizes(orderOf(_source));
  Bytes memos;
  std::int32_t passed = 0;
  // Where each item is to be; positions of inline items count from the start of the data.
  std::vector<Place> places(_cells.size());
  for (std::size_t i = 0; i < _cells.size(); ++i) {
    const Cell& cell = _cells[i];
    Place& place = places[i];
    place = cell.place;
    // Inline items that have to be moved anyway are moved out if they are long.
    place.memo = place.memo || (_dataChanged && place.block.size > inlineLimit);
    if (place.memo) {
      if (cell.fresh != nullptr || !cell.place.memo) {
        place.block = commit.place(bytesOf(cell), place.block.size);
      }
      appendInteger(memos, passed);
      appendExtent(memos, place.block);
      passed = 0;
      sizes.append(0);
      continue;
    }
    ++passed;
    sizes.append(place.block.size);
    if (_dataChanged && place.block.size > 0) {
      const std::uint8_t* bytes = bytesOf(cell);
      place.block.position = static_cast<std::int32_t>(data.size());
      data.insert(data.end(), bytes, bytes + place.block.size);
    }
  }
  BytesEntry entry;
  entry.data = _entry.data;
  if (_dataChanged) {
    commit.release(_entry.data);
    entry.data = commit.place(std::move(data));
  }
  commit.release(_entry.sizes.block);
  if (entry.data.size > 0) {
    entry.sizes.block = commit.place(sizes.packed());
  }
  commit.release(_entry.memos);
  entry.memos = commit.place(std::move(memos));
  commit.release(_dropped);
  appendEntry(walk, entry);

  commit.whenDone([this, entry, places = std::move(places)] {
    for (std::size_t i = 0; i < _cells.size(); ++i) {
      Cell& cell = _cells[i];
      cell.place = places[i];
      cell.fresh = nullptr;
      if (_dataChanged && !cell.place.memo) {
        cell.place.block.position += entry.data.position;
      }
    }
    _entry = entry;
    _changed = false;
    _dataChanged = false;
    _dropped.clear();
  });
}

void BytesColumn::listBlocks(std::vector<Extent>& blocks) const {
  blocks.insert(blocks.end(), {_entry.data, _entry.sizes.block, _entry.memos});
  blocks.insert(blocks.end(), _dropped.begin(), _dropped.end());
  for (const Memo& memo : _memos) {
    blocks.push_back(memo.block);
  }
  for (const Cell& cell : _cells) {
    if (cell.place.memo && cell.fresh == nullptr) {
      blocks.push_back(cell.place.block);
    }
  }
}

// ---- ViewColumn ----

ViewColumn::ViewColumn(std::shared_ptr<Source> source, std::shared_ptr<const Structure> structure,
                       Extent entry, std::int32_t rows)
    : _source(std::move(source)),
      _structure(std::move(structure)),
      _entry(entry),
      _rows(static_cast<std::size_t>(rows)) {
  const std::uint8_t* bytes = bytesOf(_source, _entry);
  if (bytes == nullptr) {
    return;
  }
  EntryReader reader(*_source);
  WalkReader walk(bytes, _entry.size);
  for (Row& row : _rows) {
    row.offset = static_cast<std::int32_t>(walk.position() - bytes);
    reader.sequence(walk, *_structure);
    row.size = static_cast<std::int32_t>(walk.position() - bytes) - row.offset;
  }
}

ViewColumn::ViewColumn(std::shared_ptr<Source> source, std::shared_ptr<const Structure> structure,
                       std::int32_t rows)
    : ViewColumn(std::move(source), std::move(structure), Extent{}, rows) {
  _changed = rows > 0;
}

const std::shared_ptr<Sequence>& ViewColumn::at(std::int32_t row) const {
  Row& place = _rows[static_cast<std::size_t>(row)];
  if (place.rows == nullptr) {
    if (place.size > 0) {
      WalkReader walk(_source->bytes(_entry) + place.offset, place.size);
      walk.integer();
      place.rows = std::make_shared<Sequence>(_source, _structure, walk);
    } else {
      place.rows = std::make_shared<Sequence>(_source, _structure);
    }
  }
  return place.rows;
}

void ViewColumn::restructure(const std::shared_ptr<const Structure>& structure) {
  const bool same = _structure->isSameAs(*structure);
  for (std::size_t row = 0; row < _rows.size(); ++row) {
    if (!same || _rows[row].rows != nullptr) {
      at(static_cast<std::int32_t>(row))->restructure(structure);
    }
  }
  _structure = structure;
  _changed = _changed || !same;
}

void ViewColumn::drop(std::int32_t row) {
  at(row)->listBlocks(_dropped);
  _changed = true;
}

void ViewColumn::append() {
  _rows.emplace_back();
  _changed = true;
}

void ViewColumn::remove(std::int32_t row, std::int32_t count) {
  for (std::int32_t i = row; i < row + count; ++i) {
    drop(i);
  }
  _rows.erase(_rows.begin() + row, _rows.begin() + row + count);
}

void ViewColumn::clear(std::int32_t row) {
  Sequence& rows = *at(row);
  rows.remove(0, rows.rows());
}

void ViewColumn::copy(std::int32_t row, const Column& from, std::int32_t fromRow) {
  at(row)->assign(*static_cast<const ViewColumn&>(from).at(fromRow));
}

bool ViewColumn::changed() const {
  return _changed || std::any_of(_rows.begin(), _rows.end(), [](const Row& row) {
           return row.rows != nullptr && row.rows->changed();
         });
}

void ViewColumn::save(Commit& commit, Bytes& walk) {
  if (!changed()) {
    appendExtent(walk, _entry);
    return;
  }
  const std::uint8_t* stored = bytesOf(_source, _entry);
  Bytes block;
  std::vector<Row> places(_rows.size());
  for (std::size_t i = 0; i < _rows.size(); ++i) {
    const Row& row = _rows[i];
    places[i].offset = static_cast<std::int32_t>(block.size());
    if (row.rows != nullptr) {
      appendInteger(block, 0);
      row.rows->save(commit, block);
    } else if (row.size > 0) {
      block.insert(block.end(), stored + row.offset, stored + row.offset + row.size);
    } else {
      // No rows: the reserved 0 and the row count.
      appendInteger(block, 0);
      appendInteger(block, 0);
    }
    places[i].size = static_cast<std::int32_t>(block.size()) - places[i].offset;
  }
  commit.release(_entry);
  commit.release(_dropped);
  const Extent entry = commit.place(std::move(block));
  appendExtent(walk, entry);
  commit.whenDone([this, entry, places = std::move(places)] {
    for (std::size_t i = 0; i < _rows.size(); ++i) {
      _rows[i].offset = places[i].offset;
      _rows[i].size = places[i].size;
    }
    _entry = entry;
    _changed = false;
    _dropped.clear();
  });
}

void ViewColumn::listBlocks(std::vector<Extent>& blocks) const {
  blocks.push_back(_entry);
  blocks.insert(blocks.end(), _dropped.begin(), _dropped.end());
  for (std::size_t row = 0; row < _rows.size(); ++row) {
    at(static_cast<std::int32_t>(row))->listBlocks(blocks);
  }
}

}  // namespace Metakit
