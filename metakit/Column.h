#pragma once

#include <cstdint>
#include <functional>
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

/// Integers of 32 bits in adaptive width; floats by their bit pattern.
class IntColumn : public Column {
 public:
  IntColumn(std::shared_ptr<Source> source, const PackedEntry& entry, std::int32_t rows);

  std::int32_t at(std::int32_t row) const {
    return _own != nullptr ? _own->at(row) : packedGet(_stored, _entry.width, row, _order);
  }
  void set(std::int32_t row, std::int32_t value);

  void append() override;
  void remove(std::int32_t row, std::int32_t count) override;
  void clear(std::int32_t row) override { set(row, 0); }
  void copy(std::int32_t row, const Column& from, std::int32_t fromRow) override;
  bool changed() const override { return _changed; }
  void save(Commit& commit, Bytes& walk) override;
  void listBlocks(std::vector<Extent>& blocks) const override { blocks.push_back(_entry.block); }

 private:
  PackedInts& own();

  const std::shared_ptr<Source> _source;
  const ByteOrder _order;
  const std::uint8_t* _stored;
  PackedEntry _entry;
  /// Rows of the stored column.
  const std::int32_t _rows;
  std::unique_ptr<PackedInts> _own;
  bool _changed = false;
};

/// Integers and doubles of 64 bits, as bit patterns.
class WideColumn : public Column {
 public:
  WideColumn(std::shared_ptr<Source> source, Extent entry, std::int32_t rows);

  std::int64_t at(std::int32_t row) const;
  void set(std::int32_t row, std::int64_t value);

  void append() override;
  void remove(std::int32_t row, std::int32_t count) override;
  void clear(std::int32_t row) override { set(row, 0); }
  void copy(std::int32_t row, const Column& from, std::int32_t fromRow) override;
  bool changed() const override { return _changed; }
  void save(Commit& commit, Bytes& walk) override;
  void listBlocks(std::vector<Extent>& blocks) const override { blocks.push_back(_entry); }

 private:
  Bytes& own();

  const std::shared_ptr<Source> _source;
  const ByteOrder _order;
  const std::uint8_t* _stored;
  Extent _entry;
  std::int32_t _rows;
  Bytes _own;
  bool _inMemory = false;
  bool _changed = false;
};

/// Items of any length: bytes, or strings with their terminating NUL.
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
  bool changed() const override { return _changed; }
  void save(Commit& commit, Bytes& walk) override;
  void listBlocks(std::vector<Extent>& blocks) const override;

 private:
  /// Where an item is, or is to be, in the file.
  struct Place {
    Extent block;
    bool memo = false;
  };
  struct Cell {
    Place place;
    /// An item that is not written yet: place.block.size bytes.
    std::unique_ptr<std::uint8_t[]> fresh;
  };
  /// Rows between two noted offsets into the stored data.
  static constexpr std::int32_t stride = 64;

  void noteOffsets();
  Place storedPlace(std::int32_t row) const;
  std::vector<Cell>& own();
  const std::uint8_t* bytesOf(const Cell& cell) const;
  /// To be called for an item that goes and for one that comes.
  void noteChange(const Cell& cell);
  static void appendEntry(Bytes& walk, const BytesEntry& entry);

  const std::shared_ptr<Source> _source;
  BytesEntry _entry;
  std::int32_t _rows;

  // Until the first change: how to find a stored item.
  const std::uint8_t* _sizes = nullptr;
  std::vector<std::int32_t> _offsets;
  std::vector<Memo> _memos;

  // From then on: every item by itself.
  bool _inMemory = false;
  std::vector<Cell> _cells;
  bool _changed = false;
  /// Whether the block of inline items has to be written anew.
  bool _dataChanged = false;
  /// Memos of the last commit that no row uses any more.
  std::vector<Extent> _dropped;
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
  struct Row {
    /// The row's part of the stored block; size 0 for a row that is not in the file.
    std::int32_t offset = 0;
    std::int32_t size = 0;
    std::shared_ptr<Sequence> rows;
  };

  void drop(std::int32_t row);

  const std::shared_ptr<Source> _source;
  std::shared_ptr<const Structure> _structure;
  Extent _entry;
  mutable std::vector<Row> _rows;
  bool _changed = false;
  std::vector<Extent> _dropped;
};

}  // namespace Metakit
