// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "fuzz/Seeds.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <utility>

#include "fuzz/Builder.h"
#include "fuzz/Check.h"
#include "fuzz/Disk.h"
#include "fuzz/Targets.h"
#include "metakit/BytesColumn.h"
#include "metakit/Column.h"
#include "metakit/Datafile.h"
#include "metakit/IntColumn.h"
#include "metakit/Sequence.h"
#include "metakit/ViewColumn.h"
#include "metakit/WideColumn.h"

namespace Fuzz {

using Metakit::appendExtent;
using Metakit::Bytes;
using Metakit::BytesColumn;
using Metakit::Datafile;
using Metakit::Extent;
using Metakit::IntColumn;
using Metakit::Mark;
using Metakit::Sequence;
using Metakit::ViewColumn;
using Metakit::WideColumn;

namespace {

// ---- Sound files, which the engine writes ----

/// Gives every cell of a row a value of its own, nested tables `depth` deep.
void fill(Sequence& table, std::int32_t rows, int depth) {
  for (std::int32_t row = 0; row < rows; ++row) {
    table.append();
    const std::int32_t value = row * row * (row % 2 == 0 ? 7 : -1111);
    const auto& fields = table.structure().fields;
    for (std::size_t i = 0; i < fields.size(); ++i) {
      Metakit::Column& column = table.columnAt(static_cast<int>(i));
      switch (fields[i].type) {
        case 'I':
        case 'F':
          static_cast<IntColumn&>(column).set(row, value);
          break;
        case 'L':
        case 'D':
          static_cast<WideColumn&>(column).set(row, value * (std::int64_t{1} << 29));
          break;
        case 'V':
          if (depth > 0) {
            fill(*static_cast<ViewColumn&>(column).at(row), row % 4, depth - 1);
          }
          break;
        default: {
          // Every third one is long enough to stand apart.
          std::string text(static_cast<std::size_t>(row % 3 == 2 ? 100 + row : row), 'x');
          if (!text.empty()) {
            text.back() = '\0';
          }
          static_cast<BytesColumn&>(column).set(row, text.data(),
                                                static_cast<std::int32_t>(text.size()));
        }
      }
    }
  }
}

/// A file of one view of that many rows, committed in two steps.
Bytes soundFile(bool isBig, const char* description, std::int32_t rows, int depth) {
  static Disk disk;
  Bytes header(Metakit::markSize);
  Metakit::encodeMark(
      {Mark::Kind::Header, isBig ? Metakit::ByteOrder::Big : Metakit::ByteOrder::Little, 0, 0},
      header.data());
  disk.insert(header.data(), header.size());
  {
    Datafile file("", true);
    fill(*file.view(description), rows / 2, depth);
    check(file.commit() == 0, "a seed is written");
    Sequence& table = *file.view(description);
    Sequence more;
    fill(table, 0, 0);
    for (std::int32_t row = table.rows(); row < rows; ++row) {
      table.append();
      table.assign(row, table, row / 2);
    }
    check(file.commit() == 0, "a seed is written");
  }
  return {disk.bytes(), disk.bytes() + disk.size()};
}

// ---- Files made byte by byte ----

Bytes manyViewsOfManyRows(std::int32_t views, std::int32_t rows) {
  Builder builder;
  Bytes entries;
  for (std::int32_t i = 0; i < views; ++i) {
    appendExtent(entries, builder.add(emptyRows(rows, 1)));
  }
  return builder.finish(manyFields(views, "[a:I]"), entries);
}

/// A view of so many columns of 1 bit.
Bytes columnsOfOneBit(std::int32_t columns, std::int32_t rows) {
  Builder builder;
  Bytes table = integers({rows});
  for (std::int32_t i = 0; i < columns; ++i) {
    appendExtent(table, builder.add(Bytes(static_cast<std::size_t>(rows / 8), 0x55)));
  }
  return oneView(builder, "t[" + manyFields(columns, ":I") + "]", table);
}

Bytes itemsOfOneBit(std::int32_t rows) {
  Builder builder;
  // One item in 16 has a byte.
  const std::int32_t data = rows / 16;
  const Extent items = builder.add(Bytes(static_cast<std::size_t>(data), 'x'));
  const Extent sizes = builder.add(times({1, 0}, data));
  return oneView(builder, "t[b:B]", integers({rows}) + entry(items) + entry(sizes) + integers({0}));
}

Bytes memosOf(std::int32_t count, const std::function<Bytes(std::int32_t)>& memo,
              std::int32_t blocks) {
  Builder builder;
  builder.add(Bytes(static_cast<std::size_t>(blocks)));
  Bytes walk;
  for (std::int32_t i = 0; i < count; ++i) {
    const Bytes one = memo(i);
    walk.insert(walk.end(), one.begin(), one.end());
  }
  const Extent memos = builder.add(walk);
  return oneView(builder, "t[b:B]", integers({count, 0}) + entry(memos));
}

/// A recursive view, each table with as many rows as fit, `depth` deep.
Bytes recursive(int depth, std::int32_t rows) {
  Builder builder;
  // A walk of empty tables for the innermost rows, then of one table each.
  Extent block = builder.add(times(integers({0, 0}), rows));
  for (int i = 1; i < depth; ++i) {
    block = builder.add(integers({0, rows}) + entry(block) +
                        times(integers({0, 0}), i + 1 < depth ? rows - 1 : 0));
  }
  return builder.finish("n[n[^]]", entry(block));
}

Bytes skipTails(std::int32_t size) {
  Bytes file;
  const Bytes header = {'J', 'L', 0x1A, 0, 0, 0, 0, 0};
  const Bytes skip = {0x80, 0, 0, 0, 0, 0, 0, 1, 0};
  file = header;
  while (file.size() + 9 <= static_cast<std::size_t>(size)) {
    file.insert(file.end(), skip.begin(), skip.end());
  }
  file.pop_back();
  return file;
}

}  // namespace

std::vector<Seed> soundFiles() {
  static constexpr char allTypes[] = "t[i:I,l:L,f:F,d:D,b:B,s:S,v[a:I,b:B,w[c:S]]]";
  return {
      {"empty", [] { return Bytes{}; }},
      {"header-alone", [] { return Bytes{'J', 'L', 0x1A, 0, 0, 0, 0, 0}; }},
      {"records", [] { return soundFile(false, "T[Key:I,Record:B]", 9, 0); }},
      {"records-big-endian", [] { return soundFile(true, "T[Key:I,Record:B]", 9, 0); }},
      {"all-types", [] { return soundFile(false, allTypes, 12, 2); }},
      {"all-types-big-endian", [] { return soundFile(true, allTypes, 12, 2); }},
      {"strings", [] { return soundFile(false, "T[Name:S,Text:S]", 30, 0); }},
      {"nested", [] { return soundFile(false, "t[rows[a:I,b:S,c[d:D]],f:F]", 8, 3); }},
      {"recursive", [] { return soundFile(false, "nodes[id:I,nodes[^]]", 8, 6); }},
      {"without-properties", [] { return soundFile(false, "empty[]", 5, 0); }},
      {"memo-overrides-item",
       [] {
         Builder builder;
         const Extent items = builder.add({'a', 'a', 'b', 'b', 'c', 'c'});
         const Extent sizes = builder.add({0x22, 0x02});
         const Extent memo = builder.add({'M', 'M', 'M'});
         const Extent memos = builder.add(integers({1}) + entry(memo));
         return oneView(builder, "t[b:B]",
                        integers({3}) + entry(items) + entry(sizes) + entry(memos));
       }},
  };
}

std::vector<Seed> hostileFiles() {
  constexpr std::int32_t most = 8 * mebi;
  return {
      {"skip-tails", [] { return skipTails(mebi); }},
      {"many-views-of-many-rows", [] { return manyViewsOfManyRows(40000, most); }},
      {"a-few-views-of-many-rows", [] { return manyViewsOfManyRows(8, mebi); }},
      {"wide-table-of-many-rows",
       [] {
         return oneView("t[" + manyFields(150000, ":I") + "]",
                        integers({mebi}) + times(integers({0}), 150000));
       }},
      {"wide-table-of-one-row",
       [] {
         return oneView("t[" + manyFields(150000, "") + "]",
                        integers({1}) + times(integers({0, 0}), 150000));
       }},
      {"many-views",
       [] {
         Builder builder;
         return builder.finish(manyFields(130000, "[]"), times(integers({0}), 130000));
       }},
      {"rows-without-properties", [] { return oneView("t[]", integers({most})); }},
      {"rows-without-nested-tables",
       [] {
         return oneView("t[v[a:I,b:B,w[^]]]", integers({mebi, 0}));
       }},
      {"columns-without-nested-tables",
       [] {
         return oneView("t[" + manyFields(1000, "[a]") + "]",
                        integers({mebi}) + times(integers({0}), 1000));
       }},
      {"nested-tables-without-rows",
       [] {
         return sameNested("a:I", 500000, integers({0, 0}));
       }},
      {"wide-nested-tables-without-rows",
       [] {
         return sameNested(manyFields(1000, ""), 450000, integers({0, 0}));
       }},
      {"nested-tables-of-many-rows", [] { return sameNested("a:I", 150000, emptyRows(most, 1)); }},
      {"nested-tables-of-few-rows", [] { return sameNested("a:I", 300000, emptyRows(60, 1)); }},
      {"nested-rows-without-properties", [] { return sameNested("", 200000, emptyRows(most, 0)); }},
      {"nested-wide-rows",
       [] { return sameNested(manyFields(20, ":I"), 40000, emptyRows(1000, 20)); }},
      {"nested-rows-that-multiply",
       [] { return sameNested("a[b[c[d]]]", 200000, emptyRows(100, 1)); }},
      {"one-bit-rows", [] { return columnsOfOneBit(1, 8 * mebi - 8000); }},
      {"one-bit-rows-as-many-as-may-be", [] { return columnsOfOneBit(1, 2 * mebi - 8); }},
      {"one-bit-columns-as-many-as-may-be", [] { return columnsOfOneBit(16, mebi / 8 - 8); }},
      {"one-bit-items", [] { return itemsOfOneBit(5 * mebi); }},
      {"one-bit-items-as-many-as-may-be", [] { return itemsOfOneBit(2 * mebi - 16); }},
      {"empty-items-as-many-as-may-be",
       [] {
         return oneView("t[a:B,b:I]", integers({mebi - 8, 0, 0, 0}));
       }},
      {"views-of-many-rows-as-many-as-may-be", [] { return manyViewsOfManyRows(16000, 125); }},
      {"nested-tables-as-many-as-may-be",
       [] { return sameNested("a:I", 65000, emptyRows(31, 1)); }},
      {"wide-nested-tables-as-many-as-may-be",
       [] {
         return sameNested(manyFields(1000, ""), 130, integers({0, 0}));
       }},
      {"rows-without-nested-tables-as-many-as-may-be",
       [] {
         return oneView("t[v[a:I]]", integers({65000, 0}));
       }},
      {"columns-as-many-as-may-be",
       [] {
         return oneView("t[" + manyFields(16000, "") + "]",
                        integers({120}) + times(integers({0, 0}), 16000));
       }},
      {"empty-memos",
       [] {
         return memosOf(
             500000,
             [](std::int32_t) {
               return integers({0, 0});
             },
             0);
       }},
      {"memos-with-gaps",
       [] {
         return memosOf(
             100000,
             [](std::int32_t i) {
               return integers({0, 1, 8 + 2 * i});
             },
             200000);
       }},
      {"memos-that-overlap",
       [] {
         return memosOf(
             250000,
             [](std::int32_t) {
               return integers({0, 1, 9});
             },
             2);
       }},
      {"memo-that-is-its-walk",
       [] {
         return memosOf(
             100,
             [](std::int32_t) {
               return integers({0, 200, 8});
             },
             0);
       }},
      {"memo-past-all-rows",
       [] {
         return memosOf(
             2,
             [](std::int32_t) {
               return integers({0x7FFFFFFF, 1, 8});
             },
             1);
       }},
      {"recursive-as-deep-as-may-be", [] { return recursive(31, 1000); }},
      {"recursive-with-a-row-as-deep-as-may-be",
       [] {
         Builder builder;
         Extent block = builder.add(integers({0, 1, 0}));
         for (int depth = 1; depth < Metakit::maxNesting; ++depth) {
           block = builder.add(integers({0, 1}) + entry(block));
         }
         return builder.finish("R[c[^]]", entry(block));
       }},
      {"recursive-too-deep", [] { return recursive(60, 1); }},
      {"description-too-deep",
       [] {
         Builder builder;
         return builder.finish(repeated("a[", 300000) + repeated("]", 300000), integers({0}));
       }},
      {"description-of-commas",
       [] {
         Builder builder;
         return builder.finish(repeated(",", mebi - 100), integers({0, 0, 0}));
       }},
      {"long-name", [] { return oneView(repeated("n", mebi - 100) + "[a]", integers({0})); }},
      {"long-names",
       [] {
         return oneView("t[" + repeated("n", 300000) + "," + repeated("o", 300000) + "[^]]",
                        integers({0}));
       }},
  };
}

Bytes withChanges(const Bytes& file, const Bytes& changes) {
  return file + changes + Bytes{static_cast<std::uint8_t>(changes.size())};
}

std::vector<Seed> changed(const std::vector<Seed>& files, const std::vector<Way>& ways) {
  // Sets cells, appends, removes, takes over rows and tables, adds views; then how it commits.
  const Bytes changes = {0, 3,  1,  0, 0, 9, 7,    4, 1, 0, 5,  0,   0, 1, 200, 3,  1, 0, 6, 1,
                         2, 33, 17, 2, 2, 3, 1,    0, 3, 1, 1,  2,   1, 0, 2,   2,  0, 2, 5, 3,
                         1, 0,  3,  1, 0, 0, 1,    3, 3, 0, 4,  1,   0, 7, 5,   9,  9, 0, 3, 1,
                         0, 2,  1,  1, 7, 1, 0x87, 1, 2, 3, 15, 240, 0, 2, 12,  44, 1};
  std::vector<Seed> seeds;
  for (const Seed& file : files) {
    for (const Way way : ways) {
      const auto how = static_cast<std::uint8_t>(way);
      seeds.push_back({file.name + "-committed-" + std::to_string(how), [file, changes, how] {
                         Bytes all = changes;
                         for (std::uint8_t operation = 0; operation < 12; ++operation) {
                           all.insert(all.end(), {0, operation, how, 3, 1, 0, operation, 0, 0});
                         }
                         return withChanges(file.make(), all);
                       }});
    }
  }
  return seeds;
}

}  // namespace Fuzz
