// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "fuzz/HostileHistory.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace Fuzz {

using Metakit::appendInteger;
using Metakit::Bytes;
using Metakit::Extent;

std::string text(std::int64_t number) {
  return std::to_string(number);
}

SparseFile database(Builder& builder, const std::array<Bytes, 3>& tables) {
  std::string description;
  Bytes entries;
  for (std::size_t i = 0; i < tables.size(); ++i) {
    if (!tables[i].empty()) {
      description +=
          (description.empty() ? "" : ",") + std::string(historyNames[i]) + "[Key:I,Record:B]";
      entries = entries + entry(builder.add(integers({0}) + tables[i]));
    }
  }
  return builder.finishSparse(description, entries);
}

SparseFile database(Builder& builder, std::size_t table, const Bytes& rows) {
  std::array<Bytes, 3> tables;
  tables[table] = rows;
  return database(builder, tables);
}

Extent uniqueKeys(Builder& builder, std::int32_t rows) {
  Bytes keys(static_cast<std::size_t>(rows) * 4);
  for (std::int32_t row = 0; row < rows; ++row) {
    Metakit::storeInteger<std::int32_t>(keys.data() + std::ptrdiff_t{row} * 4,
                                        Metakit::ByteOrder::Little, row + 1);
  }
  return builder.add(keys);
}

Extent sameIntegers(Builder& builder, std::int32_t rows, std::int32_t value) {
  Bytes one(4);
  Metakit::storeInteger<std::int32_t>(one.data(), Metakit::ByteOrder::Little, value);
  return builder.add(times(one, rows));
}

SparseFile twoRows() {
  Builder builder;
  const Extent data = builder.add(Bytes(8, 'x'));
  const Extent sizes = builder.add({0x44});
  return database(builder, 2, integers({2, 0}) + entry(data) + entry(sizes) + integers({0}));
}

// ---- Holes ----

HostileFamily holes() {
  HostileFamily family{"Holes", {}};
  for (const std::int32_t size : {4096, mebi, 20 * mebi, 200 * mebi, 1000 * mebi, 2000 * mebi}) {
    const std::string of = "-of-" + text(size) + "-bytes";
    for (const std::int32_t width : {1, 2, 4, 8, 16, 32}) {
      // As many as the length of the file allows.
      const auto rows = static_cast<std::int32_t>(
          std::min<std::int64_t>(std::int64_t{size} * 8 / width, size) / 64 * 64);
      const std::int32_t used = rows / 8 * width;
      const std::string name = of + "-" + text(width) + "-bits";
      for (const std::size_t table : {0U, 2U}) {
        family.files.push_back(
            {"keys" + name + "-table-" + text(static_cast<int>(table)), [=] {
               Builder builder;
               const Extent keys = builder.addHole(used);
               builder.addHole(size - used);
               return database(builder, table, integers({rows}) + entry(keys) + integers({0, 0}));
             }});
      }
      family.files.push_back({"sizes" + name, [=] {
                                Builder builder;
                                const Extent data = builder.add({'x'});
                                Extent sizes = builder.addHole(used - 8);
                                builder.add({1, 0, 0, 0, 0, 0, 0, 0});
                                sizes.size += 8;
                                builder.addHole(size - used);
                                return database(builder, 1,
                                                integers({rows, 0}) + entry(data) + entry(sizes) +
                                                    integers({0}));
                              }});
    }
    for (const std::size_t table : {0U, 1U}) {
      const std::int32_t rows = size / recordSizes[table];
      family.files.push_back(
          {"bodies" + of + "-table-" + text(static_cast<int>(table)), [=] {
             Builder builder;
             const Extent data = builder.addHole(rows * recordSizes[table]);
             const Extent sizes = sameIntegers(builder, rows, recordSizes[table]);
             return database(builder, table,
                             integers({rows, 0}) + entry(data) + entry(sizes) + integers({0}));
           }});
    }
    family.files.push_back({"one-body" + of, [=] {
                              Builder builder;
                              const Extent memo = builder.addHole(size);
                              const Extent memos = builder.add(integers({0}) + entry(memo));
                              return database(builder, 2, integers({1, 0, 0}) + entry(memos));
                            }});
    family.files.push_back({"empty-rows-after-a-hole" + of, [=] {
                              Builder builder;
                              builder.addHole(size);
                              return database(builder, 2, integers({size / 2, 0, 0, 0}));
                            }});
    family.files.push_back(
        {"wide-column" + of, [=] {
           Builder builder;
           const Extent block = builder.addHole(size);
           const Extent table = builder.add(integers({0, size / 8}) + entry(block));
           return builder.finishSparse("t[l:L]", entry(table));
         }});
    family.files.push_back({"nothing" + of, [=] { return SparseFile{{}, size}; }});
    family.files.push_back({"header-then-nothing" + of, [=] {
                              return SparseFile{{{0, {'J', 'L', 0x1A, 0, 0, 0, 0, 8}}}, size};
                            }});
    family.files.push_back({"database-then-nothing" + of, [=] {
                              SparseFile file = twoRows();
                              file.length += size;
                              return file;
                            }});
  }
  for (const std::int64_t length : {std::int64_t{maxInt}, std::int64_t{maxInt} + 1,
                                    std::int64_t{1} << 32, std::int64_t{1} << 40}) {
    family.files.push_back({"database-then-nothing-up-to-" + text(length), [=] {
                              SparseFile file = twoRows();
                              file.length = length;
                              return file;
                            }});
  }
  return family;
}

// ---- Large files without holes ----

HostileFamily large() {
  HostileFamily family{"Large", {}};
  constexpr std::int32_t size = 12 * mebi;
  const auto filler = [] { return Bytes(static_cast<std::size_t>(size), 0xAA); };
  // Rows that the length of the file allows, with nothing in them.
  for (const std::int32_t rows : {10000, 100000, size - 1000}) {
    family.files.push_back({"empty-rows-" + text(rows), [=] {
                              Builder builder;
                              builder.add(filler());
                              return database(builder, 2, integers({rows, 0, 0, 0}));
                            }});
  }
  for (const std::int32_t width : {1, 8, 32}) {
    family.files.push_back(
        {"keys-of-" + text(width) + "-bits", [=] {
           Builder builder;
           const Extent keys = builder.add(filler());
           const std::int32_t rows = std::min(size / width * 8, size - 1000);
           const Extent used{keys.position,
                             static_cast<std::int32_t>(std::int64_t{rows} * width / 8)};
           return database(builder, 2, integers({rows}) + entry(used) + integers({0, 0}));
         }});
  }
  family.files.push_back({"full-bodies", [=] {
                            Builder builder;
                            const std::int32_t rows = size / 2040;
                            const Extent keys = uniqueKeys(builder, rows);
                            const Extent data =
                                builder.add(Bytes(static_cast<std::size_t>(rows * 2040), 0x3F));
                            const Extent sizes = sameIntegers(builder, rows, 2040);
                            return database(builder, 2,
                                            integers({rows}) + entry(keys) + entry(data) +
                                                entry(sizes) + integers({0}));
                          }});
  const std::int32_t memoCount = 3 * mebi;
  family.files.push_back({"empty-memos", [=] {
                            Builder builder;
                            const Extent memos = builder.add(times(integers({0, 0}), 8 * mebi));
                            return database(builder, 2, integers({8 * mebi, 0, 0}) + entry(memos));
                          }});
  for (const std::int32_t gap : {1, 2}) {
    family.files.push_back(
        {"memos-" + text(gap) + "-apart", [=] {
           Builder builder;
           builder.add(Bytes(static_cast<std::size_t>(memoCount * gap), 'x'));
           Bytes walk;
           for (std::int32_t i = 0; i < memoCount; ++i) {
             appendInteger(walk, 0);
             appendInteger(walk, 1);
             appendInteger(walk, 8 + gap * i);
           }
           const Extent memos = builder.add(walk);
           return database(builder, 2, integers({memoCount, 0, 0}) + entry(memos));
         }});
  }
  family.files.push_back({"nested-tables", [=] {
                            return dense(sameNested("a:I", 10 * mebi, integers({0, 0})));
                          }});
  family.files.push_back({"skip-tails", [=] {
                            Bytes file = {'J', 'L', 0x1A, 0, 0, 0, 0, 0};
                            return dense(file + times({0x80, 0, 0, 0, 0, 0, 0, 1, 0}, size / 9) +
                                         Bytes{0x80, 0, 0, 0, 0, 0, 0, 1});
                          }});
  return family;
}

}  // namespace Fuzz
