// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "metakit/Codec.h"
#include "metakit/Column.h"
#include "metakit/Commit.h"
#include "metakit/EntryReader.h"
#include "metakit/PackedInts.h"
#include "metakit/Source.h"

namespace Metakit {

/// Integers of 32 bits in adaptive width; floats by their bit pattern. Rows that are appended are
/// kept apart from the stored ones, which stay where they are; any other change takes all into
/// memory.
class IntColumn : public Column {
 public:
  IntColumn(std::shared_ptr<Source> source, const PackedEntry& entry, std::int32_t rows);

  std::int32_t at(std::int32_t row) const {
    return row < _kept ? stored(row) : _fresh.at(row - _kept);
  }
  void set(std::int32_t row, std::int32_t value);
  /// The value that the last commit has. REQUIRES: it has the row.
  std::int32_t stored(std::int32_t row) const { return packedGet(_stored, _width, row, _order); }

  void append() override { _fresh.append(0); }
  void remove(std::int32_t row, std::int32_t count) override;
  void clear(std::int32_t row) override { set(row, 0); }
  void copy(std::int32_t row, const Column& from, std::int32_t fromRow) override;
  bool changed() const override { return _kept != _storedRows || _fresh.size() > 0; }
  void save(Commit& commit, Bytes& walk) override;
  void listBlocks(std::vector<Extent>& blocks) const override;

 private:
  std::int32_t rows() const { return _kept + _fresh.size(); }
  /// The values in memory, those of the first `_kept` rows included.
  PackedInts all() const;
  void takeAll();
  bool extend(Commit& commit, Growable& block) const;

  const std::shared_ptr<Source> _source;
  const ByteOrder _order;

  // What the last commit has.
  const std::uint8_t* _stored;
  Growable _block;
  int _width;
  std::int32_t _storedRows;

  /// As many rows are as they are stored, the others are fresh.
  std::int32_t _kept;
  PackedInts _fresh;
};

}  // namespace Metakit
