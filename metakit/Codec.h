// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

// The bytes of a datafile: marks, the integers of walks and packed columns, as docs/datafile.md
// lays them out. This is the only place that turns file bytes into numbers and back. Everything
// here works on memory that the caller alone is using; nothing is fatal.

namespace Metakit {

using Bytes = std::vector<std::uint8_t>;

/// Order of the 16, 32 and 64 bit integers inside columns; all else in a file is independent of it.
enum class ByteOrder { Little, Big };

/// A block of the file: `size` bytes at `position`, counted from the header. Size 0: no block.
struct Extent {
  std::int32_t position = 0;
  std::int32_t size = 0;
};

// ---- Marks: the 8-byte frames of a file ----

constexpr std::int32_t markSize = 8;
/// A file ends with a skip tail and a commit tail.
constexpr std::int32_t tailSize = 2 * markSize;
/// The root walk's size has 24 bits in a commit tail.
constexpr std::int32_t maxRootWalkSize = 0xFFFFFF;

struct Mark {
  enum class Kind { None, Header, SkipTail, CommitTail };

  Kind kind = Kind::None;
  /// Header only.
  ByteOrder order = ByteOrder::Little;
  /// Commit tail only: size of the root walk.
  std::int32_t size = 0;
  /// Header: end of the last commit. Skip tail: distance. Commit tail: position of the root walk.
  std::int32_t value = 0;
};

/// Reads the mark in the `markSize` bytes at `bytes`; kind None when they are no mark.
Mark decodeMark(const std::uint8_t* bytes);

/// Writes `markSize` bytes.
void encodeMark(const Mark& mark, std::uint8_t* bytes);

// ---- Walks ----

/// Takes a walk apart. Once a step fails (the bytes run out, a number does not fit 32 bits, is not
/// written in its one form or is negative where that has no meaning) every further step fails, too.
class WalkReader {
 public:
  /// The bytes must outlive this object.
  WalkReader(const std::uint8_t* bytes, std::int32_t size) : _at(bytes), _end(bytes + size) {}

  bool failed() const { return _failed; }
  bool atEnd() const { return _at == _end; }
  const std::uint8_t* position() const { return _at; }

  /// The next integer; 0 on failure.
  std::int32_t integer();

  /// The next integer, which must not be negative; 0 on failure.
  std::int32_t count();

  /// The next `size` bytes; none on failure.
  std::string_view text(std::int32_t size);

 private:
  const std::uint8_t* _at;
  const std::uint8_t* _end;
  bool _failed = false;
};

/// Appends an integer to a walk.
void appendInteger(Bytes& walk, std::int32_t value);

/// Appends a column entry to a walk: the size and, if there is a block, its position.
void appendExtent(Bytes& walk, Extent extent);

// ---- Integers in columns ----

constexpr ByteOrder nativeOrder =
    __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? ByteOrder::Little : ByteOrder::Big;

/// An integer of sizeof(T) bytes.
template <class T>
T loadInteger(const std::uint8_t* bytes, ByteOrder order) {
  std::array<std::uint8_t, sizeof(T)> own;
  std::memcpy(own.data(), bytes, sizeof(T));
  if (order != nativeOrder) {
    std::reverse(own.begin(), own.end());
  }
  T value;
  std::memcpy(&value, own.data(), sizeof(T));
  return value;
}

template <class T>
void storeInteger(std::uint8_t* bytes, ByteOrder order, T value) {
  std::memcpy(bytes, &value, sizeof(T));
  if (order != nativeOrder) {
    std::reverse(bytes, bytes + sizeof(T));
  }
}

// ---- Packed columns: every value in 0, 1, 2, 4, 8, 16 or 32 bits ----

/// Up to that many rows it takes a table to tell a column's width from its size.
constexpr std::int32_t longestShortColumn = 7;

/// The least width that holds `value`: 0, 1, 2 and 4 bits unsigned, 8, 16 and 32 bits signed.
int packedWidth(std::int32_t value);

/// Bytes that a column of `rows` values of `width` bits takes. A few of the shortest columns are
/// longer than their values need, so that rows and size tell the width.
std::int64_t packedSize(std::int32_t rows, int width);

/// The width of a stored column of `rows` > 0 values in `size` bytes; -1 when no width fits.
int packedWidthOf(std::int32_t rows, std::int32_t size);

/// Value `index` of a column of fewer than 32 bits a value. REQUIRES: the column holds it.
std::int32_t packedGetNarrow(const std::uint8_t* column, int width, std::int32_t index,
                             ByteOrder order);

/// Value `index` of a column. REQUIRES: the column holds it.
inline std::int32_t packedGet(const std::uint8_t* column, int width, std::int32_t index,
                              ByteOrder order) {
  // Keys, which are looked through one by one, have 32 bits.
  return width == 32
             ? loadInteger<std::int32_t>(column + static_cast<std::ptrdiff_t>(index) * 4, order)
             : packedGetNarrow(column, width, index, order);
}

/// REQUIRES: the column has room for value `index`, and `width` holds `value`.
void packedPut(std::uint8_t* column, int width, std::int32_t index, std::int32_t value,
               ByteOrder order);

// ---- Columns of 64 bits ----

constexpr std::int32_t wideSize = 8;

inline std::int64_t wideGet(const std::uint8_t* column, std::int32_t index, ByteOrder order) {
  return loadInteger<std::int64_t>(column + static_cast<std::ptrdiff_t>(index) * wideSize, order);
}

inline void widePut(std::uint8_t* column, std::int32_t index, std::int64_t value, ByteOrder order) {
  storeInteger(column + static_cast<std::ptrdiff_t>(index) * wideSize, order, value);
}

}  // namespace Metakit
