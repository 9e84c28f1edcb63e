// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "metakit/PackedInts.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace Metakit {

namespace {

std::size_t neededBytes(std::int32_t size, int width) {
  return (static_cast<std::size_t>(size) * static_cast<std::size_t>(width) + 7) / 8;
}

}  // namespace

PackedInts::PackedInts(const std::uint8_t* column, int width, std::int32_t rows, ByteOrder order)
    : _order(order), _width(column != nullptr ? width : 0), _size(rows) {
  if (_width > 0) {
    _bytes.assign(column, column + neededBytes(rows, _width));
  }
}

void PackedInts::set(std::int32_t index, std::int32_t value) {
  widen(packedWidth(value));
  packedPut(_bytes.data(), _width, index, value, _order);
}

void PackedInts::append(std::int32_t value) {
  ++_size;
  _bytes.resize(neededBytes(_size, _width));
  set(_size - 1, value);
}

void PackedInts::remove(std::int32_t index, std::int32_t count) {
  for (std::int32_t i = index; i < _size - count; ++i) {
    packedPut(_bytes.data(), _width, i, at(i + count), _order);
  }
  _size -= count;
  _bytes.resize(neededBytes(_size, _width));
}

int PackedInts::leastWidth() const {
  int least = 0;
  for (std::int32_t i = 0; i < _size && least < _width; ++i) {
    least = std::max(least, packedWidth(at(i)));
  }
  return least;
}

Bytes PackedInts::packed() {
  const int least = leastWidth();
  if (least < _width) {
    PackedInts narrow(_order, least);
    for (std::int32_t i = 0; i < _size; ++i) {
      narrow.append(at(i));
    }
    *this = std::move(narrow);
  }
  Bytes bytes = _bytes;
  // What the removal of rows left in the last byte must not get into the file.
  if (_width > 0 && _width < 8) {
    const int used = static_cast<int>(static_cast<std::int64_t>(_size) * _width % 8);
    if (used > 0) {
      bytes.back() = static_cast<std::uint8_t>(bytes.back() & ((1 << used) - 1));
    }
  }
  bytes.resize(static_cast<std::size_t>(packedSize(_size, _width)));
  return bytes;
}

void PackedInts::widen(int width) {
  if (width <= _width) {
    return;
  }
  PackedInts wide(_order, width);
  wide._size = _size;
  wide._bytes.resize(neededBytes(_size, width));
  for (std::int32_t i = 0; i < _size; ++i) {
    packedPut(wide._bytes.data(), width, i, at(i), _order);
  }
  *this = std::move(wide);
}

}  // namespace Metakit
