// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include "metakit/Codec.h"
#include "metakit/File.h"

namespace Metakit {

/// Where the stored blocks of a datafile are read from: its file, where it starts there, and how
/// far the last commit reaches. Shared by all columns of the datafile, so that a view can be read
/// after its storage was closed.
class Source {
 public:
  /// Takes ownership of the file. Positions count from `base`.
  Source(std::unique_ptr<File> file, std::int64_t base, std::int32_t limit, ByteOrder order)
      : _file(std::move(file)), _base(base), _limit(limit), _order(order) {}

  File& file() const { return *_file; }
  std::int64_t base() const { return _base; }
  ByteOrder order() const { return _order; }

  /// Blocks end before this position. To be moved on by every commit that makes the file longer.
  std::int32_t limit() const { return _limit; }
  void setLimit(std::int32_t limit) { _limit = limit; }

  /// Whether a block stands where one may stand.
  bool holds(Extent block) const {
    return block.position >= markSize && block.size > 0 && block.size <= _limit - block.position;
  }

  /// The bytes of a block; null for one of size 0 and when the file cannot be read.
  /// REQUIRES: holds(block), or its size is 0. Valid as long as this object lives.
  const std::uint8_t* bytes(Extent block) const {
    return block.size == 0
               ? nullptr
               : _file->bytes(_base + block.position, static_cast<std::size_t>(block.size));
  }

  /// As bytes(), for one of many items: a run through all of them does not keep them in memory.
  const std::uint8_t* itemBytes(Extent block) {
    _itemsHeld += block.size;
    if (_itemsHeld > mostItemsHeld) {
      _file->letGo();
      _itemsHeld = block.size;
    }
    return bytes(block);
  }

 private:
  static constexpr std::int64_t mostItemsHeld = 256 * 1024;

  std::unique_ptr<File> _file;
  std::int64_t _base;
  std::int32_t _limit;
  ByteOrder _order;
  /// Bytes of items that were asked for since the file let go of them.
  std::int64_t _itemsHeld = 0;
};

/// The byte order of a source. Without one, as for a datafile that has no file yet and for rows in
/// memory, it is that of little-endian files.
inline ByteOrder orderOf(const std::shared_ptr<Source>& source) {
  return source != nullptr ? source->order() : ByteOrder::Little;
}

/// The bytes of a block; null without a source, and as Source::bytes().
inline const std::uint8_t* bytesOf(const std::shared_ptr<Source>& source, Extent block) {
  return source != nullptr ? source->bytes(block) : nullptr;
}

}  // namespace Metakit
