// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "metakit/Codec.h"

#include <iterator>
#include <limits>

namespace Metakit {

namespace {

constexpr std::uint8_t headerThird = 0x1A;
/// Set in the flags of a header: files that continue others, and files of the format before this.
constexpr std::uint8_t unsupportedFlags = 0x40 | 0x80;

std::uint32_t getBig(const std::uint8_t* bytes, int count) {
  std::uint32_t value = 0;
  for (int i = 0; i < count; ++i) {
    value = value << 8 | bytes[i];
  }
  return value;
}

void putBig(std::uint8_t* bytes, int count, std::uint32_t value) {
  for (int i = count - 1; i >= 0; --i) {
    bytes[i] = static_cast<std::uint8_t>(value);
    value >>= 8;
  }
}

/// Widths of the columns whose length alone would not tell: by rows (1 to 7) and size (1 to 6).
constexpr std::int8_t shortWidths[longestShortColumn][6] = {{8, 16, 1, 32, 2, 4},    // 1 row
                                                            {4, 8, 1, 16, 2, -1},    // 2 rows
                                                            {2, 4, 8, 1, -1, 16},    // 3 rows
                                                            {2, 4, -1, 8, 1, -1},    // 4 rows
                                                            {1, 2, 4, -1, 8, -1},    // 5 rows
                                                            {1, 2, 4, -1, -1, 8},    // 6 rows
                                                            {1, 2, -1, 4, -1, -1}};  // 7 rows

}  // namespace

Mark decodeMark(const std::uint8_t* bytes) {
  Mark mark;
  const std::uint32_t value = getBig(bytes + 4, 4);
  if (value > static_cast<std::uint32_t>(std::numeric_limits<std::int32_t>::max())) {
    return mark;
  }
  mark.value = static_cast<std::int32_t>(value);
  const bool little = bytes[0] == 'J' && bytes[1] == 'L';
  const bool big = bytes[0] == 'L' && bytes[1] == 'J';
  if ((little || big) && bytes[2] == headerThird && (bytes[3] & unsupportedFlags) == 0) {
    mark.kind = Mark::Kind::Header;
    mark.order = big ? ByteOrder::Big : ByteOrder::Little;
    return mark;
  }
  mark.size = static_cast<std::int32_t>(getBig(bytes + 1, 3));
  if (mark.value == 0) {
    return mark;
  }
  if (mark.size == 0 && (bytes[0] == 0x80 || (bytes[0] & 0xF0) == 0x90)) {
    mark.kind = Mark::Kind::SkipTail;
  } else if (mark.size > 0 && bytes[0] == 0x80) {
    mark.kind = Mark::Kind::CommitTail;
  }
  return mark;
}

void encodeMark(const Mark& mark, std::uint8_t* bytes) {
  putBig(bytes + 4, 4, static_cast<std::uint32_t>(mark.value));
  if (mark.kind == Mark::Kind::Header) {
    const bool big = mark.order == ByteOrder::Big;
    bytes[0] = big ? 'L' : 'J';
    bytes[1] = big ? 'J' : 'L';
    bytes[2] = headerThird;
    bytes[3] = 0;
    return;
  }
  bytes[0] = 0x80;
  putBig(bytes + 1, 3, static_cast<std::uint32_t>(mark.size));
}

std::int32_t WalkReader::integer() {
  bool negative = false;
  if (!_failed && _at != _end && *_at == 0) {
    negative = true;
    ++_at;
  }
  std::uint32_t value = 0;
  for (bool first = true; !_failed; first = false) {
    if (_at == _end || (first && *_at == 0) || value > (0x7FFFFFFFU >> 7)) {
      _failed = true;
      break;
    }
    const std::uint8_t byte = *_at++;
    value = value << 7 | (byte & 0x7FU);
    if ((byte & 0x80) != 0) {
      const auto positive = static_cast<std::int32_t>(value);
      return negative ? ~positive : positive;
    }
  }
  return 0;
}

std::int32_t WalkReader::count() {
  const std::int32_t value = integer();
  if (value < 0) {
    _failed = true;
    return 0;
  }
  return value;
}

std::string_view WalkReader::text(std::int32_t size) {
  if (_failed || size > std::distance(_at, _end)) {
    _failed = true;
    return {};
  }
  const auto* start = reinterpret_cast<const char*>(_at);
  _at += size;
  return {start, static_cast<std::size_t>(size)};
}

void appendInteger(Bytes& walk, std::int32_t value) {
  if (value < 0) {
    walk.push_back(0);
    value = ~value;
  }
  int shift = 0;
  while (shift < 28 && (value >> shift) > 0x7F) {
    shift += 7;
  }
  for (; shift > 0; shift -= 7) {
    walk.push_back(static_cast<std::uint8_t>((value >> shift) & 0x7F));
  }
  walk.push_back(static_cast<std::uint8_t>(0x80 | (value & 0x7F)));
}

void appendExtent(Bytes& walk, Extent extent) {
  appendInteger(walk, extent.size);
  if (extent.size > 0) {
    appendInteger(walk, extent.position);
  }
}

int packedWidth(std::int32_t value) {
  if (value >= 0 && value <= 15) {
    return value > 3 ? 4 : value > 1 ? 2 : value;
  }
  if (value >= -0x80 && value <= 0x7F) {
    return 8;
  }
  return value >= -0x8000 && value <= 0x7FFF ? 16 : 32;
}

std::int64_t packedSize(std::int32_t rows, int width) {
  if (rows >= 1 && rows <= 4 && (width == 1 || width == 2 || width == 4)) {
    const auto& widths = shortWidths[rows - 1];
    for (int size = 1; size <= 6; ++size) {
      if (widths[size - 1] == width) {
        return size;
      }
    }
  }
  return (static_cast<std::int64_t>(rows) * width + 7) / 8;
}

int packedWidthOf(std::int32_t rows, std::int32_t size) {
  if (size == 0) {
    return 0;
  }
  if (rows <= longestShortColumn && size <= 6) {
    return shortWidths[rows - 1][size - 1];
  }
  const std::int64_t width = static_cast<std::int64_t>(size) * 8 / rows;
  return width <= 32 && (width & (width - 1)) == 0 ? static_cast<int>(width) : -1;
}

std::int32_t packedGetNarrow(const std::uint8_t* column, int width, std::int32_t index,
                             ByteOrder order) {
  const auto at = static_cast<std::ptrdiff_t>(index);
  switch (width) {
    case 0:
      return 0;
    case 8:
      return static_cast<std::int8_t>(column[at]);
    case 16:
      return loadInteger<std::int16_t>(column + at * 2, order);
    default: {
      const std::int64_t bit = static_cast<std::int64_t>(index) * width;
      return column[bit / 8] >> (bit % 8) & ((1 << width) - 1);
    }
  }
}

void packedPut(std::uint8_t* column, int width, std::int32_t index, std::int32_t value,
               ByteOrder order) {
  switch (width) {
    case 0:
      return;
    case 8:
      column[index] = static_cast<std::uint8_t>(value);
      return;
    case 16:
      storeInteger(column + static_cast<std::ptrdiff_t>(index) * 2, order,
                   static_cast<std::uint16_t>(value));
      return;
    case 32:
      storeInteger(column + static_cast<std::ptrdiff_t>(index) * 4, order,
                   static_cast<std::uint32_t>(value));
      return;
    default: {
      const std::int64_t bit = static_cast<std::int64_t>(index) * width;
      const int shift = static_cast<int>(bit % 8);
      const int mask = ((1 << width) - 1) << shift;
      std::uint8_t& byte = column[bit / 8];
      byte = static_cast<std::uint8_t>((byte & ~mask) | (value << shift & mask));
      return;
    }
  }
}

}  // namespace Metakit
