// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>

#include "metakit/Codec.h"

namespace Metakit {

/// A list of integers in memory, packed as a column of the file holds them: all with one width,
/// which grows with the values. Used by one thread at a time; nothing is fatal.
class PackedInts {
 public:
  /// An empty list of values with at least that width.
  explicit PackedInts(ByteOrder order, int width = 0) : _order(order), _width(width) {}
  /// A copy of a stored column. `column` may be null when `width` is 0.
  PackedInts(const std::uint8_t* column, int width, std::int32_t rows, ByteOrder order);

  std::int32_t size() const { return _size; }
  std::int32_t at(std::int32_t index) const {
    return packedGet(_bytes.data(), _width, index, _order);
  }
  void set(std::int32_t index, std::int32_t value);
  void append(std::int32_t value);
  void remove(std::int32_t index, std::int32_t count);

  /// The least width that holds every value.
  int leastWidth() const;
  /// The values as they are packed now, without the bytes that tell the width of a short column.
  const Bytes& bytes() const { return _bytes; }
  /// The bytes of the column in the least width.
  Bytes packed();

 private:
  void widen(int width);

  ByteOrder _order;
  int _width = 0;
  std::int32_t _size = 0;
  Bytes _bytes;
};

}  // namespace Metakit
