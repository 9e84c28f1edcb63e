// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "metakit/Codec.h"
#include "metakit/Column.h"
#include "metakit/Commit.h"
#include "metakit/EntryReader.h"
#include "metakit/Source.h"
#include "metakit/Structure.h"

namespace Metakit {

class Sequence;

/// The rows of nested views, a sequence per row; a row is read when it is asked for.
class ViewColumn : public Column {
 public:
  /// `structure` is that of the nested rows.
  ViewColumn(std::shared_ptr<Source> source, std::shared_ptr<const Structure> structure,
             Extent entry, std::int32_t rows);
  /// A column that is not in the file yet.
  ViewColumn(std::shared_ptr<Source> source, std::shared_ptr<const Structure> structure,
             std::int32_t rows);

  const std::shared_ptr<Sequence>& at(std::int32_t row) const;
  /// Gives all nested rows another structure, keeping what fits. An equal structure is not a
  /// change.
  void restructure(const std::shared_ptr<const Structure>& structure);

  void append() override;
  void remove(std::int32_t row, std::int32_t count) override;
  void clear(std::int32_t row) override;
  void copy(std::int32_t row, const Column& from, std::int32_t fromRow) override;
  bool changed() const override;
  void save(Commit& commit, Bytes& walk) override;
  void listBlocks(std::vector<Extent>& blocks) const override;

 private:
  /// A row's part of the stored block.
  struct Part {
    std::int32_t offset;
    std::int32_t size;
  };

  /// The walk of a row; at its end when that is not in the file.
  WalkReader storedWalk(std::int32_t row) const;
  void listBlocksOf(std::int32_t first, std::int32_t count, std::vector<Extent>& blocks) const;

  const std::shared_ptr<Source> _source;
  std::shared_ptr<const Structure> _structure;
  std::int32_t _rows;
  Extent _entry;
  const std::uint8_t* _stored;
  /// The bytes at _stored, once this object wrote them.
  Bytes _ownStored;
  /// Of the first rows; those behind are not in the file.
  std::vector<Part> _parts;
  /// Rows that were asked for.
  mutable std::map<std::int32_t, std::shared_ptr<Sequence>> _loaded;
  bool _changed = false;
  std::vector<Extent> _dropped;
};

}  // namespace Metakit
