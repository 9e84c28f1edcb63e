// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <string>

#include <gtest/gtest.h>

#include "database/metakit/testing/TableTesting.h"

namespace {

using namespace DatabaseTesting;
using Pvn::Database::Table::RecordApi;

class TableReadTest : public TableTest, public ::testing::WithParamInterface<RangeCase> {};

TEST_P(TableReadTest, ReadsTheCurrentRow) {
  const RangeCase& range = GetParam();
  openTable({{7, range.body}, {8, bodyOf('-')}});
  std::string buffer(10, '.');
  unsigned int result = 99;
  EXPECT_EQ(onFirstRow([&](RecordApi& row) {
              result = row.read(buffer.data(), range.size, range.offset);
            }),
            range.printed);
  EXPECT_EQ(result, range.result);
  EXPECT_EQ(buffer, range.bytes);
}

const std::string tableReadOffsetLine = tableLine + "read(): offset beyond size of record.\n";
const std::string tableReadEndLine = tableLine + "read(): attempt to read beyond size of record.\n";

INSTANTIATE_TEST_SUITE_P(
    All, TableReadTest,
    ::testing::Values(
        RangeCase{"Whole", whole, 8, 0, 8, "", "01234567.."},
        RangeCase{"Part", whole, 3, 2, 3, "", "234......."},
        RangeCase{"UpToTheEnd", whole, 5, 3, 5, "", "34567....."},
        RangeCase{"NothingAtTheStart", whole, 0, 0, 0, "", ".........."},
        RangeCase{"NothingAtTheEnd", whole, 0, 8, 0, "", ".........."},
        RangeCase{"NothingBeyondTheEnd", whole, 0, 9, 0, tableReadOffsetLine, ".........."},
        RangeCase{"OffsetBeyondTheEnd", whole, 1, 9, 0, tableReadOffsetLine, ".........."},
        RangeCase{"OneByteTooMany", whole, 9, 0, 0, tableReadEndLine, ".........."},
        RangeCase{"OneByteAtTheEnd", whole, 1, 8, 0, tableReadEndLine, ".........."},
        RangeCase{"SumThatWrapsAround", whole, 0xFFFFFFFC, 4, 0xFFFFFFFC, "", "4567......"},
        RangeCase{"SumJustBelowWrappingAround", whole, 0xFFFFFFFB, 4, 0, tableReadEndLine,
                  ".........."},
        RangeCase{"SumThatWrapsAroundToTheEnd", whole, 0xFFFFFFFF, 8, 0xFFFFFFFF, "", ".........."},
        RangeCase{"AllThatTheSumCanBe", whole, 0xFFFFFFFF, 0, 0, tableReadEndLine, ".........."},
        RangeCase{"ShortBody", "abc", 5, 1, 5, "", std::string("bc\0\0\0.....", 10)},
        RangeCase{"EmptyBody", "", 3, 0, 3, "", std::string("\0\0\0.......", 10)},
        RangeCase{"LongBody", "0123456789abc", 8, 0, 8, "", "01234567.."},
        RangeCase{"BeyondTheEndOfTheRecordInALongBody", "0123456789abc", 4, 5, 0, tableReadEndLine,
                  ".........."}),
    rangeName);

class TableWriteTest : public TableTest, public ::testing::WithParamInterface<RangeCase> {};

TEST_P(TableWriteTest, WritesTheCurrentRowWithoutACommit) {
  const RangeCase& range = GetParam();
  openTable({{7, range.body}, {8, bodyOf('-')}});
  const std::string data = "ABCDEFGHIJ";
  unsigned int result = 99;
  EXPECT_EQ(onFirstRow(
                [&](RecordApi& row) { result = row.write(data.data(), range.size, range.offset); }),
            range.printed);
  EXPECT_EQ(result, range.result);
  EXPECT_EQ(rows(), (Rows{{7, range.bytes}, {8, bodyOf('-')}}));
  EXPECT_TRUE(rowsAtSyncs.empty());
}

const std::string tableWriteOffsetLine = tableLine + "write(): offset beyond size of record.\n";
const std::string tableWriteEndLine =
    tableLine + "write(): attempt to write beyond size of record.\n";
const std::string tablePartialLine = tableLine + "write(): this didn't work like I had hoped:(\n";

INSTANTIATE_TEST_SUITE_P(
    All, TableWriteTest,
    ::testing::Values(
        RangeCase{"Whole", whole, 8, 0, 8, "", "ABCDEFGH"},
        RangeCase{"WholeOverAShortBody", "ab", 8, 0, 8, "", "ABCDEFGH"},
        RangeCase{"WholeOverALongBody", "0123456789abc", 8, 0, 8, "", "ABCDEFGH"},
        RangeCase{"FirstPart", whole, 4, 0, 0, tablePartialLine, whole},
        RangeCase{"LastPart", whole, 4, 4, 0, tablePartialLine, whole},
        RangeCase{"AllButTheLastByte", whole, 7, 0, 0, tablePartialLine, whole},
        RangeCase{"NothingAtTheStart", whole, 0, 0, 0, tablePartialLine, whole},
        RangeCase{"NothingAtTheEnd", whole, 0, 8, 0, tablePartialLine, whole},
        RangeCase{"NothingIntoNoBody", "", 0, 0, 0, "", ""},
        RangeCase{"NothingAtTheEndOfNoBody", "", 0, 8, 0, tablePartialLine, ""},
        RangeCase{"NothingBeyondTheEnd", whole, 0, 9, 0, tableWriteOffsetLine, whole},
        RangeCase{"OffsetBeyondTheEnd", whole, 1, 9, 0, tableWriteOffsetLine, whole},
        RangeCase{"OneByteTooMany", whole, 9, 0, 0, tableWriteEndLine, whole},
        RangeCase{"OneByteAtTheEnd", whole, 1, 8, 0, tableWriteEndLine, whole},
        RangeCase{"AllOfAShortBody", "ab", 2, 0, 2, "", "AB"},
        RangeCase{"LessThanAShortBody", "ab", 1, 0, 0, tablePartialLine, "ab"},
        RangeCase{"AsFarBehindAShortBodyAsItTakes", "ab", 3, 1, 3, "", "aABC"},
        RangeCase{"OneByteLessThanThat", "ab", 2, 1, 0, tablePartialLine, "ab"},
        RangeCase{"FromTheEndOfAShortBodyOn", "abc", 6, 3, 0, tableWriteEndLine, "abc"},
        RangeCase{"AfterAGap", "", 4, 4, 4, "", std::string("\0\0\0\0ABCD", 8)},
        RangeCase{"SumThatWrapsAround", whole, 0xFFFFFFFC, 4, 0xFFFFFFFC, "", "0123ABCD"},
        RangeCase{"SumJustBelowWrappingAround", whole, 0xFFFFFFFB, 4, 0, tableWriteEndLine, whole},
        RangeCase{"SumThatWrapsAroundToTheEnd", whole, 0xFFFFFFFF, 8, 0xFFFFFFFF, "", whole},
        RangeCase{"SumThatWrapsAroundInALongBody", "0123456789abc", 0xFFFFFFFC, 4, 0xFFFFFFFC, "",
                  "0123ABCD89abc"}),
    rangeName);

TEST_F(TableTest, PartialWriteOfALongerRecordIsRefused) {
  openTable();
  TableMemory otherMemory;
  Pvn::Database::Table::Api* other = nullptr;
  client([&] {
    other = db->createTable("Longer", 16, otherMemory.get(), tableSize);
    other->createRecordWithKey("0123456789abcdef", memory.get(), recordObjectSize, 7);
  });
  Visitor visitor([](RecordApi& row) {
    EXPECT_EQ(row.write("ABCDEFGH", 8, 4), 0U);
    return true;
  });
  EXPECT_EQ(output([&] { other->iterate(visitor); }), tablePartialLine);
  client([&] { other->destroy(); });
  EXPECT_EQ(rowsIn(path, "Longer"), (Rows{{7, "0123456789abcdef"}}));
}

TEST_F(TableTest, WrittenRowIsCommittedWithTheNextChange) {
  openTable({{7, whole}});
  onFirstRow([](RecordApi& row) { row.write("ABCDEFGH", recordSize, 0); });
  EXPECT_EQ(rowsInFile(), (Rows{{7, whole}}));
  create(8, bodyOf('-'), memory);
  EXPECT_EQ(rowsInFile(), (Rows{{7, "ABCDEFGH"}, {8, bodyOf('-')}}));
}

}  // namespace
