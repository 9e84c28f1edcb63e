// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "metakit/BytesColumn.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <utility>

namespace Metakit {

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

}  // namespace Metakit
