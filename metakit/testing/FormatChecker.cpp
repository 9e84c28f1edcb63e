// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "metakit/testing/FormatChecker.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <set>

namespace Metakit {

namespace {

constexpr int mostNesting = 32;
constexpr std::size_t mostProperties = 16384;

/// Bytes that a packed column takes.
std::size_t packedBytes(std::size_t rows, int width) {
  // Of 1 to 4 rows.
  if (rows <= 4 && (width == 1 || width == 2 || width == 4)) {
    using Sizes = std::array<std::size_t, 4>;
    const Sizes sizes = width == 4   ? Sizes{6, 1, 2, 2}
                        : width == 2 ? Sizes{5, 5, 1, 1}
                                     : Sizes{3, 3, 4, 5};
    return sizes[rows - 1];
  }
  return (rows * static_cast<std::size_t>(width) + 7) / 8;
}

bool fits(std::int64_t value, int width) {
  return width < 8
             ? value >= 0 && value < std::int64_t{1} << width
             : value >= -(std::int64_t{1} << (width - 1)) && value < std::int64_t{1} << (width - 1);
}

}  // namespace

std::string FormatChecker::faultIn(const std::string& file) {
  FormatChecker checker(file);
  checker.file();
  return checker._fault;
}

bool FormatChecker::require(bool holds, const char* rule) {
  if (!holds && _fault.empty()) {
    _fault = rule;
  }
  return holds;
}

std::uint64_t FormatChecker::number(std::size_t at, std::size_t bytes, bool isBig) const {
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < bytes; ++i) {
    const auto byte = static_cast<unsigned char>(_file[at + (isBig ? i : bytes - 1 - i)]);
    value = value << 8 | byte;
  }
  return value;
}

void FormatChecker::file() {
  const std::size_t size = _file.size();
  if (!require(size > 24, "the file has a header and a tail")) {
    return;
  }
  _isBig = _file[0] == 'L';
  require(_file.compare(0, 4, _isBig ? "LJ\x1A" : "JL\x1A", 4) == 0, "the header is one");
  require(number(4, 4, true) == size, "the header tells the end");
  require(number(size - 16, 4, true) == 0x80000000, "there is a skip tail");
  require(number(size - 12, 4, true) == size - 16, "the skip tail leads to the header");
  require(number(size - 8, 1, true) == 0x80, "there is a commit tail");
  Block walk{number(size - 4, 4, true), number(size - 7, 3, true)};
  if (!require(walk.position >= 8 && walk.size > 0 && walk.end() <= size - 16,
               "the root walk stands in the file")) {
    return;
  }
  _blocks.push_back(walk);
  require(integer(walk) == 0, "the root walk begins with 0");
  const auto length = static_cast<std::size_t>(integer(walk));
  if (!require(length <= walk.size, "the description stands in the root walk")) {
    return;
  }
  const std::string description = _file.substr(walk.position, length);
  walk = {walk.position + length, walk.size - length};
  std::size_t at = 0;
  const Properties views = properties(description, at);
  require(at == description.size(), "the description is well-formed");
  require(integer(walk) == 1, "the root has one row");
  if (!_fault.empty()) {
    return;
  }
  columns(walk, views, 1);
  require(walk.size == 0, "the root walk is used up");
  overlaps();
}

void FormatChecker::overlaps() {
  std::sort(_blocks.begin(), _blocks.end(),
            [](const Block& a, const Block& b) { return a.position < b.position; });
  for (std::size_t i = 1; i < _blocks.size(); ++i) {
    require(_blocks[i - 1].end() <= _blocks[i].position, "no blocks overlap");
  }
}

FormatChecker::Properties FormatChecker::properties(const std::string& description, std::size_t& at,
                                                    int depth) {
  const auto take = [&](const std::string& text) {
    const bool stands = at <= description.size() && description.compare(at, text.size(), text) == 0;
    at += stands ? text.size() : 0;
    return stands;
  };
  Properties list;
  std::set<std::string> names;
  if (!require(depth <= mostNesting, "views nest 32 deep") || at == description.size() ||
      description[at] == ']') {
    return list;
  }
  do {
    Property one;
    const std::size_t end = std::min(description.find_first_of(":[,]", at), description.size());
    std::string name = description.substr(at, end - at);
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return c < 0x80 ? std::tolower(c) : c; });
    at = end;
    if (take("[^")) {
      one.type = 'V';
      one.isRecursive = true;
      require(take("]"), "brackets are closed");
    } else if (take("[")) {
      one.type = 'V';
      one.rows = properties(description, at, depth + 1);
      require(take("]"), "brackets are closed");
    } else if (take(":")) {
      one.type = at < description.size() ? description[at++] : '\0';
      require(std::string("ILFDBS").find(one.type) != std::string::npos, "types are known");
    }
    require(++_properties <= mostProperties, "there are at most 16384 properties");
    // Of two with one name the first counts.
    if (names.insert(name).second) {
      list.push_back(std::move(one));
    }
  } while (_fault.empty() && take(","));
  return list;
}

bool FormatChecker::count(std::size_t tables, std::size_t rows, const Properties& properties) {
  const std::size_t blocks = _file.size() - 16;
  _columns += tables * (properties.size() + 1);
  _cells += tables * rows * std::max<std::size_t>(properties.size(), 1);
  return require(_columns <= std::max<std::size_t>(131072, blocks / 8) &&
                     _cells <= std::max<std::size_t>(2097152, blocks * 2),
                 "tables are not larger than may be");
}

void FormatChecker::sequence(Block& walk, const Properties& properties, int depth) {
  require(integer(walk) == 0, "a sequence begins with 0");
  const auto rows = static_cast<std::size_t>(integer(walk));
  if (_fault.empty() && count(1, rows, properties) && rows > 0) {
    columns(walk, properties, rows, depth);
  }
}

void FormatChecker::columns(Block& walk, const Properties& properties, std::size_t rows,
                            int depth) {
  for (const Property& property : properties) {
    switch (property.type) {
      case 'I':
      case 'F':
        packed(walk, rows);
        break;
      case 'L':
      case 'D':
        require(entry(walk).size == rows * 8, "64 bits take 8 bytes each");
        break;
      case 'B':
      case 'S':
        items(walk, property.type == 'S', rows);
        break;
      case 'V': {
        Block nested = entry(walk);
        const Properties& below = property.isRecursive ? properties : property.rows;
        if (nested.size == 0) {
          count(rows, 0, below);
          break;
        }
        require(depth < mostNesting, "views nest 32 deep");
        for (std::size_t row = 0; row < rows && _fault.empty(); ++row) {
          sequence(nested, below, depth + 1);
        }
        require(nested.size == 0, "a view's block is used up");
        break;
      }
      default:
        require(false, "types are known");
    }
    if (!_fault.empty()) {
      return;
    }
  }
}

std::vector<std::int64_t> FormatChecker::packed(Block& walk, std::size_t rows) {
  const Block block = entry(walk);
  const std::array<int, 7> widths = {0, 1, 2, 4, 8, 16, 32};
  const auto* width = std::find_if(widths.begin(), widths.end(),
                                   [&](int one) { return packedBytes(rows, one) == block.size; });
  if (!require(width != widths.end(), "a packed column's size fits a width")) {
    return {};
  }
  std::vector<std::int64_t> values(rows);
  const auto bits = static_cast<std::size_t>(*width);
  bool fitsLess = bits > 0;
  for (std::size_t row = 0; row < rows && bits > 0; ++row) {
    const std::size_t bytes = std::max<std::size_t>(1, bits / 8);
    const std::uint64_t stored = number(block.position + row * bits / 8, bytes, _isBig);
    values[row] = static_cast<std::int64_t>(bits < 8 ? stored >> row * bits % 8 & ((1U << bits) - 1)
                                                     : stored);
    if (bits >= 8 && stored >> (bits - 1) != 0) {
      values[row] -= std::int64_t{1} << bits;
    }
    fitsLess = fitsLess && fits(values[row], *(width - 1));
  }
  require(!fitsLess, "the least width is taken");
  for (std::size_t byte = (rows * bits + 7) / 8; byte < block.size; ++byte) {
    require(_file[block.position + byte] == 0, "bytes behind the values are 0");
  }
  return values;
}

void FormatChecker::items(Block& walk, bool areStrings, std::size_t rows) {
  const Block data = entry(walk);
  std::vector<std::int64_t> sizes(rows);
  if (data.size > 0) {
    sizes = packed(walk, rows);
  }
  Block memos = entry(walk);
  Block rest = data;
  for (std::size_t row = 0; row < rows && _fault.empty(); ++row) {
    const auto size = static_cast<std::size_t>(sizes[row]);
    if (require(size <= rest.size, "items add up to their data")) {
      item("an inline string ends with NUL", {rest.position, size}, areStrings);
      rest = {rest.position + size, rest.size - size};
    }
  }
  require(rest.size == 0, "items add up to their data");
  for (std::size_t row = 0; memos.size > 0 && _fault.empty(); ++row) {
    row += static_cast<std::size_t>(integer(memos));
    if (require(row < rows, "a memo belongs to a row")) {
      require(sizes[row] == 0, "a memo has no inline item");
      item("a string apart ends with NUL", entry(memos), areStrings);
    }
  }
}

void FormatChecker::item(const char* what, Block bytes, bool isString) {
  require(!isString || bytes.size == 0 || _file[bytes.end() - 1] == '\0', what);
}

FormatChecker::Block FormatChecker::entry(Block& walk) {
  Block block;
  block.size = static_cast<std::size_t>(integer(walk));
  if (block.size == 0) {
    return block;
  }
  block.position = static_cast<std::size_t>(integer(walk));
  if (!require(block.position >= 8 && block.end() <= _file.size() - 16,
               "a block stands in the file")) {
    return {};
  }
  _blocks.push_back(block);
  _total += block.size;
  return require(_total <= _file.size(), "no blocks overlap") ? block : Block{};
}

/// 0 behind a fault. No walk of a sound file has a negative one.
std::int64_t FormatChecker::integer(Block& walk) {
  std::int64_t value = 0;
  for (bool first = true;; first = false) {
    if (!require(walk.size > 0, "a walk has all it needs") || !_fault.empty()) {
      return 0;
    }
    const auto byte = static_cast<unsigned char>(_file[walk.position]);
    walk = {walk.position + 1, walk.size - 1};
    value = value << 7 | (byte & 0x7F);
    if (!require(!first || byte != 0, "an integer has no leading zeros and is not negative") ||
        !require(value <= 0x7FFFFFFF, "an integer has 32 bits")) {
      return 0;
    }
    if ((byte & 0x80) != 0) {
      return value;
    }
  }
}

}  // namespace Metakit
