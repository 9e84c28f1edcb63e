// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "metakit/Codec.h"
#include "metakit/PosixFile.h"
#include "metakit/mk4.h"
#include "metakit/testing/MemoryDisk.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using Metakit::appendInteger;
using Metakit::Bytes;
using Metakit::encodeMark;
using Metakit::Mark;
using Metakit::markSize;
using Metakit::MemoryDisk;
using Metakit::PosixFile;
using Metakit::tailSize;
using MetakitTesting::tableDescription;

void add(c4_View& view, int key, const std::string& body) {
  c4_Row row;
  c4_IntProp("Key")(row) = key;
  c4_BytesProp("Record")(row) = c4_Bytes(body.data(), static_cast<int>(body.size()));
  view.Add(row);
}

int sizeOf(const c4_View& view, int row) {
  return static_cast<c4_Bytes>(c4_BytesProp("Record")(view[row])).Size();
}

/// A file of 2 GiB, all but `free` bytes in use by the one body in it, which takes no room on the
/// device.
void makeLargestFile(const std::string& path, std::int32_t free) {
  constexpr std::int32_t end = std::numeric_limits<std::int32_t>::max() - 1000;
  const std::int32_t body = 200 + free;
  const std::int32_t rootWalk = end - tailSize - 100;
  Bytes start(static_cast<std::size_t>(body));
  Bytes last(100 + tailSize);
  const auto put = [](Bytes& bytes, std::size_t at, const Bytes& piece) {
    std::copy(piece.begin(), piece.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
  };
  encodeMark({Mark::Kind::Header, {}, 0, end}, start.data());
  Bytes table;
  for (const std::int32_t integer : {0, 1, 0, 0, 7, 100}) {
    appendInteger(table, integer);
  }
  Bytes memo;
  for (const std::int32_t integer : {0, rootWalk - body, body}) {
    appendInteger(memo, integer);
  }
  table[table.size() - 2] = static_cast<std::uint8_t>(0x80 | memo.size());
  put(start, markSize, table);
  put(start, 100, memo);
  Bytes root;
  appendInteger(root, 0);
  appendInteger(root, sizeof tableDescription - 1);
  root.insert(root.end(), tableDescription, tableDescription + sizeof tableDescription - 1);
  for (const std::int32_t integer : {1, static_cast<std::int32_t>(table.size()), markSize}) {
    appendInteger(root, integer);
  }
  put(last, 0, root);
  encodeMark({Mark::Kind::SkipTail, {}, 0, end - tailSize}, &last[100]);
  encodeMark({Mark::Kind::CommitTail, {}, static_cast<std::int32_t>(root.size()), rootWalk},
             &last[108]);
  const auto file = PosixFile::open(path.c_str(), true);
  ASSERT_NE(file, nullptr);
  ASSERT_EQ(file->write(0, start.data(), start.size()), 0);
  ASSERT_EQ(file->write(rootWalk, last.data(), last.size()), 0);
}

TEST(LimitTest, AFileOfTwoGibibytesTakesNoMore) {
  const TestSupport::TemporaryFolder folder;
  const std::string path = folder.path("largest.mk");
  makeLargestFile(path, 1000);
  c4_Storage storage(path.c_str(), 1);
  ASSERT_TRUE(storage.Strategy().IsValid());
  c4_View view = storage.GetAs(tableDescription);
  const int largest = sizeOf(view, 0);
  ASSERT_GT(largest, 2147000000);
  add(view, 2, std::string(2040, 'b'));
  EXPECT_FALSE(storage.Commit());
  EXPECT_EQ(storage.Strategy()._failure, EFBIG);
  EXPECT_EQ(view.GetSize(), 2);
  EXPECT_EQ(sizeOf(view, 1), 2040);
  {
    c4_Storage again(path.c_str(), 0);
    ASSERT_TRUE(again.Strategy().IsValid());
    const c4_View found = again.GetAs(tableDescription);
    ASSERT_EQ(found.GetSize(), 1);
    EXPECT_EQ(sizeOf(found, 0), largest);
  }
  // What is needed to tell that the largest one is gone fits in.
  view.RemoveAt(0, 2);
  add(view, 3, "short");
  EXPECT_TRUE(storage.Commit());
  add(view, 2, std::string(2040, 'b'));
  EXPECT_TRUE(storage.Commit());
  EXPECT_EQ(storage.Strategy()._failure, 0);
  EXPECT_EQ(c4_Storage(path.c_str(), 0).GetAs(tableDescription).GetSize(), 2);
}

TEST(LimitTest, ARootWalkHas24Bits) {
  MemoryDisk disk;
  c4_Storage storage("file", 1);
  c4_View view = storage.GetAs(tableDescription);
  add(view, 1, "body");
  ASSERT_TRUE(storage.Commit());
  const std::string before = disk["file"];
  const std::string name(6000000, 'n');
  for (const char* more : {"1[Key:I]", "2[Key:I]", "3[Key:I]"}) {
    EXPECT_EQ(storage.Strategy()._failure, 0);
    add(view, 2, "body");
    storage.GetAs((name + more).c_str());
    storage.Commit();
  }
  EXPECT_EQ(storage.Strategy()._failure, EFBIG);
  EXPECT_FALSE(storage.Commit());
  EXPECT_EQ(view.GetSize(), 4);
  c4_Storage again("file", 0);
  ASSERT_TRUE(again.Strategy().IsValid());
  EXPECT_EQ(again.GetAs(tableDescription).GetSize(), 3);
}

TEST(LimitTest, ADescriptionNamesSoManyPropertiesAndNoMore) {
  MemoryDisk disk;
  const auto properties = [](int count) {
    std::string text = "p0:I";
    for (int i = 1; i < count; ++i) {
      text += ",p" + std::to_string(i) + ":I";
    }
    return text;
  };
  c4_Storage storage("file", 1);
  storage.GetAs(("A[" + properties(8191) + ']').c_str());
  storage.GetAs(("B[" + properties(8191) + ']').c_str());
  EXPECT_TRUE(storage.Commit());
  EXPECT_TRUE(c4_Storage("file", 0).Strategy().IsValid());
  storage.GetAs("C[Key:I]");
  EXPECT_FALSE(storage.Commit());
  EXPECT_EQ(storage.Strategy()._failure, EFBIG);
  c4_Storage again("file", 0);
  EXPECT_TRUE(again.Strategy().IsValid());
  EXPECT_EQ(again.Description("C"), nullptr);
}

}  // namespace
