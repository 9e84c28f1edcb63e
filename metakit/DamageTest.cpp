// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "metakit/Codec.h"
#include "metakit/mk4.h"
#include "metakit/testing/FormatChecker.h"
#include "metakit/testing/MemoryDisk.h"
#include "tests/support/Golden.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using Metakit::appendInteger;
using Metakit::Bytes;
using Metakit::FormatChecker;
using Metakit::Mark;
using Metakit::MemoryDisk;
using MetakitTesting::path;

/// Reads every cell of the views that the project knows.
int readAll(c4_Storage& storage) {
  int sum = 0;
  const c4_IntProp key("Key");
  const c4_BytesProp record("Record");
  for (const char* name : {"T", "TormaQuilletHistory", "nativeZoneHistory", "ZoneHistory"}) {
    const c4_View view = storage.GetAs((std::string(name) + "[Key:I,Record:B]").c_str());
    for (int i = 0; i < std::min(view.GetSize(), 10000); ++i) {
      const c4_Bytes bytes = record(view[i]);
      sum += key(view[i]);
      for (int at = 0; at < bytes.Size(); ++at) {
        sum ^= bytes.Contents()[at];
      }
    }
  }
  return sum;
}

class DamageTest : public ::testing::Test {
 protected:
  /// Whether the file counts as damaged: then it acts as an empty one and is never written.
  bool isDamaged() {
    const std::string before = disk[path];
    c4_Storage storage(path, 1);
    if (storage.Strategy().IsValid()) {
      readAll(storage);
      return false;
    }
    EXPECT_STREQ(storage.Description(), "");
    c4_View view = storage.GetAs("T[Key:I,Record:B]");
    EXPECT_EQ(view.GetSize(), 0);
    view.Add(c4_Row());
    EXPECT_FALSE(storage.Commit());
    EXPECT_TRUE(disk.operations.empty());
    EXPECT_EQ(disk[path], before);
    return true;
  }

  /// A file of the given description whose root walk goes on with the given integers, behind 64
  /// bytes of blocks from position 8 on.
  void make(const std::string& description, const std::vector<std::int32_t>& entries,
            const Bytes& blocks = {}) {
    Bytes file(8);
    Metakit::encodeMark({Mark::Kind::Header, {}, 0, 0}, file.data());
    file.insert(file.end(), blocks.begin(), blocks.end());
    file.resize(72);
    Bytes walk = {0x80};
    appendInteger(walk, static_cast<std::int32_t>(description.size()));
    walk.insert(walk.end(), description.begin(), description.end());
    for (const std::int32_t entry : entries) {
      appendInteger(walk, entry);
    }
    const auto position = static_cast<std::int32_t>(file.size());
    file.insert(file.end(), walk.begin(), walk.end());
    const auto limit = static_cast<std::int32_t>(file.size());
    file.resize(file.size() + 16);
    Metakit::encodeMark({Mark::Kind::SkipTail, {}, 0, limit}, file.data() + limit);
    Metakit::encodeMark(
        {Mark::Kind::CommitTail, {}, static_cast<std::int32_t>(walk.size()), position},
        file.data() + limit + 8);
    Metakit::encodeMark({Mark::Kind::Header, {}, 0, limit + 16}, file.data());
    disk[path].assign(file.begin(), file.end());
  }

  /// The same for a view "T[Key:I,Record:B]" of the given walk.
  void makeTable(const std::vector<std::int32_t>& integers, const Bytes& blocks = {}) {
    Bytes table;
    for (const std::int32_t integer : integers) {
      appendInteger(table, integer);
    }
    const auto size = static_cast<std::int32_t>(table.size());
    table.insert(table.end(), blocks.begin(), blocks.end());
    make("T[Key:I,Record:B]", {1, size, 8}, table);
  }

  MemoryDisk disk;
};

TEST_F(DamageTest, FindsNoDatafileInOtherFiles) {
  for (const std::string& bytes : {std::string("x"), std::string("JL\x1A"), std::string(8, '\0'),
                                   std::string(1000, 'x'), std::string(100000, '\x80')}) {
    disk[path] = bytes;
    EXPECT_TRUE(isDamaged());
  }
}

TEST_F(DamageTest, TakesAFileWithoutACommitForEmpty) {
  disk[path] = "";
  EXPECT_FALSE(isDamaged());
  disk[path] = std::string("JL\x1A\0\0\0\0\0", 8) + "torn";
  c4_Storage storage(path, 1);
  EXPECT_TRUE(storage.Strategy().IsValid());
  c4_View view = storage.GetAs("T[Key:I,Record:B]");
  view.Add(c4_Row());
  EXPECT_TRUE(storage.Commit());
  EXPECT_EQ(c4_Storage(path, 0).GetAs("T[Key:I,Record:B]").GetSize(), 1);
}

TEST_F(DamageTest, HoldsMarksAgainstTheFile) {
  make("T[Key:I]", {1, 2, 8}, {0x80, 0x80});
  const std::string good = disk[path];
  ASSERT_FALSE(isDamaged());
  const std::size_t end = good.size();
  const auto damagedBy = [&](std::size_t at, char byte) {
    disk[path] = good;
    disk[path][at] = byte;
    return isDamaged();
  };
  EXPECT_TRUE(damagedBy(end - 1, '\x7F')) << "position of the root walk";
  EXPECT_TRUE(damagedBy(end - 1, '\x49')) << "one byte off";
  EXPECT_TRUE(damagedBy(end - 5, '\x7F')) << "size of the root walk";
  EXPECT_TRUE(damagedBy(end - 9, '\x7F')) << "distance to the header";
  EXPECT_TRUE(damagedBy(end - 16, '\x00')) << "no skip tail";
  EXPECT_TRUE(damagedBy(0, 'X')) << "no header";
  EXPECT_TRUE(damagedBy(3, '\x40')) << "flags";
  EXPECT_TRUE(damagedBy(end - 8, '\x00')) << "no commit tail, at the end or where the header tells";
}

TEST_F(DamageTest, HoldsTheRootWalkAgainstTheRules) {
  const std::string table = "T[Key:I]";
  const Bytes empty = {0x80, 0x80};
  struct Case {
    const char* what;
    bool damaged;
    std::string description;
    std::vector<std::int32_t> entries;
  };
  const std::vector<Case> cases = {
      {"as it must be", false, table, {1, 2, 8}},
      {"no row", true, table, {0}},
      {"two rows", true, table, {2, 2, 8}},
      {"rows past all bounds", true, "T[]", {2147483647, 0}},
      {"an entry missing", true, table, {1}},
      {"position missing", true, table, {1, 2}},
      {"an integer too many", true, table, {1, 2, 8, 0}},
      {"a block in the header", true, table, {1, 2, 7}},
      {"a block in the tail", true, table, {1, 20, 75}},
      {"a block outside", true, table, {1, 2, 100000}},
      {"a position past 31 bits", true, table, {1, 2, 2147483647}},
      {"a negative size", true, table, {1, -2, 8}},
      {"a block cut short", true, table, {1, 1, 8}},
      {"a block too long", true, table, {1, 3, 8}},
      {"a malformed description", true, "T[Key:X]", {1, 2, 8}},
      {"a block shared by two views", true, table + ",U[Key:I]", {1, 2, 8, 2, 8}},
      {"a view without a block", false, table, {1, 0}},
  };
  for (const Case& one : cases) {
    make(one.description, one.entries, empty);
    EXPECT_EQ(isDamaged(), one.damaged) << one.what;
  }
}

TEST_F(DamageTest, HoldsColumnsAgainstTheRules) {
  struct Case {
    const char* what;
    bool damaged;
    /// Reserved 0, rows, Key: size, position; Record: data, sizes, memos.
    std::vector<std::int32_t> table;
    /// Bytes from the end of the table's own block on, which is at 8.
    Bytes blocks;
  };
  const std::vector<Case> cases = {
      {"no rows", false, {0, 0}, {}},
      {"zeros alone", false, {0, 3, 0, 0, 0}, {}},
      {"as they must be",
       false,
       {0, 2, 2, 20, 3, 24, 1, 28, 0},
       {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x21}},
      {"a reserved number", true, {1, 0}, {}},
      {"a negative row count", true, {0, -2}, {}},
      {"a size that fits no width", true, {0, 2, 6, 20, 0, 0}, {}},
      {"a column outside", true, {0, 2, 2, 2000, 0, 0}, {}},
      {"sizes that add up to less", true, {0, 2, 0, 3, 24, 1, 28, 0}, Bytes(20, 0x11)},
      {"sizes that add up to more", true, {0, 2, 0, 3, 24, 1, 28, 0}, Bytes(20, 0x22)},
      {"data without sizes", true, {0, 2, 0, 3, 24, 0, 0}, {}},
      {"a negative item size",
       true,
       {0, 2, 0, 3, 24, 2, 28, 0},
       {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 4}},
      {"overlapping columns", true, {0, 2, 2, 20, 3, 21, 1, 28, 0}, Bytes(20, 0x21)},
      {"a block used twice", true, {0, 2, 2, 20, 2, 20, 1, 28, 0}, Bytes(20, 0x11)},
      {"a number too many", true, {0, 2, 0, 0, 0, 0}, {}},
      {"a number missing", true, {0, 2, 0, 0}, {}},
  };
  for (const Case& one : cases) {
    makeTable(one.table, one.blocks);
    EXPECT_EQ(isDamaged(), one.damaged) << one.what;
  }
}

TEST_F(DamageTest, HoldsRowsThatTakeNoBytesAgainstALimit) {
  constexpr std::int32_t most = 1 << 20;
  for (const std::int32_t rows : {most, most + 1, 2147483647}) {
    makeTable({0, rows, 0, 0, 0});
    EXPECT_EQ(isDamaged(), rows > most) << rows;
  }
  makeTable({0, most, 0, 0, 0});
  c4_Storage storage(path, 1);
  c4_View view = storage.GetAs("T[Key:I,Record:B]");
  view.Add(c4_Row());
  EXPECT_FALSE(storage.Commit()) << "what could not be read again";
  EXPECT_EQ(storage.Strategy()._failure, EFBIG);
  view.RemoveAt(0);
  EXPECT_TRUE(storage.Commit());
  EXPECT_FALSE(isDamaged());
}

TEST_F(DamageTest, HoldsNestedTablesThatTakeNoBytesAgainstALimit) {
  // 2^17 tables and columns: the table of the view and its column, and so for each of its rows.
  constexpr std::int32_t most = (1 << 16) - 1;
  for (const std::int32_t rows : {most, most + 1}) {
    Bytes table = {0x80};
    appendInteger(table, rows);
    appendInteger(table, 0);
    make("T[rows[Key:I]]", {1, static_cast<std::int32_t>(table.size()), 8}, table);
    EXPECT_EQ(isDamaged(), rows > most) << rows;
    EXPECT_EQ(FormatChecker::faultIn(disk[path]),
              rows > most ? "tables are not larger than may be" : "");
  }
}

TEST_F(DamageTest, AMemoOverridesAnInlineItem) {
  const c4_IntProp key("Key");
  const c4_BytesProp record("Record");
  // Of three inline items of 2 bytes the second has a memo of 5, too.
  makeTable({0, 3, 0, 6, 26, 1, 32, 3, 22},
            {0, 0, 0, 0, 0, 0x81, 0x85, 0xA8, 0, 'a', 'a', 'b', 'b', 'c', 'c', 42});
  c4_Storage storage(path, 1);
  c4_View view = storage.GetAs("T[Key:I,Record:B]");
  const auto sizes = [&](const c4_View& of) {
    std::string text;
    for (int i = 0; i < of.GetSize(); ++i) {
      text += std::to_string(c4_Bytes(record(of[i])).Size()) + ' ';
    }
    return text;
  };
  ASSERT_EQ(sizes(view), "2 5 2 ");
  c4_Row row;
  record(row) = c4_Bytes(std::string(200, 'x').data(), 200, true);
  view.Add(row);
  ASSERT_TRUE(storage.Commit());
  EXPECT_EQ(sizes(view), "2 5 2 200 ");
  EXPECT_EQ(FormatChecker::faultIn(disk[path]), "");
  EXPECT_EQ(sizes(c4_Storage(path, 0).GetAs("T[Key:I,Record:B]")), "2 5 2 200 ");
}

TEST_F(DamageTest, AColumnLongerThanItsValuesIsWrittenAnewWhenItGrows) {
  // 20 keys of a bit each, in 4 bytes where 3 would do.
  makeTable({0, 20, 4, 14, 0, 0}, {0xFF, 0xFF, 0x0F, 0x00});
  {
    c4_Storage storage(path, 1);
    c4_View view = storage.GetAs("T[Key:I,Record:B]");
    ASSERT_EQ(view.GetSize(), 20);
    c4_Row row;
    c4_IntProp("Key")(row) = 1;
    view.Add(row);
    ASSERT_TRUE(storage.Commit());
  }
  EXPECT_EQ(FormatChecker::faultIn(disk[path]), "");
  c4_Storage storage(path, 0);
  c4_View view = storage.GetAs("T[Key:I,Record:B]");
  ASSERT_EQ(view.GetSize(), 21);
  for (int row = 0; row < 21; ++row) {
    EXPECT_EQ(c4_IntProp("Key")(view[row]), 1) << "row " << row;
  }
}

TEST_F(DamageTest, HoldsMemosAgainstTheRules) {
  struct Case {
    const char* what;
    bool damaged;
    /// Skip, size, position; repeated. The memo walk is at 20.
    std::vector<std::int32_t> memos;
  };
  const std::vector<Case> cases = {
      {"one for the last row", false, {2, 5, 40}},
      {"one for each row", false, {0, 5, 40, 0, 1, 45, 0, 2, 46}},
      {"an empty one", false, {1, 0}},
      {"past the last row", true, {3, 5, 40}},
      {"more than rows", true, {0, 1, 40, 0, 1, 41, 0, 1, 42, 0, 1, 43}},
      {"a negative skip", true, {-1, 5, 40}},
      {"a skip past 31 bits in all", true, {2147483647, 1, 40, 2147483647, 1, 41}},
      {"outside", true, {0, 5, 4000}},
      {"overlapping", true, {0, 5, 40, 0, 5, 44}},
      {"cut short", true, {0, 5}},
  };
  for (const Case& one : cases) {
    Bytes walk;
    for (const std::int32_t integer : one.memos) {
      appendInteger(walk, integer);
    }
    Bytes blocks(6);
    blocks.insert(blocks.end(), walk.begin(), walk.end());
    makeTable({0, 3, 0, 0, static_cast<std::int32_t>(walk.size()), 20}, blocks);
    EXPECT_EQ(isDamaged(), one.damaged) << one.what;
  }
}

TEST_F(DamageTest, ABlockCannotHoldItself) {
  // A block that holds itself.
  make("t[nodes[^]]", {1, 4, 8}, {0x80, 0x81, 0x84, 0x88});
  EXPECT_TRUE(isDamaged());
}

TEST_F(DamageTest, EveryByteOfAFileMayBeWrong) {
  const std::string good = TestSupport::readFile(TestSupport::goldenFile("other-views.mk").path);
  // The walks, marks and small columns stand at the end and the start.
  const auto isBody = [&good](std::size_t at) { return at > 300 && at + 600 < good.size(); };
  for (std::size_t at = 0; at < good.size(); ++at) {
    if (isBody(at) && at % 97 != 0) {
      continue;
    }
    for (const int flip : {0x01, 0x80, 0xFF, 0x10}) {
      disk[path] = good;
      disk[path][at] = static_cast<char>(disk[path][at] ^ flip);
      isDamaged();
    }
  }
}

TEST_F(DamageTest, AFileMayEndAnywhere) {
  const std::string good = TestSupport::readFile(TestSupport::goldenFile("system-only.mk").path);
  for (std::size_t length = 0; length < good.size(); ++length) {
    disk[path] = good.substr(0, length);
    const bool damaged = isDamaged();
    EXPECT_EQ(damaged, length > 0) << length;
  }
}

}  // namespace
