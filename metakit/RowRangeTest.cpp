// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "metakit/mk4.h"
#include "metakit/testing/MemoryDisk.h"

// What comes of row numbers that no row has. Under a sanitizer these tests also show that nothing
// outside the columns is read or written.

namespace {

using Metakit::MemoryDisk;

constexpr char description[] = "Table[I:I,L:L,F:F,D:D,B:B,S:S,V[I:I]]";

const c4_IntProp intProp("I");
const c4_LongProp longProp("L");
const c4_FloatProp floatProp("F");
const c4_DoubleProp doubleProp("D");
const c4_BytesProp bytesProp("B");
const c4_StringProp stringProp("S");
const c4_ViewProp viewProp("V");

/// A view of one row.
c4_View oneRow(int value) {
  c4_View view;
  c4_Row row;
  intProp(row) = value;
  view.Add(row);
  return view;
}

void setAll(const c4_RowRef& row, int value) {
  const std::string text(static_cast<std::size_t>(value), 'x');
  intProp(row) = value;
  longProp(row) = value;
  floatProp(row) = value;
  doubleProp(row) = value;
  bytesProp(row) = c4_Bytes(text.data(), value);
  stringProp(row) = text.c_str();
  viewProp(row) = oneRow(value);
}

/// All cells of a row; the value that setAll() gave it, seven times.
std::string cellsOf(const c4_RowRef& row) {
  const c4_View nested = viewProp(row);
  return std::to_string(static_cast<int>(intProp(row))) + ' ' +
         std::to_string(static_cast<t4_i64>(longProp(row))) + ' ' +
         std::to_string(static_cast<int>(static_cast<double>(floatProp(row)))) + ' ' +
         std::to_string(static_cast<int>(static_cast<double>(doubleProp(row)))) + ' ' +
         std::to_string(static_cast<c4_Bytes>(bytesProp(row)).Size()) + ' ' +
         std::to_string(std::string(static_cast<const char*>(stringProp(row))).size()) + ' ' +
         std::to_string(nested.GetSize() == 0 ? 0 : static_cast<int>(intProp(nested[0])));
}

const std::string noCells = "0 0 0 0 0 0 0";

/// A table with the rows 5 and 6 in a file, and the row 7, which is not committed, in memory.
class RowRangeTest : public ::testing::Test {
 protected:
  RowRangeTest() {
    for (const int value : {5, 6}) {
      add(value);
    }
    storage.Commit();
    add(7);
  }

  void add(int value) {
    c4_Row row;
    setAll(row, value);
    view.Add(row);
  }

  std::string cells() const {
    std::string text;
    for (int row = 0; row < view.GetSize(); ++row) {
      text += cellsOf(view[row]) + '\n';
    }
    return text;
  }

  static constexpr int outside[] = {-1,   std::numeric_limits<int>::min(), 3, 4,
                                    1000, std::numeric_limits<int>::max()};

  MemoryDisk disk;
  c4_Storage storage{"file", 1};
  c4_View view = storage.GetAs(description);
  const std::string before = "5 5 5 5 5 5 5\n6 6 6 6 6 6 6\n7 7 7 7 7 7 7\n";
};

TEST_F(RowRangeTest, CellsOfAMissingRowReadAsZeroOrEmpty) {
  EXPECT_EQ(cells(), before);
  for (const int row : outside) {
    EXPECT_EQ(cellsOf(view[row]), noCells) << row;
  }
}

TEST_F(RowRangeTest, CellsOfAMissingRowReadAsZeroOrEmptyOnceAllIsStored) {
  storage.Commit();
  for (const int row : outside) {
    EXPECT_EQ(cellsOf(view[row]), noCells) << row;
  }
}

TEST_F(RowRangeTest, CellsOfAnEmptyTableReadAsZeroOrEmpty) {
  view.RemoveAt(0, 3);
  EXPECT_EQ(cellsOf(view[0]), noCells);
  EXPECT_EQ(cellsOf(storage.GetAs("Other[I:I]")[0]), noCells);
}

TEST_F(RowRangeTest, CellsOfAViewWithoutATableReadAsZeroOrEmpty) {
  EXPECT_EQ(cellsOf(c4_View()[0]), noCells);
}

TEST_F(RowRangeTest, ReferenceToARemovedRowReadsAsZeroOrEmpty) {
  const c4_RowRef last = view[2];
  view.RemoveAt(0);
  EXPECT_EQ(cellsOf(last), noCells);
}

TEST_F(RowRangeTest, IgnoresCellsSetInAMissingRow) {
  for (const int row : outside) {
    setAll(view[row], 9);
    viewProp(view[row]) = c4_View();
  }
  setAll(c4_View()[0], 9);
  EXPECT_EQ(cells(), before);
}

TEST_F(RowRangeTest, SetAtIgnoresAMissingRow) {
  c4_Row row;
  setAll(row, 9);
  for (const int index : outside) {
    view.SetAt(index, row);
  }
  c4_View().SetAt(0, row);
  EXPECT_EQ(cells(), before);
}

TEST_F(RowRangeTest, SetAtClearsARowForAMissingOne) {
  view.SetAt(0, view[3]);
  view.SetAt(1, c4_View()[0]);
  EXPECT_EQ(cells(), noCells + '\n' + noCells + "\n7 7 7 7 7 7 7\n");
}

TEST_F(RowRangeTest, AddAppendsAnEmptyRowForAMissingOne) {
  EXPECT_EQ(view.Add(view[-1]), 3);
  EXPECT_EQ(view.Add(view[4]), 4) << "the row that is being appended";
  EXPECT_EQ(cells(), before + noCells + '\n' + noCells + '\n');
}

TEST_F(RowRangeTest, RemoveAtIgnoresMissingRows) {
  for (const int index : outside) {
    view.RemoveAt(index);
    view.RemoveAt(index, std::numeric_limits<int>::max());
  }
  view.RemoveAt(1, 0);
  view.RemoveAt(1, -1);
  view.RemoveAt(1, std::numeric_limits<int>::min());
  c4_View().RemoveAt(0);
  EXPECT_EQ(cells(), before);
}

TEST_F(RowRangeTest, RemoveAtEndsAtTheLastRow) {
  view.RemoveAt(1, std::numeric_limits<int>::max());
  EXPECT_EQ(cells(), "5 5 5 5 5 5 5\n");
  view.RemoveAt(0, 2);
  EXPECT_EQ(cells(), "");
}

TEST_F(RowRangeTest, CommitsOnlyExistingRows) {
  setAll(view[3], 9);
  view.RemoveAt(2, 5);
  ASSERT_TRUE(storage.Commit());
  c4_Storage again("file", 0);
  view = again.GetAs(description);
  EXPECT_EQ(cells(), "5 5 5 5 5 5 5\n6 6 6 6 6 6 6\n");
}

}  // namespace
