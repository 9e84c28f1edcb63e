// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "metakit/Codec.h"
#include "metakit/Column.h"
#include "metakit/Commit.h"
#include "metakit/EntryReader.h"
#include "metakit/IntColumn.h"
#include "metakit/Source.h"

namespace Metakit {

/// Items of any length: bytes, or strings with their terminating NUL. Keeps appended rows apart as
/// `IntColumn` does.
class BytesColumn : public Column {
 public:
  /// A longer item stands apart, as a memo, once it is written: then a commit writes the items that
  /// changed and not the column.
  static constexpr std::int32_t inlineLimit = 100;

  struct Item {
    const std::uint8_t* bytes;
    std::int32_t size;
  };

  BytesColumn(std::shared_ptr<Source> source, const BytesEntry& entry, std::int32_t rows);

  /// The item, valid until it is changed.
  Item at(std::int32_t row) const;
  /// Keeps a copy. The bytes may be those of an item of this column.
  void set(std::int32_t row, const void* bytes, std::int32_t size);

  void append() override;
  void remove(std::int32_t row, std::int32_t count) override;
  void clear(std::int32_t row) override { set(row, nullptr, 0); }
  void copy(std::int32_t row, const Column& from, std::int32_t fromRow) override;
  bool changed() const override { return _kept != _storedRows || !_origins.empty(); }
  void save(Commit& commit, Bytes& walk) override;
  void listBlocks(std::vector<Extent>& blocks) const override;

 private:
  /// Where an item is.
  struct Place {
    enum class Kind { None, Inline, Memo, Fresh };

    Kind kind = Kind::None;
    /// The block of a stored item; of a fresh one just its size.
    Extent block;
    /// Null for an item that is empty or cannot be read.
    const std::uint8_t* bytes = nullptr;
    /// Its index among the memos.
    std::size_t memo = 0;
  };
  /// An item that is not written yet.
  struct Fresh {
    std::unique_ptr<std::uint8_t[]> bytes;
    std::int32_t size = 0;
  };
  /// Rows between two noted offsets into the stored data.
  static constexpr std::int32_t stride = 16;
  /// The origin of an empty item. Stored items have their row above it, fresh ones those below it.
  static constexpr std::int32_t none = -1;

  static std::size_t freshIndex(std::int32_t origin) {
    return static_cast<std::size_t>(none - 1 - origin);
  }

  std::int32_t rows() const { return _kept + static_cast<std::int32_t>(_origins.size()); }
  std::int32_t originOf(std::int32_t row) const {
    return row < _kept ? row : _origins[static_cast<std::size_t>(row - _kept)];
  }
  std::int32_t storedOffset(std::int32_t row) const;
  Place storedPlace(std::int32_t row) const;
  Place placeOf(std::int32_t row) const;
  /// Notes an origin for every row, so that any of them can change.
  void takeAll();
  /// To be called for an origin that no row has any more.
  void forget(std::int32_t origin);
  /// Whether the block of inline items has to be written anew, rows only appended aside.
  bool movesData() const;

  const std::shared_ptr<Source> _source;

  // What the last commit has, and how to find an item in it.
  Growable _data;
  Growable _memoWalk;
  std::vector<Memo> _memos;
  std::int32_t _storedRows;
  /// Whether items of another maker stand inline and as a memo; the next commit puts that right.
  bool _hasOverridden = false;
  /// Of every `stride`th row as far as was asked for.
  mutable std::vector<std::int32_t> _offsets;

  /// As many rows are as they are stored; the others have noted origins.
  std::int32_t _kept;
  std::vector<std::int32_t> _origins;
  std::vector<Fresh> _fresh;
  std::vector<std::int32_t> _unused;
  /// Sizes of inline items, also the fresh ones; 0 for memos.
  IntColumn _sizes;
};

}  // namespace Metakit
