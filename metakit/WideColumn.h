// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "metakit/Codec.h"
#include "metakit/Column.h"
#include "metakit/Commit.h"
#include "metakit/Source.h"

namespace Metakit {

/// Integers and doubles of 64 bits, as bit patterns. Keeps appended rows apart as `IntColumn` does.
class WideColumn : public Column {
 public:
  WideColumn(std::shared_ptr<Source> source, Extent entry, std::int32_t rows);

  std::int64_t at(std::int32_t row) const;
  void set(std::int32_t row, std::int64_t value);

  void append() override { _fresh.resize(_fresh.size() + wideSize); }
  void remove(std::int32_t row, std::int32_t count) override;
  void clear(std::int32_t row) override { set(row, 0); }
  void copy(std::int32_t row, const Column& from, std::int32_t fromRow) override;
  bool changed() const override { return _kept != _storedRows || !_fresh.empty(); }
  void save(Commit& commit, Bytes& walk) override;
  void listBlocks(std::vector<Extent>& blocks) const override;

 private:
  void takeAll();

  const std::shared_ptr<Source> _source;
  const ByteOrder _order;

  // What the last commit has; null when all is 0.
  const std::uint8_t* _stored;
  Growable _block;
  std::int32_t _storedRows;

  /// As many rows are as they are stored, the others are fresh.
  std::int32_t _kept;
  Bytes _fresh;
};

}  // namespace Metakit
