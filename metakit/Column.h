// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <vector>

#include "metakit/Codec.h"
#include "metakit/Commit.h"

namespace Metakit {

/// The cells of one property of a view, one per row. Stored cells are read where the file has them;
/// the first change takes what it needs into memory. Owned by its `Sequence`, used by one thread at
/// a time. Row numbers are not checked: REQUIRES 0 <= row < rows everywhere. Nothing is fatal.
class Column {
 public:
  Column() = default;
  virtual ~Column() = default;
  Column(const Column&) = delete;
  Column& operator=(const Column&) = delete;

  /// Adds a row: 0, no bytes or no rows.
  virtual void append() = 0;
  virtual void remove(std::int32_t row, std::int32_t count) = 0;
  /// Makes the cell 0, no bytes or no rows.
  virtual void clear(std::int32_t row) = 0;
  /// Takes over a cell of a column of the same type, which may be this one.
  virtual void copy(std::int32_t row, const Column& from, std::int32_t fromRow) = 0;

  /// Whether something is here that the last commit does not have.
  virtual bool changed() const = 0;
  /// Appends the column's entry to a walk and places the blocks that changed.
  virtual void save(Commit& commit, Bytes& walk) = 0;
  /// Lists the blocks that the last commit uses for this column.
  virtual void listBlocks(std::vector<Extent>& blocks) const = 0;
};

}  // namespace Metakit
