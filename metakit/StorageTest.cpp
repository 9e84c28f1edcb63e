// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "metakit/Structure.h"
#include "metakit/mk4.h"
#include "metakit/testing/FormatChecker.h"
#include "metakit/testing/MemoryDisk.h"
#include "tests/support/HexDump.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using Metakit::MemoryDisk;
using MetakitTesting::tableDescription;

const c4_IntProp key("Key");
const c4_BytesProp record("Record");

c4_Row rowOf(int keyValue, const std::string& body) {
  c4_Row row;
  key(row) = keyValue;
  record(row) = c4_Bytes(body.data(), static_cast<int>(body.size()));
  return row;
}

std::string textOf(const c4_Bytes& bytes) {
  return {reinterpret_cast<const char*>(bytes.Contents()), static_cast<std::size_t>(bytes.Size())};
}

using Rows = std::vector<std::pair<int, std::string>>;

Rows rowsOf(const c4_View& view) {
  Rows rows;
  for (int i = 0; i < view.GetSize(); ++i) {
    rows.emplace_back(key(view[i]), textOf(record(view[i])));
  }
  return rows;
}

class StorageTest : public ::testing::Test {
 protected:
  /// What a storage that is opened now finds in table T.
  Rows stored() {
    c4_Storage storage(path, 0);
    EXPECT_TRUE(storage.Strategy().IsValid());
    return rowsOf(storage.GetAs(tableDescription));
  }

  MemoryDisk disk;
  const char* const path = "file";
};

TEST_F(StorageTest, WritesTheDocumentedBytes) {
  c4_Storage storage(path, 1);
  c4_View view = storage.GetAs(tableDescription);
  view.Add(rowOf(3, "abc"));
  view.Add(rowOf(1, ""));
  view.Add(rowOf(300, "hello"));
  ASSERT_TRUE(storage.Commit());
  const std::string bytes = TestSupport::hexDump(disk[path]);
  EXPECT_EQ(bytes,
            "0000  4a 4c 1a 00 00 00 00 47 03 00 01 00 2c 01 61 62\n"
            "0010  63 68 65 6c 6c 6f 03 05 80 83 86 88 88 8e 82 96\n"
            "0020  80 80 91 54 5b 4b 65 79 3a 49 2c 52 65 63 6f 72\n"
            "0030  64 3a 42 5d 81 89 98 80 00 00 00 00 00 00 37 80\n"
            "0040  00 00 16 00 00 00 21\n");
  const std::string page = TestSupport::readFile(DATAFILE_PAGE);
  EXPECT_NE(page.find("```\n" + bytes + "```\n"), std::string::npos) << DATAFILE_PAGE;
}

TEST_F(StorageTest, FindsWhatWasCommittedAndNothingElse) {
  {
    c4_Storage storage(path, 1);
    c4_View view = storage.GetAs(tableDescription);
    view.Add(rowOf(1, "one"));
    ASSERT_TRUE(storage.Commit());
    view.Add(rowOf(2, "two"));
  }
  EXPECT_EQ(stored(), (Rows{{1, "one"}}));
}

TEST_F(StorageTest, AddsReplacesAndRemovesRowsOverManyCommits) {
  Rows model;
  c4_Storage storage(path, 1);
  c4_View view = storage.GetAs(tableDescription);
  unsigned int random = 1;
  const auto next = [&random](unsigned int bound) {
    random = random * 1664525 + 1013904223;
    return (random >> 8) % bound;
  };
  for (int step = 0; step < 400; ++step) {
    const int value = static_cast<int>(next(1 << (1 + next(20)))) - 4;
    const std::string body(next(4) == 0 ? next(3000) : next(120),
                           static_cast<char>('a' + step % 26));
    const unsigned int what = next(4);
    if (model.empty() || what <= 1) {
      EXPECT_EQ(view.Add(rowOf(value, body)), static_cast<int>(model.size()));
      model.emplace_back(value, body);
    } else if (what == 2) {
      const std::size_t at = next(static_cast<unsigned int>(model.size()));
      view.SetAt(static_cast<int>(at), rowOf(value, body));
      model[at] = {value, body};
    } else {
      const std::size_t at = next(static_cast<unsigned int>(model.size()));
      const std::size_t count =
          1 + next(static_cast<unsigned int>(std::min<std::size_t>(3, model.size() - at)));
      view.RemoveAt(static_cast<int>(at), static_cast<int>(count));
      model.erase(model.begin() + static_cast<std::ptrdiff_t>(at),
                  model.begin() + static_cast<std::ptrdiff_t>(at + count));
    }
    EXPECT_EQ(rowsOf(view), model);
    if (next(3) == 0) {
      ASSERT_TRUE(storage.Commit());
      ASSERT_EQ(rowsOf(view), model);
      ASSERT_EQ(stored(), model);
    }
  }
}

TEST_F(StorageTest, ReusesTheSpaceOfFormerCommits) {
  c4_Storage storage(path, 1);
  c4_View view = storage.GetAs(tableDescription);
  view.Add(rowOf(1, std::string(5000, 'a')));
  for (int i = 0; i < 100; ++i) {
    view.SetAt(0, rowOf(1, std::string(5000, static_cast<char>('a' + i % 26))));
    ASSERT_TRUE(storage.Commit());
  }
  EXPECT_LT(disk[path].size(), 4 * 5000U);
}

TEST_F(StorageTest, RowsAreCopiedPropertyByProperty) {
  const c4_StringProp name("Name");
  c4_Storage storage(path, 1);
  c4_View view = storage.GetAs("T[Key:I,Name:S]");
  c4_Row row = rowOf(5, "not in the table");
  name(row) = "five";
  view.Add(row);
  EXPECT_EQ(static_cast<t4_i32>(key(view[0])), 5);
  EXPECT_STREQ(name(view[0]), "five");
  EXPECT_EQ(textOf(record(view[0])), "");
  view.SetAt(0, rowOf(6, ""));
  EXPECT_EQ(static_cast<t4_i32>(key(view[0])), 6);
  EXPECT_STREQ(name(view[0]), "") << "what the row has not is empty";
  view.Add(view[0]);
  EXPECT_EQ(static_cast<t4_i32>(key(view[1])), 6);
  EXPECT_STREQ(view.Description(), "Key:I,Name:S") << "the table gets no further properties";
}

TEST_F(StorageTest, KeepsEveryType) {
  const c4_LongProp serial("serial");
  const c4_FloatProp gain("gain");
  const c4_DoubleProp offset("offset");
  const c4_StringProp name("name");
  const c4_ViewProp rooms("rooms");
  {
    c4_Storage storage(path, 1);
    c4_View view =
        storage.GetAs("all[Key:I,serial:L,gain:F,offset:D,Record:B,name:S,rooms[Key:I]]");
    for (int i = 0; i < 3; ++i) {
      c4_Row row = rowOf(-i, std::string(static_cast<std::size_t>(i), 'x'));
      serial(row) = (std::int64_t{1} << 40) * i;
      gain(row) = 0.5 * i;
      offset(row) = -1e300 * i;
      name(row) = i == 1 ? "" : "name";
      c4_View nested;
      for (int j = 0; j < i; ++j) {
        nested.Add(rowOf(j + 10, ""));
      }
      rooms(row) = nested;
      view.Add(row);
    }
    ASSERT_TRUE(storage.Commit());
  }
  c4_Storage storage(path, 0);
  const c4_View view = storage.GetAs(storage.Description());
  ASSERT_EQ(view.GetSize(), 3);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(static_cast<t4_i32>(key(view[i])), -i);
    EXPECT_EQ(static_cast<t4_i64>(serial(view[i])), (std::int64_t{1} << 40) * i);
    EXPECT_EQ(static_cast<double>(gain(view[i])), 0.5 * i);
    EXPECT_EQ(static_cast<double>(offset(view[i])), -1e300 * i);
    EXPECT_STREQ(name(view[i]), i == 1 ? "" : "name");
    const c4_View nested = rooms(view[i]);
    ASSERT_EQ(nested.GetSize(), i);
    for (int j = 0; j < i; ++j) {
      EXPECT_EQ(static_cast<t4_i32>(key(nested[j])), j + 10);
    }
  }
}

TEST_F(StorageTest, ChangesNestedRowsInPlace) {
  const c4_ViewProp rooms("rooms");
  const auto nestedKeys = [&rooms](c4_Storage& storage) {
    std::string text;
    const c4_View view = storage.GetAs("plant[Key:I,rooms[Key:I,Record:B]]");
    for (int i = 0; i < view.GetSize(); ++i) {
      for (const auto& [nestedKey, body] : rowsOf(rooms(view[i]))) {
        text += std::to_string(nestedKey) + body + ' ';
      }
      text += "| ";
    }
    return text;
  };
  c4_Storage storage(path, 1);
  c4_View view = storage.GetAs("plant[Key:I,rooms[Key:I,Record:B]]");
  for (int i = 0; i < 3; ++i) {
    view.Add(rowOf(i, ""));
    c4_View nested = rooms(view[i]);
    nested.Add(rowOf(i * 10, "a"));
    nested.Add(rowOf(i * 10 + 1, std::string(200, 'b')));
  }
  ASSERT_TRUE(storage.Commit());
  c4_View second = rooms(view[1]);
  second.SetAt(0, rowOf(99, "c"));
  second.RemoveAt(1);
  view.RemoveAt(0);
  ASSERT_TRUE(storage.Commit());
  c4_Storage again(path, 0);
  const std::string expected = "99c | 20a 21" + std::string(200, 'b') + " | ";
  EXPECT_EQ(nestedKeys(again), expected);
  EXPECT_EQ(nestedKeys(storage), expected);
}

TEST_F(StorageTest, ReadsRecursiveViews) {
  const c4_ViewProp nodes("nodes");
  {
    c4_Storage storage(path, 1);
    c4_View tree = storage.GetAs("tree[Key:I,nodes[^]]");
    tree.Add(rowOf(1, ""));
    c4_View below = nodes(tree[0]);
    below.Add(rowOf(2, ""));
    c4_View deeper = nodes(below[0]);
    deeper.Add(rowOf(3, ""));
    ASSERT_TRUE(storage.Commit());
  }
  c4_Storage storage(path, 0);
  const c4_View tree = storage.GetAs("tree[Key:I,nodes[^]]");
  const c4_View below = nodes(tree[0]);
  const c4_View deeper = nodes(below[0]);
  EXPECT_EQ(static_cast<t4_i32>(key(deeper[0])), 3);
  EXPECT_EQ(static_cast<c4_View>(nodes(deeper[0])).GetSize(), 0);
}

TEST_F(StorageTest, AViewMayHaveTheStructureOfTheFile) {
  const c4_ViewProp self("self");
  const c4_ViewProp table("T");
  {
    c4_Storage storage(path, 1);
    storage.GetAs(tableDescription);
    c4_View view = storage.GetAs("self[^]");
    view.Add(c4_Row());
    c4_View nested = table(view[0]);
    nested.Add(rowOf(7, ""));
    storage.GetAs("U[Key:I]");
    ASSERT_TRUE(storage.Commit());
  }
  c4_Storage storage(path, 0);
  EXPECT_STREQ(storage.Description(), "T[Key:I,Record:B],self[^],U[Key:I]");
  const c4_View view = storage.GetAs("self[^]");
  EXPECT_STREQ(view.Description(), storage.Description());
  EXPECT_EQ(rowsOf(table(view[0])), (Rows{{7, ""}}));
}

TEST_F(StorageTest, RowsThatNestTooDeepAreNotWritten) {
  const c4_ViewProp nodes("nodes");
  c4_Storage storage(path, 1);
  c4_View tree = storage.GetAs("tree[nodes[^]]");
  const auto grow = [&nodes, &tree](int levels) {
    c4_View level = tree;
    for (int i = 0; i < levels; ++i) {
      level.RemoveAt(0, level.GetSize());
      level.Add(c4_Row());
      level = nodes(level[0]);
    }
  };
  grow(Metakit::maxNesting + 1);
  EXPECT_FALSE(storage.Commit()) << "what could not be read again";
  grow(Metakit::maxNesting);
  EXPECT_TRUE(storage.Commit());
  EXPECT_TRUE(c4_Storage(path, 0).Strategy().IsValid());
}

TEST_F(StorageTest, RowsMayBeReplacedByThoseBelowThem) {
  const c4_ViewProp nodes("nodes");
  c4_Storage storage(path, 1);
  c4_View tree = storage.GetAs("tree[nodes[^],Key:I]");
  c4_View level = tree;
  for (const int value : {1, 2, 3}) {
    level.Add(rowOf(value, ""));
    level = nodes(level[0]);
  }
  const auto keys = [&nodes](c4_View at) {
    std::string text;
    for (; at.GetSize() > 0; at = nodes(at[0])) {
      text += std::to_string(key(at[0])) + ' ';
    }
    return text;
  };
  const c4_View below = nodes(tree[0]);
  tree.SetAt(0, below[0]);
  EXPECT_EQ(keys(tree), "2 3 ");
  const c4_View before = tree;
  nodes(tree[0]) = before;
  EXPECT_EQ(keys(tree), "2 2 3 ") << "a copy of the table as it was";
}

TEST_F(StorageTest, ColumnsThatAreAddedAreWrittenInFull) {
  c4_Storage storage(path, 1);
  c4_View view = storage.GetAs("T[Key:I]");
  view.Add(rowOf(5, ""));
  ASSERT_TRUE(storage.Commit());
  storage.GetAs("T[Key:I,serial:L,offset:D,gain:F,name:S,rooms[Key:I]]");
  ASSERT_TRUE(storage.Commit());
  EXPECT_EQ(Metakit::FormatChecker::faultIn(disk[path]), "");
}

TEST_F(StorageTest, BytesOutliveACommit) {
  c4_Storage storage(path, 1);
  c4_View view = storage.GetAs(tableDescription);
  view.Add(rowOf(1, "one"));
  const c4_Bytes fresh = record(view[0]);
  ASSERT_TRUE(storage.Commit());
  view.Add(rowOf(2, "two"));
  const c4_Bytes stored = record(view[0]);
  c4_View other = storage.GetAs("U[Key:I,Record:B]");
  for (int i = 0; i < 5; ++i) {
    ASSERT_TRUE(storage.Commit());
    other.Add(rowOf(i, std::string(3, 'x')));
  }
  EXPECT_EQ(textOf(fresh), "one");
  EXPECT_EQ(textOf(stored), "one");
}

TEST_F(StorageTest, AddsMissingViewsBehindTheOthers) {
  c4_Storage storage(path, 1);
  storage.GetAs("B[Key:I]");
  storage.GetAs("A[Key:I]");
  EXPECT_STREQ(storage.Description(), "B[Key:I],A[Key:I]");
  EXPECT_STREQ(storage.Description("a"), "Key:I");
  EXPECT_EQ(storage.Description("C"), nullptr);
  ASSERT_TRUE(storage.Commit());
  EXPECT_STREQ(c4_Storage(path, 0).Description(), "B[Key:I],A[Key:I]");
}

TEST_F(StorageTest, TakesAViewOfTheSameStructureAsItIs) {
  c4_Storage storage(path, 1);
  c4_View view = storage.GetAs(tableDescription);
  view.Add(rowOf(1, "one"));
  ASSERT_TRUE(storage.Commit());
  disk.operations.clear();
  c4_View same = storage.GetAs("t[KEY:i,RECORD:b]");
  EXPECT_EQ(rowsOf(same), (Rows{{1, "one"}}));
  EXPECT_STREQ(storage.Description(), tableDescription);
  EXPECT_TRUE(storage.Commit());
  EXPECT_TRUE(disk.operations.empty()) << "nothing was changed";
  same.Add(rowOf(2, "two"));
  EXPECT_EQ(view.GetSize(), 2) << "both are the same table";
}

TEST_F(StorageTest, RestructuresAViewKeepingWhatFits) {
  const c4_LongProp longKey("Key");
  const c4_StringProp note("Note");
  const c4_ViewProp more("More");
  {
    c4_Storage storage(path, 1);
    c4_View view = storage.GetAs("T[Record:B,Key:I,Gone:I]");
    view.Add(rowOf(1, "one"));
    view.Add(rowOf(2, std::string(500, 'x')));
    ASSERT_TRUE(storage.Commit());
    c4_View restructured = storage.GetAs("T[Key:I,Note:S,Record:B,More[Key:I]]");
    EXPECT_EQ(rowsOf(restructured), (Rows{{1, "one"}, {2, std::string(500, 'x')}}));
    EXPECT_EQ(view.GetSize(), 2);
    EXPECT_STREQ(view.Description(), "Key:I,Note:S,Record:B,More[Key:I]");
    EXPECT_STREQ(note(view[1]), "");
    EXPECT_EQ(stored().size(), 2U) << "in memory only so far";
    ASSERT_TRUE(storage.Commit());
  }
  EXPECT_STREQ(c4_Storage(path, 0).Description(), "T[Key:I,Note:S,Record:B,More[Key:I]]");
  EXPECT_EQ(stored(), (Rows{{1, "one"}, {2, std::string(500, 'x')}}));
  c4_Storage storage(path, 1);
  c4_View view = storage.GetAs("T[Key:L,Record:B]");
  EXPECT_EQ(static_cast<t4_i64>(longKey(view[1])), 0) << "another type is another property";
  EXPECT_EQ(textOf(record(view[0])), "one");
}

TEST_F(StorageTest, RestructuresNestedViews) {
  const c4_ViewProp rooms("rooms");
  const c4_IntProp floor("floor");
  c4_Storage storage(path, 1);
  c4_View view = storage.GetAs("plant[rooms[Key:I]]");
  view.Add(c4_Row());
  c4_View nested = rooms(view[0]);
  nested.Add(rowOf(7, ""));
  ASSERT_TRUE(storage.Commit());
  view = storage.GetAs("plant[rooms[floor:I,Key:I]]");
  nested = rooms(view[0]);
  EXPECT_EQ(static_cast<t4_i32>(key(nested[0])), 7);
  floor(nested[0]) = 3;
  ASSERT_TRUE(storage.Commit());
  c4_Storage again(path, 0);
  view = again.GetAs("plant[rooms[floor:I,Key:I]]");
  nested = rooms(view[0]);
  EXPECT_EQ(static_cast<t4_i32>(key(nested[0])), 7);
  EXPECT_EQ(static_cast<t4_i32>(floor(nested[0])), 3);
}

TEST_F(StorageTest, GivesATableOfItsOwnForWhatIsNoView) {
  c4_Storage storage(path, 1);
  for (const char* description : {"T", "T[Key", "T:I", "A[Key:I],B[Key:I]", ""}) {
    EXPECT_EQ(storage.GetAs(description).GetSize(), 0) << description;
  }
  EXPECT_STREQ(storage.Description(), "");
}

TEST_F(StorageTest, AnEmptyStorageIsNotWritten) {
  c4_Storage storage(path, 1);
  EXPECT_TRUE(storage.Strategy().IsValid());
  EXPECT_TRUE(storage.Commit());
  EXPECT_EQ(disk[path], "");
  EXPECT_TRUE(disk.operations.empty());
}

TEST_F(StorageTest, ATableThatLostItsRowsHasNoColumns) {
  c4_Storage storage(path, 1);
  c4_View view = storage.GetAs(tableDescription);
  view.Add(rowOf(300, "one"));
  ASSERT_TRUE(storage.Commit());
  view.RemoveAt(0);
  ASSERT_TRUE(storage.Commit());
  EXPECT_EQ(stored(), Rows{});
  disk.operations.clear();
  EXPECT_TRUE(storage.Commit());
  EXPECT_TRUE(disk.operations.empty());
  view.Add(rowOf(5, "new"));
  ASSERT_TRUE(storage.Commit());
  EXPECT_EQ(stored(), (Rows{{5, "new"}}));
}

TEST_F(StorageTest, AViewOutlivesItsStorage) {
  c4_View view;
  {
    c4_Storage storage(path, 1);
    view = storage.GetAs(tableDescription);
    view.Add(rowOf(1, std::string(300, 'a')));
    ASSERT_TRUE(storage.Commit());
  }
  EXPECT_EQ(rowsOf(view), (Rows{{1, std::string(300, 'a')}}));
}

TEST_F(StorageTest, WhatMayOnlyBeReadIsNotWritten) {
  {
    c4_Storage storage(path, 1);
    c4_View view = storage.GetAs(tableDescription);
    view.Add(rowOf(1, "one"));
    ASSERT_TRUE(storage.Commit());
  }
  const std::string before = disk[path];
  disk.operations.clear();
  disk.readOnly = true;
  for (const int mode : {0, 1}) {
    c4_Storage storage(path, mode);
    EXPECT_TRUE(storage.Strategy().IsValid());
    c4_View view = storage.GetAs(tableDescription);
    view.Add(rowOf(2, "two"));
    EXPECT_FALSE(storage.Commit());
    EXPECT_NE(storage.Strategy()._failure, 0);
    EXPECT_EQ(view.GetSize(), 2) << "in memory it is there";
  }
  EXPECT_TRUE(disk.operations.empty());
  EXPECT_EQ(disk[path], before);
}

TEST_F(StorageTest, AMissingFileCannotBeRead) {
  c4_Storage storage(path, 0);
  EXPECT_FALSE(storage.Strategy().IsValid());
  EXPECT_STREQ(storage.Description(), "");
  EXPECT_FALSE(disk.exists(path));
}

/// Rows and views without a file.
TEST(FreeStandingTest, RowsGrowAPropertyWhenOneIsAssigned) {
  c4_Row row;
  EXPECT_EQ(static_cast<t4_i32>(key(row)), 0);
  EXPECT_EQ(static_cast<c4_Bytes>(record(row)).Size(), 0);
  key(row) = 5;
  c4_Row copy(row);
  key(row) = 6;
  EXPECT_EQ(static_cast<t4_i32>(key(copy)), 5) << "a copy owns its values";
  copy = row;
  EXPECT_EQ(static_cast<t4_i32>(key(copy)), 6);
}

TEST(FreeStandingTest, ViewsShareTheirTable) {
  c4_View view;
  EXPECT_EQ(view.GetSize(), 0);
  EXPECT_EQ(view.Add(rowOf(1, "one")), 0);
  c4_View copy(view);
  copy.Add(rowOf(2, "two"));
  EXPECT_EQ(rowsOf(view), (Rows{{1, "one"}, {2, "two"}}));
  EXPECT_STREQ(view.Description(), "Key:I,Record:B");
  view = c4_View();
  EXPECT_EQ(view.GetSize(), 0);
  EXPECT_EQ(copy.GetSize(), 2);
}

TEST(FreeStandingTest, ACellMayBeGivenItsOwnBytes) {
  c4_View view;
  view.Add(rowOf(1, "hello"));
  const c4_Bytes own = record(view[0]);
  record(view[0]) = c4_Bytes(own.Contents() + 1, 3);
  EXPECT_EQ(textOf(record(view[0])), "ell");
}

TEST(BytesTest, RefersOrKeepsACopy) {
  std::string text = "abc";
  const c4_Bytes reference(text.data(), 3);
  const c4_Bytes notCopied(text.data(), 3, false);
  c4_Bytes copied(text.data(), 3, true);
  const c4_Bytes copyOfCopy = copied;
  copied = c4_Bytes();
  text = "xyz";
  EXPECT_EQ(textOf(reference), "xyz");
  EXPECT_EQ(textOf(notCopied), "xyz");
  EXPECT_EQ(textOf(copyOfCopy), "abc");
  EXPECT_EQ(copied.Size(), 0);
}

TEST(PropertyTest, AreOneByNameWhateverItsCase) {
  const c4_IntProp first("PropertyTestName");
  const c4_IntProp second("PROPERTYtestNAME");
  EXPECT_STREQ(second.Name(), "PropertyTestName");
  EXPECT_EQ(second.Type(), 'I');
  c4_Row row;
  first(row) = 4;
  EXPECT_EQ(static_cast<t4_i32>(second(row)), 4);
}

/// Files of the operating system.
class PosixStorageTest : public ::testing::Test {
 protected:
  TestSupport::TemporaryFolder folder;
  const std::string path = folder.path("file.mk");
};

TEST_F(PosixStorageTest, CreatesReadsAndExtendsAFile) {
  for (int i = 0; i < 100; ++i) {
    c4_Storage storage(path.c_str(), 1);
    c4_View view = storage.GetAs(tableDescription);
    ASSERT_EQ(view.GetSize(), i);
    view.Add(rowOf(i, std::string(5000, static_cast<char>('a' + i % 26))));
    ASSERT_TRUE(storage.Commit());
  }
  c4_Storage storage(path.c_str(), 0);
  const Rows rows = rowsOf(storage.GetAs(tableDescription));
  ASSERT_EQ(rows.size(), 100U);
  EXPECT_EQ(rows[30].second, std::string(5000, 'e'));
}

TEST_F(PosixStorageTest, BytesStayWhereTheyAreWhileTheFileGrows) {
  c4_Storage storage(path.c_str(), 1);
  c4_View view = storage.GetAs(tableDescription);
  view.Add(rowOf(0, std::string(1000, 'x')));
  ASSERT_TRUE(storage.Commit());
  const c4_Bytes first = record(view[0]);
  for (int i = 1; i < 300; ++i) {
    view.Add(rowOf(i, std::string(5000, 'y')));
    ASSERT_TRUE(storage.Commit());
    ASSERT_EQ(textOf(record(view[i])), std::string(5000, 'y'));
  }
  EXPECT_EQ(textOf(first), std::string(1000, 'x'));
}

TEST_F(PosixStorageTest, AViewOutlivesItsStorage) {
  c4_View view;
  {
    c4_Storage storage(path.c_str(), 1);
    view = storage.GetAs(tableDescription);
    for (int i = 0; i < 3; ++i) {
      view.Add(rowOf(i, std::string(200000, static_cast<char>('a' + i))));
    }
    ASSERT_TRUE(storage.Commit());
  }
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(textOf(record(view[i])), std::string(200000, static_cast<char>('a' + i)));
  }
}

TEST_F(PosixStorageTest, RefusesWhatIsNoRegularFile) {
  const std::string fifo = folder.path("fifo");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0666), 0);
  for (const std::string& name : {fifo, folder.path(""), std::string("/dev/null"), std::string()}) {
    for (const int mode : {0, 1}) {
      c4_Storage storage(name.c_str(), mode);
      EXPECT_FALSE(storage.Strategy().IsValid()) << name;
      storage.GetAs(tableDescription);
      EXPECT_FALSE(storage.Commit()) << name;
    }
  }
}

}  // namespace
