// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "metakit/ViewColumn.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "metakit/Sequence.h"

namespace Metakit {

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
