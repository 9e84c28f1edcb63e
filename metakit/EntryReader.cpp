// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "metakit/EntryReader.h"

namespace Metakit {

bool Tally::add(std::int64_t tables, std::int32_t rows, const Structure& structure,
                std::int32_t limit) {
  const auto columns = static_cast<std::int64_t>(structure.fields.size());
  _columns += tables * (columns + 1);
  _cells += tables * rows * std::max<std::int64_t>(columns, 1);
  return _columns <= mostColumns(limit) && _cells <= mostCells(limit);
}

bool Tally::addAll(WalkReader& walk, const Structure& structure, std::int32_t limit,
                   const BlockReader& bytes, bool isRoot) {
  const auto extent = [&walk] {
    Extent block;
    block.size = walk.count();
    block.position = block.size > 0 ? walk.count() : 0;
    return block;
  };
  const std::int32_t rows = walk.count();
  bool fits = isRoot || add(1, rows, structure, limit);
  for (const Field& field : structure.fields) {
    if (rows == 0 || !fits) {
      break;
    }
    const Extent block = extent();
    if (field.type == 'B' || field.type == 'S') {
      // Sizes and memos.
      for (int left = block.size > 0 ? 2 : 1; left > 0; --left) {
        extent();
      }
    } else if (field.type == 'V' && block.size == 0) {
      fits = add(rows, 0, *field.rows, limit);
    } else if (field.type == 'V') {
      WalkReader nested(bytes(block), block.size);
      for (std::int32_t row = 0; row < rows && fits; ++row) {
        nested.integer();
        fits = addAll(nested, *field.rows, limit, bytes, false);
      }
    }
  }
  return fits;
}

bool EntryReader::extent(WalkReader& walk, Extent& block) {
  block = {};
  block.size = walk.count();
  if (block.size == 0) {
    return !walk.failed();
  }
  block.position = walk.count();
  if (walk.failed() || !_source.holds(block)) {
    return false;
  }
  if (_used != nullptr) {
    _total += block.size;
    _used->push_back(block);
    return _total <= _source.limit();
  }
  return true;
}

bool EntryReader::packed(WalkReader& walk, std::int32_t rows, PackedEntry& entry) {
  if (!extent(walk, entry.block)) {
    return false;
  }
  entry.width = packedWidthOf(rows, entry.block.size);
  return entry.width >= 0;
}

bool EntryReader::wide(WalkReader& walk, std::int32_t rows, Extent& entry) {
  return extent(walk, entry) &&
         (entry.size == 0 || entry.size == static_cast<std::int64_t>(rows) * wideSize);
}

bool EntryReader::bytes(WalkReader& walk, std::int32_t rows, BytesEntry& entry) {
  if (!extent(walk, entry.data)) {
    return false;
  }
  if ((entry.data.size > 0 && !packed(walk, rows, entry.sizes)) || !extent(walk, entry.memos)) {
    return false;
  }
  std::vector<Memo> list;
  return _used == nullptr || (sizesAddUp(entry, rows) && memos(entry.memos, rows, list));
}

bool EntryReader::sizesAddUp(const BytesEntry& entry, std::int32_t rows) {
  if (entry.data.size == 0) {
    return true;
  }
  const std::uint8_t* sizes = _source.bytes(entry.sizes.block);
  if (sizes == nullptr || entry.sizes.width == 0) {
    return false;
  }
  std::int64_t sum = 0;
  for (std::int32_t row = 0; row < rows; ++row) {
    const std::int32_t size = packedGet(sizes, entry.sizes.width, row, _source.order());
    if (size < 0) {
      return false;
    }
    sum += size;
  }
  return sum == entry.data.size;
}

bool EntryReader::memos(Extent block, std::int32_t rows, std::vector<Memo>& list) {
  const std::uint8_t* bytes = _source.bytes(block);
  if (bytes == nullptr) {
    return block.size == 0;
  }
  WalkReader walk(bytes, block.size);
  std::int64_t row = 0;
  while (!walk.atEnd()) {
    row += walk.count();
    Memo memo{};
    if (!extent(walk, memo.block) || row >= rows) {
      return false;
    }
    memo.row = static_cast<std::int32_t>(row++);
    list.push_back(memo);
  }
  return true;
}

bool EntryReader::view(WalkReader& walk, std::int32_t rows, const Structure& structure,
                       Extent& entry, int depth) {
  if (!extent(walk, entry)) {
    return false;
  }
  if (_used == nullptr) {
    return true;
  }
  if (entry.size == 0) {
    return _tally.add(rows, 0, structure, _source.limit());
  }
  const std::uint8_t* bytes = _source.bytes(entry);
  if (bytes == nullptr || depth >= maxNesting) {
    return false;
  }
  WalkReader nested(bytes, entry.size);
  for (std::int32_t row = 0; row < rows; ++row) {
    if (!sequence(nested, structure, depth + 1)) {
      return false;
    }
  }
  return nested.atEnd();
}

bool EntryReader::sequence(WalkReader& walk, const Structure& structure, int depth) {
  return walk.integer() == 0 && rows(walk, structure, depth);
}

bool EntryReader::rows(WalkReader& walk, const Structure& structure, int depth) {
  const std::int32_t rows = walk.count();
  if (walk.failed() ||
      (_used != nullptr && depth > 0 && !_tally.add(1, rows, structure, _source.limit()))) {
    return false;
  }
  if (rows == 0) {
    return true;
  }
  for (const Field& field : structure.fields) {
    bool sound = false;
    switch (field.type) {
      case 'I':
      case 'F': {
        PackedEntry entry;
        sound = packed(walk, rows, entry);
        break;
      }
      case 'L':
      case 'D': {
        Extent entry;
        sound = wide(walk, rows, entry);
        break;
      }
      case 'V': {
        Extent entry;
        sound = view(walk, rows, *field.rows, entry, depth);
        break;
      }
      default: {
        BytesEntry entry;
        sound = bytes(walk, rows, entry);
        break;
      }
    }
    if (!sound) {
      return false;
    }
  }
  return true;
}

}  // namespace Metakit
