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

SizeSum addSizes(File& file, std::int64_t position, int width, std::int32_t rows, ByteOrder order) {
  // As much of the column as is in memory at a time.
  constexpr std::int64_t slice = 4 * 1024 * 1024;
  const std::int64_t size = (std::int64_t{rows} * width + 7) / 8;
  const std::uint8_t* column = file.bytes(position, static_cast<std::size_t>(size));
  SizeSum total;
  std::int64_t row = 0;
  for (std::int64_t at = 0; column != nullptr && at < size;) {
    const File::Range stored = file.storedFrom(position + at);
    const std::int64_t from = std::max(at, stored.begin - position);
    const std::int64_t to = std::min({stored.end - position, size, from + slice});
    if (from >= to) {
      break;
    }
    // All rows that have a bit here and were not added before.
    row = std::max(row, from * 8 / width);
    const std::int64_t end = std::min<std::int64_t>((to * 8 + width - 1) / width, rows);
    for (; row < end; ++row) {
      const std::int32_t value = packedGet(column, width, static_cast<std::int32_t>(row), order);
      if (value < 0) {
        total.negativeRow = static_cast<std::int32_t>(row);
        return total;
      }
      total.sum += value;
    }
    if (to < size) {
      file.letGo();
    }
    at = to;
  }
  return total;
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

template <class Note>
bool EntryReader::memoWalk(Extent block, std::int32_t rows, const Note& note) {
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
    note(memo, walk.atEnd());
  }
  return true;
}

bool EntryReader::bytes(WalkReader& walk, std::int32_t rows, BytesEntry& entry) {
  if (!extent(walk, entry.data)) {
    return false;
  }
  if ((entry.data.size > 0 && !packed(walk, rows, entry.sizes)) || !extent(walk, entry.memos)) {
    return false;
  }
  const auto ignore = [](const Memo& /*memo*/, bool /*isLast*/) {};
  return _used == nullptr || (sizesAddUp(entry, rows) && memoWalk(entry.memos, rows, ignore));
}

bool EntryReader::sizesAddUp(const BytesEntry& entry, std::int32_t rows) {
  if (entry.data.size == 0) {
    return true;
  }
  if (entry.sizes.width == 0) {
    return false;
  }
  const SizeSum total = addSizes(_source.file(), _source.base() + entry.sizes.block.position,
                                 entry.sizes.width, rows, _source.order());
  return total.negativeRow < 0 && total.sum == entry.data.size;
}

bool EntryReader::memos(Extent block, std::int32_t rows,
                        const std::function<bool(std::int32_t)>& overrides,
                        std::vector<Memo>& list) {
  const auto isListed = [&overrides](const Memo& memo, bool isLast) {
    return memo.block.size > 0 || isLast || overrides(memo.row);
  };
  // Counted first: a list that grows takes up to three times its size.
  std::size_t count = 0;
  const auto add = [&](const Memo& memo, bool isLast) {
    count += isListed(memo, isLast) ? 1U : 0U;
  };
  if (!memoWalk(block, rows, add)) {
    return false;
  }
  list.reserve(count);
  return memoWalk(block, rows, [&](const Memo& memo, bool isLast) {
    if (isListed(memo, isLast)) {
      list.push_back(memo);
    }
  });
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
