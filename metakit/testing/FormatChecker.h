// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Metakit {

/// Holds the bytes of a whole file against docs/datafile.md for tests: every mark, walk and column,
/// that no two blocks overlap, and how much there may be. Takes any bytes. Shares no code with what
/// it checks.
class FormatChecker {
 public:
  /// What breaks the rules first; empty when nothing does.
  static std::string faultIn(const std::string& file);

 private:
  struct Property {
    char type = 'S';
    bool isRecursive = false;
    std::vector<Property> rows;
  };
  using Properties = std::vector<Property>;
  struct Block {
    std::uint64_t position = 0;
    std::uint64_t size = 0;
    std::uint64_t end() const { return position + size; }
  };

  explicit FormatChecker(const std::string& file) : _file(file) {}

  void file();
  void overlaps();
  Properties properties(const std::string& description, std::size_t& at, int depth = 0);
  void sequence(Block& walk, const Properties& properties, int depth);
  void columns(Block& walk, const Properties& properties, std::size_t rows, int depth = 0);
  /// Counts tables of that many rows each.
  bool count(std::size_t tables, std::size_t rows, const Properties& properties);
  std::vector<std::int64_t> packed(Block& walk, std::size_t rows);
  void items(Block& walk, bool areStrings, std::size_t rows);
  void item(const char* what, Block bytes, bool isString);

  /// The block of the entry that comes next in the walk.
  Block entry(Block& walk);
  std::int64_t integer(Block& walk);
  std::uint64_t number(std::size_t at, std::size_t bytes, bool isBig) const;
  /// Notes a fault unless `holds`; the first one counts.
  bool require(bool holds, const char* rule);

  const std::string& _file;
  bool _isBig = false;
  std::vector<Block> _blocks;
  /// Bytes of all blocks met.
  std::size_t _total = 0;
  std::size_t _properties = 0;
  std::size_t _cells = 0;
  std::size_t _columns = 0;
  std::string _fault;
};

}  // namespace Metakit
