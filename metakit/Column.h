// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "metakit/Codec.h"
#include "metakit/Commit.h"
#include "metakit/EntryReader.h"
#include "metakit/PackedInts.h"
#include "metakit/Source.h"
#include "metakit/Structure.h"

namespace Metakit {

class Sequence;

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
  /// Gives all nested rows another structure, keeping what fits. The same one in other words is no
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
