// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "metakit/Codec.h"
#include "metakit/mk4.h"
#include "metakit/testing/MemoryDisk.h"
#include "tests/support/Golden.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using Metakit::MemoryDisk;
using MetakitTesting::path;
using MetakitTesting::tableDescription;
using Kind = MemoryDisk::Operation::Kind;

/// Keys of table T in a file, as a text; "invalid" for a file that is not sound.
std::string keysIn(const char* file) {
  const c4_IntProp key("Key");
  const c4_BytesProp record("Record");
  c4_Storage storage(file, 0);
  if (!storage.Strategy().IsValid()) {
    return "invalid";
  }
  std::string keys;
  const c4_View view = storage.GetAs(tableDescription);
  for (int i = 0; i < view.GetSize(); ++i) {
    const int value = key(view[i]);
    const c4_Bytes body = record(view[i]);
    const std::string expected(static_cast<std::size_t>(value), static_cast<char>(value));
    const std::string bytes(reinterpret_cast<const char*>(body.Contents()),
                            static_cast<std::size_t>(body.Size()));
    keys += std::to_string(value) + (bytes == expected ? " " : "! ");
  }
  return keys;
}

/// How the bytes of a mark read, such as "header 71" or "skip 55".
std::string markText(const std::string& bytes) {
  const Metakit::Mark mark =
      Metakit::decodeMark(reinterpret_cast<const std::uint8_t*>(bytes.data()));
  switch (mark.kind) {
    case Metakit::Mark::Kind::Header:
      return "header " + std::to_string(mark.value);
    case Metakit::Mark::Kind::SkipTail:
      return "skip " + std::to_string(mark.value);
    case Metakit::Mark::Kind::CommitTail:
      return "commit";
    default:
      return "block";
  }
}

class CommitTest : public ::testing::Test {
 protected:
  /// A body of `key` bytes, all of them the key.
  static void add(c4_View view, int key) {
    const c4_IntProp keyColumn("Key");
    const c4_BytesProp record("Record");
    const std::string body(static_cast<std::size_t>(key), static_cast<char>(key));
    c4_Row row;
    keyColumn(row) = key;
    record(row) = c4_Bytes(body.data(), static_cast<int>(body.size()));
    view.Add(row);
  }

  /// Commits a file with the given key.
  void create(int key) {
    c4_Storage storage(path, 1);
    c4_View view = storage.GetAs(tableDescription);
    add(view, key);
    ASSERT_TRUE(storage.Commit());
    disk.operations.clear();
  }

  /// What was done to the file, in order; blocks by their number.
  std::string trace() const {
    std::string text;
    int blocks = 0;
    const auto tellBlocks = [&] {
      text += blocks > 0 ? std::to_string(blocks) + " blocks, " : "";
      blocks = 0;
    };
    for (const auto& operation : disk.operations) {
      if (operation.kind == Kind::Write && operation.bytes.size() != 8 &&
          operation.bytes.size() != 16) {
        ++blocks;
        continue;
      }
      tellBlocks();
      if (operation.kind == Kind::Flush) {
        text += "flush, ";
      } else if (operation.kind == Kind::Truncate) {
        text += "cut to " + std::to_string(operation.offset) + ", ";
      } else {
        text += markText(operation.bytes) +
                (operation.bytes.size() == 16 ? "+" + markText(operation.bytes.substr(8)) : "") +
                " at " + std::to_string(operation.offset) + ", ";
      }
    }
    tellBlocks();
    return text;
  }

  MemoryDisk disk;
};

TEST_F(CommitTest, AFreshFileGetsItsHeaderFirstAndItsEndLast) {
  c4_Storage storage(path, 1);
  c4_View view = storage.GetAs(tableDescription);
  add(view, 20);
  ASSERT_TRUE(storage.Commit());
  // 8 header, 1 key, 20 record, 1 size, 9 rows of T, 22 root walk.
  EXPECT_EQ(trace(),
            "header 0 at 0, skip 61 at 61, 5 blocks, skip 61+commit at 61, header 77 at 0, ");
}

TEST_F(CommitTest, AFileThatIsMadeHereIsNotFlushed) {
  c4_Storage storage(path, 1);
  c4_View view = storage.GetAs(tableDescription);
  for (int i = 1; i < 10; ++i) {
    add(view, i);
    ASSERT_TRUE(storage.Commit());
  }
  EXPECT_EQ(disk.flushes(), 0U);
}

TEST_F(CommitTest, AFileThatGrowsIsFlushedBeforeEachStepThatCounts) {
  create(20);
  const std::size_t end = disk[path].size();
  c4_Storage storage(path, 1);
  c4_View view = storage.GetAs(tableDescription);
  add(view, 110);
  ASSERT_TRUE(storage.Commit());
  const std::size_t limit = disk[path].size() - 16;
  EXPECT_EQ(trace(), "flush, skip " + std::to_string(limit - end) + " at " + std::to_string(limit) +
                         ", 6 blocks, flush, skip " + std::to_string(limit) + "+commit at " +
                         std::to_string(limit) + ", flush, header " + std::to_string(limit + 16) +
                         " at 0, ");
}

TEST_F(CommitTest, AFileThatDoesNotGrowGetsItsCommitTailLast) {
  create(90);
  {
    c4_Storage storage(path, 1);
    c4_View view = storage.GetAs(tableDescription);
    view.RemoveAt(0);
    ASSERT_TRUE(storage.Commit());
  }
  disk.operations.clear();
  const std::size_t length = disk[path].size();
  c4_Storage storage(path, 1);
  c4_View view = storage.GetAs(tableDescription);
  add(view, 3);
  ASSERT_TRUE(storage.Commit());
  EXPECT_EQ(disk[path].size(), length);
  EXPECT_EQ(trace(), "flush, 5 blocks, flush, commit at " + std::to_string(length - 8) + ", ");
  EXPECT_EQ(keysIn(path), "3 ");
}

TEST_F(CommitTest, ACommitBeginsWithTheLastOneOnTheDevice) {
  create(20);
  c4_Storage storage(path, 1);
  c4_View view = storage.GetAs(tableDescription);
  for (const int key : {110, 3, 120, 4}) {
    add(view, key);
    ASSERT_TRUE(storage.Commit());
    EXPECT_EQ(disk.operations[0].kind, Kind::Flush);
    EXPECT_NE(disk.operations[1].kind, Kind::Flush);
    disk.operations.clear();
  }
}

TEST_F(CommitTest, ATailAcrossTwoSectorsIsNotOverwritten) {
  create(90);
  {
    c4_Storage storage(path, 1);
    storage.GetAs(tableDescription).RemoveAt(0);
    ASSERT_TRUE(storage.Commit());
  }
  // As in a file of the library, which puts its tails anywhere.
  const std::size_t inSector = (disk[path].size() - 16) % 512;
  disk[path].insert(0, std::string(512 - inSector - 10, '#'));
  const std::string before = disk[path];
  c4_Storage storage(path, 1);
  add(storage.GetAs(tableDescription), 3);
  ASSERT_TRUE(storage.Commit());
  EXPECT_EQ(disk[path].substr(before.size() - 16, 16), before.substr(before.size() - 16));
  EXPECT_LE((disk[path].size() - 16) % 512, 496U);
  EXPECT_EQ(keysIn(path), "3 ");
}

TEST_F(CommitTest, TheTailLiesWithinOneSector) {
  for (int size = 1; size < 128; ++size) {
    disk[path].clear();
    c4_Storage storage(path, 1);
    c4_View view = storage.GetAs(tableDescription);
    for (int i = 0; i < 5; ++i) {
      add(view, size);
      ASSERT_TRUE(storage.Commit());
      const std::size_t limit = disk[path].size() - 16;
      EXPECT_LE(limit % 512, 496U);
    }
  }
}

TEST_F(CommitTest, NothingOfTheLastCommitIsOverwritten) {
  c4_Storage storage(path, 1);
  c4_View view = storage.GetAs(tableDescription);
  for (int i = 1; i < 60; ++i) {
    add(view, 1 + i * 37 % 127);
    if (i % 3 == 0) {
      view.RemoveAt(0);
    }
    const std::string before = disk[path];
    const std::string keysBefore = before.empty() ? "" : keysIn(path);
    disk.operations.clear();
    ASSERT_TRUE(storage.Commit());
    // The last commit as it would be found without the tail and the header of the new one.
    std::string replayed = before;
    for (const auto& operation : disk.operations) {
      if (operation.bytes.size() == 8 || operation.bytes.size() == 16) {
        continue;
      }
      const auto at = static_cast<std::size_t>(operation.offset);
      if (at < before.size()) {
        replayed.replace(at, std::min(operation.bytes.size(), before.size() - at),
                         operation.bytes.substr(0, before.size() - at));
      }
    }
    disk["replayed"] = replayed;
    ASSERT_EQ(keysIn("replayed"), keysBefore);
  }
}

TEST_F(CommitTest, AFileCutOffAtAnyWriteOpensAtOneOfTheTwoCommits) {
  for (const bool grows : {true, false}) {
    std::size_t cut = 0;
    for (bool complete = false; !complete; ++cut) {
      disk[path].clear();
      disk.dropFrom = SIZE_MAX;
      create(20);
      {
        c4_Storage storage(path, 1);
        c4_View view = storage.GetAs(tableDescription);
        add(view, 120);
        ASSERT_TRUE(storage.Commit());
        if (!grows) {
          view.RemoveAt(1);
          ASSERT_TRUE(storage.Commit());
        }
      }
      const std::string before = keysIn(path);
      disk.operations.clear();
      disk.dropFrom = cut;
      {
        c4_Storage storage(path, 1);
        c4_View view = storage.GetAs(tableDescription);
        add(view, 5);
        add(view, grows ? 127 : 6);
        ASSERT_TRUE(storage.Commit());
      }
      complete = cut >= disk.operations.size();
      const std::string after = before + (grows ? "5 127 " : "5 6 ");
      const std::string found = keysIn(path);
      // The last writes are the tail and, if the file grows, the header behind a flush.
      const bool tailWritten = cut + (grows ? 2 : 0) >= disk.operations.size();
      EXPECT_EQ(found, tailWritten ? after : before) << "cut before operation " << cut;

      disk.dropFrom = SIZE_MAX;
      c4_Storage storage(path, 1);
      c4_View view = storage.GetAs(tableDescription);
      add(view, 77);
      ASSERT_TRUE(storage.Commit());
      EXPECT_EQ(keysIn(path), found + "77 ");
    }
    EXPECT_GT(cut, 6U);
  }
}

TEST_F(CommitTest, AnErrorLeavesFileAndMemoryAsTheyWere) {
  for (const bool fresh : {true, false}) {
    std::size_t at = 0;
    for (bool complete = false; !complete; ++at) {
      disk[path].clear();
      disk.failFrom = SIZE_MAX;
      if (!fresh) {
        create(20);
      }
      const std::string before = fresh ? "" : "20 ";
      c4_Storage storage(path, 1);
      c4_View view = storage.GetAs(tableDescription);
      add(view, 120);
      disk.operations.clear();
      disk.failFrom = at;
      disk.failTo = at + 1;
      complete = storage.Commit();
      EXPECT_EQ(storage.Strategy()._failure == 0, complete);
      EXPECT_EQ(keysIn(path), complete ? before + "120 " : before) << "operation " << at;
      EXPECT_TRUE(storage.Commit());
      EXPECT_EQ(storage.Strategy()._failure, 0);
      EXPECT_EQ(keysIn(path), before + "120 ");
    }
    EXPECT_GT(at, 6U);
  }
}

TEST_F(CommitTest, ErrorsThatLastLeaveOneOfTheTwoCommits) {
  std::size_t at = 0;
  for (bool complete = false; !complete; ++at) {
    disk[path].clear();
    disk.failFrom = SIZE_MAX;
    disk.failTo = SIZE_MAX;
    create(20);
    c4_Storage storage(path, 1);
    c4_View view = storage.GetAs(tableDescription);
    add(view, 120);
    disk.operations.clear();
    disk.failFrom = at;
    complete = storage.Commit();
    const std::string found = keysIn(path);
    // Once the tail is written, nothing can take it back when nothing can be written.
    EXPECT_TRUE(found == "20 120 " || (found == "20 " && !complete)) << found;
    disk.failFrom = SIZE_MAX;
    add(view, 7);
    EXPECT_TRUE(storage.Commit());
    EXPECT_EQ(keysIn(path), "20 120 7 ");
  }
}

TEST_F(CommitTest, ATailThatGotThereInSpiteOfItsErrorIsTakenBack) {
  create(20);
  c4_Storage storage(path, 1);
  c4_View view = storage.GetAs(tableDescription);
  add(view, 90);
  ASSERT_TRUE(storage.Commit());
  view.RemoveAt(1);
  ASSERT_TRUE(storage.Commit());
  add(view, 3);
  disk.operations.clear();
  // Flush, 5 blocks, flush and the tail.
  disk.failFrom = 7;
  disk.failTo = 8;
  disk.failsTooLate = true;
  EXPECT_FALSE(storage.Commit());
  EXPECT_EQ(trace().substr(0, 34), "flush, 5 blocks, flush, commit at ");
  EXPECT_EQ(keysIn(path), "20 ");
  EXPECT_TRUE(storage.Commit());
  EXPECT_EQ(keysIn(path), "20 3 ");
}

TEST_F(CommitTest, ATornFileOfTheLibraryIsCutBackBeforeItGrows) {
  const auto& torn = TestSupport::goldenFile("torn-5.mk");
  disk[path] = TestSupport::readFile(torn.path);
  c4_Storage storage(path, 1);
  c4_View view = storage.GetAs("ZoneHistory[Key:I,Record:B]");
  ASSERT_EQ(view.GetSize(), 3);
  for (int i = 0; i < 3; ++i) {
    add(view, 120);
  }
  ASSERT_TRUE(storage.Commit());
  EXPECT_EQ(trace().substr(0, 31), "flush, cut to 6197, flush, skip");
  c4_Storage again(path, 0);
  EXPECT_EQ(again.GetAs("ZoneHistory[Key:I,Record:B]").GetSize(), 6);
}

TEST_F(CommitTest, AHeaderThatIsBehindIsMendedBeforeTheFileGrows) {
  create(20);
  const std::string header = disk[path].substr(0, 8);
  {
    c4_Storage storage(path, 1);
    c4_View view = storage.GetAs(tableDescription);
    add(view, 120);
    ASSERT_TRUE(storage.Commit());
  }
  // As after a commit that was cut off before its last write.
  disk[path].replace(0, 8, header);
  ASSERT_EQ(keysIn(path), "20 120 ");
  const std::size_t end = disk[path].size();
  disk.operations.clear();
  c4_Storage storage(path, 1);
  c4_View view = storage.GetAs(tableDescription);
  add(view, 121);
  ASSERT_TRUE(storage.Commit());
  EXPECT_EQ(trace().substr(0, 37),
            ("flush, header " + std::to_string(end) + " at 0, flush, skip 1").substr(0, 37));
}

TEST_F(CommitTest, KeepsTheByteOrderOfTheFile) {
  const auto& golden = TestSupport::goldenFile("big-endian.mk");
  TestSupport::TemporaryFolder folder;
  disk[path] = TestSupport::readFile(golden.path);
  const std::string view = "ZoneHistory[Key:I,Record:B]";
  {
    c4_Storage storage(path, 1);
    c4_View zones = storage.GetAs(view.c_str());
    add(zones, 100);
    ASSERT_TRUE(storage.Commit());
  }
  EXPECT_EQ(disk[path].substr(0, 2), "LJ");
  const c4_IntProp key("Key");
  c4_Storage storage(path, 0);
  c4_View zones = storage.GetAs(view.c_str());
  ASSERT_EQ(zones.GetSize(), 7);
  EXPECT_EQ(static_cast<t4_i32>(key(zones[2])), -70000);
  EXPECT_EQ(static_cast<t4_i32>(key(zones[6])), 100);
}

TEST_F(CommitTest, CommitsToADatafileBehindOtherBytes) {
  create(20);
  const std::string before(1000, '#');
  disk[path] = before + disk[path];
  ASSERT_EQ(keysIn(path), "20 ");
  for (int i = 0; i < 10; ++i) {
    c4_Storage storage(path, 1);
    c4_View view = storage.GetAs(tableDescription);
    add(view, 100 + i);
    ASSERT_TRUE(storage.Commit());
  }
  EXPECT_EQ(keysIn(path), "20 100 101 102 103 104 105 106 107 108 109 ");
  EXPECT_EQ(disk[path].substr(0, 1000), before);
}

}  // namespace
