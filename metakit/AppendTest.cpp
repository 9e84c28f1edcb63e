// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include "metakit/Codec.h"
#include "metakit/mk4.h"
#include "metakit/testing/FormatChecker.h"
#include "metakit/testing/MemoryDisk.h"

namespace {

using Metakit::FormatChecker;
using Metakit::MemoryDisk;
using MetakitTesting::path;

constexpr char fourProperties[] = "T[Key:I,Record:B,Name:S,Serial:L]";

/// Rows whose integer, inline sizes and memo sizes have a chosen width.
struct Values {
  const char* what;
  std::int32_t (*key)(int row);
  int (*bodySize)(int row);
};

void PrintTo(const Values& values, std::ostream* stream) {
  *stream << values.what;
}

constexpr Values allValues[] = {
    {"Zeros", [](int) { return 0; }, [](int) { return 0; }},
    {"Bits", [](int row) { return row % 3 == 1 ? 1 : 0; }, [](int row) { return row % 2; }},
    {"TwoBits", [](int row) { return row % 4; }, [](int row) { return row % 4; }},
    {"FourBits", [](int row) { return row % 16; }, [](int row) { return row % 16; }},
    {"Bytes", [](int row) { return row - 64; }, [](int row) { return row % 101; }},
    {"Words", [](int row) { return row * 300; }, [](int row) { return 101 + row % 2; }},
    {"LongWords", [](int row) { return row * 1000000; }, [](int row) { return row * 2; }},
    {"WidthsThatGrow", [](int row) { return 1 << row % 31; }, [](int row) { return row / 2; }},
    {"FewThatAreNotZero", [](int row) { return row == 40 ? -1 : 0; },
     [](int row) { return row % 30 == 29 ? 1000 : 0; }},
};

std::string bodyOf(const Values& values, int row) {
  return std::string(static_cast<std::size_t>(values.bodySize(row)),
                     static_cast<char>('a' + row % 26));
}

std::string nameOf(int row) {
  return row % 5 == 0 ? "" : std::string(static_cast<std::size_t>(row % 120), 'n');
}

/// Tables that grow by a row or a few with every commit.
class AppendTest : public ::testing::TestWithParam<Values> {
 protected:
  static void add(c4_View& view, int row) {
    const std::string body = bodyOf(GetParam(), row);
    c4_Row added;
    c4_IntProp("Key")(added) = GetParam().key(row);
    c4_BytesProp("Record")(added) = c4_Bytes(body.data(), static_cast<int>(body.size()));
    c4_StringProp("Name")(added) = nameOf(row).c_str();
    c4_LongProp("Serial")(added) = row * 5000000000;
    view.Add(added);
  }

  static void expectRows(const c4_View& view, int rows) {
    ASSERT_EQ(view.GetSize(), rows);
    for (int row = 0; row < rows; ++row) {
      const c4_RowRef found = view[row];
      ASSERT_EQ(c4_IntProp("Key")(found), GetParam().key(row)) << "row " << row;
      const c4_Bytes body = c4_BytesProp("Record")(found);
      ASSERT_EQ(std::string(reinterpret_cast<const char*>(body.Contents()),
                            static_cast<std::size_t>(body.Size())),
                bodyOf(GetParam(), row))
          << "row " << row;
      ASSERT_STREQ(c4_StringProp("Name")(found), nameOf(row).c_str()) << "row " << row;
      ASSERT_EQ(c4_LongProp("Serial")(found), row * 5000000000) << "row " << row;
    }
  }

  void expectFile(int rows) {
    ASSERT_EQ(FormatChecker::faultIn(disk[path]), "");
    expectRows(c4_Storage(path, 0).GetAs(fourProperties), rows);
  }

  MemoryDisk disk;
};

TEST_P(AppendTest, EachCommitHasTheRowsSoFar) {
  c4_Storage storage(path, 1);
  c4_View view = storage.GetAs(fourProperties);
  for (int rows = 1; rows <= 70 && !HasFatalFailure(); ++rows) {
    SCOPED_TRACE(rows);
    add(view, rows - 1);
    expectRows(view, rows);
    ASSERT_TRUE(storage.Commit());
    expectRows(view, rows);
    expectFile(rows);
  }
}

TEST_P(AppendTest, SessionsGoOnWhereTheLastOneEnded) {
  int rows = 0;
  for (int session = 0; session < 12 && !HasFatalFailure(); ++session) {
    c4_Storage storage(path, 1);
    c4_View view = storage.GetAs(fourProperties);
    for (int commit = 0; commit < 3; ++commit) {
      for (int i = 0; i <= session % 3; ++i) {
        add(view, rows++);
      }
      ASSERT_TRUE(storage.Commit());
      expectFile(rows);
    }
  }
}

TEST_P(AppendTest, ACommitThatFailedIsMadeUpFor) {
  c4_Storage storage(path, 1);
  c4_View view = storage.GetAs(fourProperties);
  for (int rows = 1; rows <= 40 && !HasFatalFailure(); ++rows) {
    SCOPED_TRACE(rows);
    add(view, rows - 1);
    if (rows > 1) {
      disk.operations.clear();
      disk.failFrom = static_cast<std::size_t>(rows % 9);
      disk.failTo = disk.failFrom + 1;
      if (!storage.Commit()) {
        expectFile(rows - 1);
      }
      disk.failFrom = SIZE_MAX;
      expectRows(view, rows);
    }
    ASSERT_TRUE(storage.Commit());
    expectFile(rows);
  }
}

TEST_P(AppendTest, RowsChangedInBetweenStayChanged) {
  c4_Storage storage(path, 1);
  c4_View view = storage.GetAs(fourProperties);
  int rows = 0;
  while (rows < 60 && !HasFatalFailure()) {
    SCOPED_TRACE(rows);
    // A row that does not belong there, committed with the others or not, and taken away again.
    add(view, rows++);
    add(view, 77);
    if (rows % 2 == 0) {
      ASSERT_TRUE(storage.Commit());
    }
    view.RemoveAt(rows);
    add(view, rows++);
    view.SetAt(rows / 2, view[rows / 3]);
    c4_Row original;
    c4_View other;
    add(other, rows / 2);
    view.SetAt(rows / 2, other[0]);
    ASSERT_TRUE(storage.Commit());
    expectFile(rows);
  }
}

INSTANTIATE_TEST_SUITE_P(Widths, AppendTest, ::testing::ValuesIn(allValues),
                         [](const auto& test) { return std::string(test.param.what); });

TEST_P(AppendTest, RoomIsUsedAgain) {
  c4_Storage storage(path, 1);
  c4_View view = storage.GetAs(fourProperties);
  for (int row = 0; row < 70; ++row) {
    add(view, row);
  }
  ASSERT_TRUE(storage.Commit());
  std::size_t before = 0;
  for (int i = 0; i < 200; ++i) {
    // Columns that are written anew, with room to grow each time, and commits that fail.
    view.RemoveAt(10);
    add(view, 2 * i % 70);
    disk.operations.clear();
    disk.failFrom = i % 2 == 0 ? 3 : SIZE_MAX;
    ASSERT_EQ(storage.Commit(), i % 2 != 0);
    add(view, (2 * i + 1) % 70);
    disk.failFrom = SIZE_MAX;
    ASSERT_TRUE(storage.Commit());
    view.RemoveAt(10);
    ASSERT_TRUE(storage.Commit());
    before = i == 70 ? disk[path].size() : before;
  }
  EXPECT_LE(disk[path].size(), before + before / 4);
}

TEST(DroppedColumnTest, LeavesItsRoomToOthers) {
  MemoryDisk disk;
  c4_Storage storage(path, 1);
  std::size_t before = 0;
  for (int i = 0; i < 60; ++i) {
    c4_View view = storage.GetAs(i % 2 == 0 ? "T[Key:I]" : "T[Serial:L]");
    for (int row = 0; row < 200; ++row) {
      c4_Row added;
      c4_IntProp("Key")(added) = row * 70000;
      c4_LongProp("Serial")(added) = row;
      view.Add(added);
      // Moves the column, with room to grow, which a commit that follows does not use up.
      if (row > 197) {
        ASSERT_TRUE(storage.Commit());
      }
    }
    view.RemoveAt(0, 200);
    before = i == 10 ? disk[path].size() : before;
  }
  EXPECT_LE(disk[path].size(), before + before / 4);
}

/// What a commit of one more row costs.
class AppendCostTest : public ::testing::TestWithParam<int> {
 protected:
  void add(int key) {
    const std::string body(static_cast<std::size_t>(GetParam()), 'b');
    c4_Row row;
    c4_IntProp("Key")(row) = key;
    c4_BytesProp("Record")(row) = c4_Bytes(body.data(), GetParam());
    _view.Add(row);
    ASSERT_TRUE(_storage.Commit());
  }

  std::size_t bytesWritten() const {
    std::size_t bytes = 0;
    for (const auto& operation : disk.operations) {
      bytes += operation.bytes.size();
    }
    return bytes;
  }

  MemoryDisk disk;

 private:
  c4_Storage _storage{path, 1};
  c4_View _view = _storage.GetAs("T[Key:I,Record:B]");
};

TEST_P(AppendCostTest, BytesWrittenDoNotGrowWithTheRows) {
  std::size_t written = 0;
  for (int row = 0; row < 3000; ++row) {
    add(row * 1000);
    if (row == 100 || row == 200 || row == 2000) {
      disk.operations.clear();
    } else if (row == 199) {
      written = bytesWritten();
    }
  }
  // A thousand rows take what ten times a hundred took, and half of it more: positions get longer,
  // and blocks that grow move now and then.
  EXPECT_LE(bytesWritten(), 15 * written);
  EXPECT_LE(bytesWritten(), 1000U * (static_cast<std::size_t>(GetParam()) * 5 + 400));
}

INSTANTIATE_TEST_SUITE_P(InlineAndMemo, AppendCostTest, ::testing::Values(10, 100, 101, 2040));

}  // namespace
