// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "fuzz/HostileFiles.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "fuzz/HostileHistory.h"
#include "fuzz/Seeds.h"
#include "tests/reliability/Mutator.h"

namespace Fuzz {

using Metakit::appendInteger;
using Metakit::Bytes;
using Metakit::Extent;

namespace {

// ---- Rows whose bodies are missing or short ----

HostileFamily emptyBodies() {
  HostileFamily family{"EmptyBodies", {}};
  for (const std::int32_t rows :
       {1, 7, 1000, 3628, 3629, 8224, 8225, 65536, 1048575, 1048576, 1048577, 16777216, maxInt}) {
    for (std::size_t table = 0; table < 3; ++table) {
      family.files.push_back(
          {"table-" + text(static_cast<int>(table)) + "-rows-" + text(rows), [=] {
             Builder builder;
             return database(builder, table, integers({rows, 0, 0, 0}));
           }});
    }
    family.files.push_back({"all-tables-rows-" + text(rows), [=] {
                              Builder builder;
                              const Bytes table = integers({rows, 0, 0, 0});
                              return database(builder, {table, table, table});
                            }});
  }
  for (const std::int32_t rows : {1000, 3628, 8224, 8225, 100000, 1000000}) {
    for (const std::size_t table : {0U, 2U}) {
      family.files.push_back(
          {"table-" + text(static_cast<int>(table)) + "-unique-keys-" + text(rows), [=] {
             Builder builder;
             const Extent keys = uniqueKeys(builder, rows);
             return database(builder, table, integers({rows}) + entry(keys) + integers({0, 0}));
           }});
    }
  }
  return family;
}

HostileFamily shortBodies() {
  HostileFamily family{"ShortBodies", {}};
  for (const std::int32_t rows : {8, 500, 3000, 9000, 100000, 700000}) {
    for (const std::int32_t size : {1, 2, 15, 127, 2039}) {
      for (std::size_t table = 0; table < 3; ++table) {
        if (std::int64_t{rows} * size <= 3 * mebi) {
          family.files.push_back(
              {"table-" + text(static_cast<int>(table)) + "-rows-" + text(rows) + "-of-" +
                   text(size) + "-bytes",
               [=] {
                 Builder builder;
                 const Extent data =
                     builder.add(Bytes(static_cast<std::size_t>(rows * size), 0xAB));
                 const Extent sizes = sameIntegers(builder, rows, size);
                 return database(builder, table,
                                 integers({rows, 0}) + entry(data) + entry(sizes) + integers({0}));
               }});
        }
      }
    }
  }
  // One body for all the file's bytes, and a million rows without any.
  for (const std::int32_t size : {1, mebi, 3 * mebi}) {
    family.files.push_back(
        {"one-body-of-" + text(size) + "-bytes-in-16-rows", [=] {
           Builder builder;
           const Extent data = builder.add(Bytes(static_cast<std::size_t>(size), 1));
           const Extent sizes = builder.add(times({0, 0, 0, 0}, 15) +
                                            Bytes{static_cast<std::uint8_t>(size),
                                                  static_cast<std::uint8_t>(size >> 8),
                                                  static_cast<std::uint8_t>(size >> 16), 0});
           return database(builder, 2,
                           integers({16, 0}) + entry(data) + entry(sizes) + integers({0}));
         }});
  }
  return family;
}

// ---- Numbers that are too large, too small or negative ----

/// What stands where an integer of a walk is expected.
const std::vector<std::int32_t>& integersOfNote() {
  static const std::vector<std::int32_t> all = {
      0,       1,       2,       3,          6,           7,          8,          15,      16,
      127,     128,     255,     256,        4096,        65535,      65536,      1048575, 1048576,
      1 << 21, 1 << 24, 1 << 28, 1 << 30,    maxInt - 16, maxInt - 8, maxInt - 1, maxInt,  -1,
      -2,      -8,      -4096,   -(1 << 24), -maxInt,     -maxInt - 1};
  return all;
}

/// The integers of a walk; `changed` replaces the one at `at`.
Bytes walkWith(std::vector<std::int32_t> walk, std::size_t at, std::int32_t changed) {
  walk[at] = changed;
  Bytes bytes;
  for (const std::int32_t integer : walk) {
    appendInteger(bytes, integer);
  }
  return bytes;
}

/// Every integer of a walk replaced by every one of note.
void addChanged(HostileFamily& family, const std::string& name, const std::string& description,
                const Bytes& blocks, const std::vector<std::int32_t>& walk) {
  for (std::size_t at = 0; at < walk.size(); ++at) {
    for (const std::int32_t changed : integersOfNote()) {
      family.files.push_back(
          {name + "-integer-" + text(static_cast<int>(at)) + "-is-" + text(changed), [=] {
             Builder builder;
             builder.add(blocks);
             return dense(
                 builder.finish(description, entry(builder.add(walkWith(walk, at, changed)))));
           }});
    }
  }
}

HostileFamily wrongIntegers() {
  HostileFamily family{"WrongIntegers", {}};
  // Three rows with inline bodies: keys at 8, bodies at 14, their sizes at 22.
  const Bytes inlineBodies = {3, 0, 1, 0, 0x2C, 1, 'a', 'b', 'c', 'h', 'e', 'l', 'l', 'o', 3, 5};
  addChanged(family, "inline", "ZoneHistory[Key:I,Record:B]", inlineBodies,
             {0, 3, 6, 8, 8, 14, 2, 22, 0});
  // Bodies as memos: their walk at 14 leads to 20 and 24.
  const Bytes memoBodies = Bytes{3, 0, 1, 0, 0x2C, 1} + integers({0, 4, 20, 1, 4, 24}) +
                           Bytes{'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h'};
  addChanged(family, "memos", "TormaQuilletHistory[Key:I,Record:B]", memoBodies,
             {0, 3, 6, 8, 0, 6, 14});
  addChanged(family, "nested", "t[v[a:I,w[b:S]],l:L,f:F]",
             integers({0, 2, 1, 16, 0, 0, 0}) + Bytes{0x21} + Bytes(16), {0, 1, 7, 8, 8, 16, 0});
  // The memo walk itself.
  const std::vector<std::int32_t> memoWalk = {0, 4, 8, 0, 4, 12, 2, 4, 16};
  for (std::size_t at = 0; at < memoWalk.size(); ++at) {
    for (const std::int32_t changed : integersOfNote()) {
      family.files.push_back(
          {"memo-walk-integer-" + text(static_cast<int>(at)) + "-is-" + text(changed), [=] {
             Builder builder;
             builder.add(Bytes(12, 'x'));
             const Extent memos = builder.add(walkWith(memoWalk, at, changed));
             return database(builder, 1, integers({8, 0, 0}) + entry(memos));
           }});
    }
  }
  return family;
}

// ---- Marks ----

void put(SparseFile& file, std::int64_t at, std::uint32_t bigEndian) {
  for (SparseFile::Part& part : file.parts) {
    for (std::int64_t i = 0; i < 4; ++i) {
      const std::int64_t offset = at + i - part.position;
      if (offset >= 0 && offset < static_cast<std::int64_t>(part.bytes.size())) {
        part.bytes[static_cast<std::size_t>(offset)] =
            static_cast<std::uint8_t>(bigEndian >> (24 - 8 * i));
      }
    }
  }
}

HostileFamily wrongMarks() {
  HostileFamily family{"WrongMarks", {}};
  const std::array<std::pair<const char*, std::int64_t>, 8> places = {
      {{"header", 0},
       {"header-end", 4},
       {"skip-tail", -16},
       {"skip-tail-distance", -12},
       {"commit-tail", -8},
       {"root-walk-position", -4},
       {"commit-tail-and-header-end", -8},
       {"skip-tail-and-header-end", -12}}};
  for (const auto& [name, place] : places) {
    for (const std::uint32_t value :
         {0x00000000U, 0x00000001U, 0x00000007U, 0x00000008U, 0x00000010U, 0x00000041U, 0x0000FFFFU,
          0x00FFFFFFU, 0x01000000U, 0x10000000U, 0x40000000U, 0x7FFFFFF0U, 0x7FFFFFFFU, 0x80000000U,
          0x80000001U, 0x80000008U, 0x80000010U, 0x80FFFFFFU, 0x90000000U, 0x9F000000U, 0xC0000000U,
          0xFFFFFFF8U, 0xFFFFFFFFU, 0x4A4C1A00U, 0x4A4C1A40U, 0x4A4C1A80U, 0x4C4A1A00U}) {
      const bool isBoth = std::string(name).find("and-header-end") != std::string::npos;
      family.files.push_back({std::string(name) + "-is-" + text(value), [=, at = place] {
                                SparseFile file = twoRows();
                                put(file, at < 0 ? file.length + at : at, value);
                                if (isBoth) {
                                  put(file, 4, value);
                                }
                                return file;
                              }});
    }
  }
  for (const std::int32_t size : {9, 17, 100, 1000, 65536, mebi}) {
    for (const std::uint8_t distance : {0, 1, 7, 8, 9, 255}) {
      family.files.push_back({"skip-tails-of-" + text(size) + "-bytes-back-" + text(distance), [=] {
                                const Bytes header = {'J', 'L', 0x1A, 0, 0, 0, 0, 0};
                                const Bytes skip = {0x80, 0, 0, 0, 0, 0, 0, distance};
                                const Bytes gap(distance == 1 ? 1 : 0);
                                return dense(header + times(skip + gap, size / 8) + skip);
                              }});
    }
  }
  return family;
}

// ---- Blocks that overlap or lead back ----

HostileFamily overlaps() {
  HostileFamily family{"Overlaps", {}};
  // Where each block of a database may lie; the others lie end to end.
  static constexpr std::int32_t size = 64;
  const std::array<const char*, 4> blocks = {"keys", "bodies", "sizes", "memos"};
  for (std::size_t block = 0; block < blocks.size(); ++block) {
    for (std::int32_t position = 0; position <= 340; position += 5) {
      family.files.push_back(
          {std::string(blocks[block]) + "-at-" + text(position), [=] {
             Builder builder;
             std::array<Extent, 4> extents = {builder.add(Bytes(size, 1)),
                                              builder.add(Bytes(size, 'b')),
                                              builder.add(times({4, 0, 0, 0}, size / 4)), Extent{}};
             extents[3] = builder.add(
                 integers({0, 8, builder.size() + 3, 3, 1, builder.size() + 11}) + Bytes(9, 'm'));
             extents[3].size = 6;
             extents[block].position = position;
             Bytes rows = integers({size / 4});
             for (const Extent& extent : extents) {
               rows = rows + entry(extent);
             }
             return database(builder, 2, rows);
           }});
    }
  }
  return family;
}

HostileFamily loops() {
  HostileFamily family{"Loops", {}};
  // A recursive view whose block lies in or around itself, its parent or the root walk.
  for (std::int32_t position = 0; position <= 60; ++position) {
    for (const std::int32_t size : {1, 3, 5, 9, 16, 40}) {
      family.files.push_back(
          {"recursive-block-of-" + text(size) + "-bytes-at-" + text(position), [=] {
             Builder builder;
             const Extent block = builder.add(integers({0, 1, size, position, 0, 0, 0, 0}));
             return dense(builder.finish("n[n[^]]", entry(block)));
           }});
    }
  }
  // Walks that hold each other: each entry leads to the next block, the last one to the first.
  for (std::int32_t length = 2; length <= 40; ++length) {
    family.files.push_back({"ring-of-" + text(length) + "-blocks", [=] {
                              Builder builder;
                              for (std::int32_t i = 0; i < length; ++i) {
                                const std::int32_t next = 8 + 5 * ((i + 1) % length);
                                Bytes block = integers({0, 1, 5, next});
                                block.resize(5, 0x80);
                                builder.add(block);
                              }
                              return dense(builder.finish("n[n[^]]", entry({8, 5})));
                            }});
  }
  return family;
}

// ---- Nesting ----

/// Tables in tables, `depth` deep, the innermost with `rows` rows.
SparseFile nested(const std::string& description, int depth, std::int32_t rows) {
  Builder builder;
  Extent block = builder.add(integers({0, rows, 0}));
  for (int i = 1; i < depth; ++i) {
    block = builder.add(integers({0, 1}) + entry(block));
  }
  return dense(builder.finish(description, entry(block)));
}

HostileFamily deepNesting() {
  HostileFamily family{"DeepNesting", {}};
  for (int depth = 1; depth <= 70; ++depth) {
    for (const std::int32_t rows : {0, 1, 1000, 1 << 20}) {
      family.files.push_back({"recursive-depth-" + text(depth) + "-rows-" + text(rows),
                              [=] { return nested("R[c[^]]", depth, rows); }});
    }
    family.files.push_back({"description-depth-" + text(depth), [=] {
                              return nested(repeated("a[", depth) + repeated("]", depth), depth, 1);
                            }});
  }
  for (const std::int32_t depth : {1000, 10000, 300000}) {
    family.files.push_back({"description-depth-" + text(depth), [=] {
                              return nested(repeated("a[", depth) + repeated("]", depth), 1, 1);
                            }});
    family.files.push_back({"description-depth-" + text(depth) + "-unclosed",
                            [=] { return nested(repeated("a[", depth), 1, 1); }});
    family.files.push_back(
        {"recursive-depth-" + text(depth), [=] { return nested("R[c[^]]", depth, 1); }});
  }
  return family;
}

// ---- Many rows, columns, views and memos ----

HostileFamily manyThings() {
  HostileFamily family{"ManyThings", {}};
  for (const std::int32_t count : {10, 1000, 16000, 20000, 100000}) {
    for (const std::int32_t rows : {0, 1, 100, 10000, 1 << 20, maxInt}) {
      const std::string name = text(count) + "-with-" + text(rows) + "-rows";
      family.files.push_back({"views-" + name, [=] {
                                Builder builder;
                                Bytes entries;
                                for (std::int32_t i = 0; i < count; ++i) {
                                  entries =
                                      std::move(entries) + entry(builder.add(emptyRows(rows, 1)));
                                }
                                return dense(builder.finish(manyFields(count, "[a:I]"), entries));
                              }});
      for (const char* type : {":I", ":B", "[a]"}) {
        family.files.push_back(
            {"columns-" + std::string(type) + "-" + name, [=] {
               return dense(
                   oneView("t[" + manyFields(count, type) + "]",
                           integers({rows}) + times(integers({0, 0}), rows > 0 ? count : 0)));
             }});
      }
      family.files.push_back(
          {"nested-" + name, [=] { return dense(sameNested("a:I", count, emptyRows(rows, 1))); }});
      family.files.push_back({"memos-" + name, [=] {
                                Builder builder;
                                const Extent memos = builder.add(times(integers({0, 0}), count));
                                return database(builder, 2, integers({rows, 0, 0}) + entry(memos));
                              }});
    }
  }
  for (const Seed& seed : hostileFiles()) {
    family.files.push_back({"seed-" + seed.name, [=] { return dense(seed.make()); }});
  }
  return family;
}

// ---- Damage at random ----

HostileFamily damaged(const std::vector<std::string>& samples) {
  HostileFamily family{"Damaged", {}};
  for (unsigned int seed = 1; seed <= 900; ++seed) {
    family.files.push_back({"seed-" + text(seed), [seed, &samples] {
                              Reliability::Mutator mutator(seed);
                              std::string file = samples[mutator.below(samples.size())];
                              mutator.mutate(file, samples[mutator.below(samples.size())]);
                              return dense({file.begin(), file.end()});
                            }});
  }
  return family;
}

}  // namespace

std::vector<HostileFamily> hostileFamilies(const std::vector<std::string>& samples) {
  return {emptyBodies(), shortBodies(), wrongIntegers(), wrongMarks(), overlaps(),      loops(),
          deepNesting(), manyThings(),  holes(),         large(),      damaged(samples)};
}

}  // namespace Fuzz
