// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <vector>

#include "metakit/Codec.h"
#include "metakit/Source.h"
#include "metakit/Structure.h"

namespace Metakit {

/// What a walk says of a column of packed integers.
struct PackedEntry {
  Extent block;
  int width = 0;
};

/// What a walk says of a column of bytes or strings.
struct BytesEntry {
  Extent data;
  /// One size per row, if there are data.
  PackedEntry sizes;
  Extent memos;
};

/// One entry of the memo walk: an item that stands apart from its column's data.
struct Memo {
  std::int32_t row;
  Extent block;
};

/// What the sizes of a column's items add up to.
struct SizeSum {
  std::int64_t sum = 0;
  /// The first row whose size is negative, at which the sum ends; -1 if there is none.
  std::int32_t negativeRow = -1;
};

/// Adds up a column of `rows` sizes of `width` > 0 bits at `position` of the file. Neither time nor
/// memory grow with the holes of the file. REQUIRES: the file holds the column.
SizeSum addSizes(File& file, std::int64_t position, int width, std::int32_t rows, ByteOrder order);

/// How much the tables of a file come to, whether it takes bytes or not: what is 0 or empty takes
/// none, and a few bytes could claim more than anybody can read. Counted over the whole file.
class Tally {
 public:
  /// The bytes of a block that nested rows stand in.
  using BlockReader = std::function<const std::uint8_t*(Extent)>;

  /// Counts `tables` tables of `rows` rows each. False when a file whose blocks end at `limit` may
  /// not hold that much: more than mostCells() cells, or more than mostColumns() tables and
  /// columns.
  bool add(std::int64_t tables, std::int32_t rows, const Structure& structure, std::int32_t limit);

  /// Counts all tables below the rows with which a sound walk goes on; the root itself does not
  /// count.
  bool addAll(WalkReader& walk, const Structure& structure, std::int32_t limit,
              const BlockReader& bytes, bool isRoot = true);

  static constexpr std::int64_t mostCells(std::int32_t limit) {
    return std::max<std::int64_t>(1 << 21, std::int64_t{2} * limit);
  }
  static constexpr std::int64_t mostColumns(std::int32_t limit) {
    return std::max<std::int64_t>(1 << 17, limit / 8);
  }

 private:
  /// A row of a table without columns counts as one.
  std::int64_t _cells = 0;
  /// Each table counts as one more: that is what it takes in memory.
  std::int64_t _columns = 0;
};

/// Reads the entries of walks and holds each number against what it stands for: blocks lie within
/// the file, widths, sums and nesting are possible. Nothing is stored that passes for more than the
/// file can hold, so neither time nor memory exceed what its length accounts for. Every operation
/// is false at the first thing that is wrong: then the file is damaged. Lives on the stack of the
/// thread that reads; nothing is fatal.
class EntryReader {
 public:
  /// Follows the entries, too: checks what they lead to and lists every block met in `used`. Both
  /// must outlive this object.
  EntryReader(const Source& source, std::vector<Extent>& used) : _source(source), _used(&used) {}

  /// Takes apart what was checked before, without following it.
  explicit EntryReader(const Source& source) : _source(source) {}

  /// Columns of `rows` > 0 rows.
  bool packed(WalkReader& walk, std::int32_t rows, PackedEntry& entry);
  bool wide(WalkReader& walk, std::int32_t rows, Extent& entry);
  bool bytes(WalkReader& walk, std::int32_t rows, BytesEntry& entry);
  bool view(WalkReader& walk, std::int32_t rows, const Structure& structure, Extent& entry,
            int depth = 0);

  /// Passes over a whole sequence: a reserved 0, then what rows() reads.
  bool sequence(WalkReader& walk, const Structure& structure, int depth = 0);

  /// The number of rows and the entries of all columns, nested ones too.
  bool rows(WalkReader& walk, const Structure& structure, int depth = 0);

  /// The entries of a memo walk, in row order. Of those without bytes, only the last entry of all
  /// and those that override an inline item, as `overrides` says of the row.
  bool memos(Extent block, std::int32_t rows, const std::function<bool(std::int32_t)>& overrides,
             std::vector<Memo>& list);

 private:
  /// Passes each entry of a memo walk to `note`.
  template <class Note>
  bool memoWalk(Extent block, std::int32_t rows, const Note& note);
  bool extent(WalkReader& walk, Extent& block);
  bool sizesAddUp(const BytesEntry& entry, std::int32_t rows);

  const Source& _source;
  std::vector<Extent>* const _used = nullptr;
  /// Bytes of all blocks met; more than the file has means that blocks overlap.
  std::int64_t _total = 0;
  Tally _tally;
};

}  // namespace Metakit
