// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "database/metakit/Record.h"

#include <new>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "database/metakit/testing/DatabaseTesting.h"

namespace {

using namespace DatabaseTesting;
using Pvn::Database::Metakit::Persist::Record;
namespace RecordReq = Pvn::Database::Persist::Record::Req;

const std::string recordLine = "Pvn::Database::Metakit::Persist;:Record::";

/// A table with open records under the keys 1, 2 and 3.
class RecordTest : public DatabaseTest {
 protected:
  RecordTest() {
    openTable();
    for (int i = 0; i < 3; ++i) {
      records.push_back(create(i + 1, bodyOf(static_cast<char>('a' + i)), _memories[i]));
    }
    rowsAtSyncs.clear();
  }

  std::string read(RecordHandle& record) {
    std::string bytes(recordSize, '.');
    client([&] { EXPECT_EQ(record.read(bytes.data(), recordSize, 0), recordSize); });
    return bytes;
  }

  void write(RecordHandle& record, const std::string& bytes) {
    client([&] { EXPECT_EQ(record.write(bytes.data(), recordSize, 0), recordSize); });
  }

  void destroy(int index) {
    client([&] { records[static_cast<std::size_t>(index)]->destroy(); });
    _memories[index] = RecordMemory();
  }

  std::vector<RecordHandle*> records;

 private:
  RecordMemory _memories[3];
};

// ---- A row and its key ----

TEST_F(RecordTest, HasTheKeyOfItsRow) {
  for (int i = 0; i < 3; ++i) {
    const Record record(*table, i);
    EXPECT_EQ(record.getKey(), i + 1);
  }
}

TEST_F(RecordTest, KeepsToItsRowWhenEarlierRowsGo) {
  destroy(0);
  EXPECT_EQ(read(*records[1]), bodyOf('b'));
  EXPECT_EQ(read(*records[2]), bodyOf('c'));
  write(*records[2], "01234567");
  EXPECT_EQ(rows(), (Rows{{2, bodyOf('b')}, {3, "01234567"}}));
  destroy(1);
  EXPECT_EQ(read(*records[2]), "01234567");
  destroy(2);
  EXPECT_EQ(rowsInFile(), Rows());
}

TEST_F(RecordTest, KeepsToItsRowWhenLaterRowsGoAndCome) {
  destroy(2);
  RecordMemory memory;
  create(4, bodyOf('d'), memory);
  EXPECT_EQ(read(*records[1]), bodyOf('b'));
}

TEST_F(RecordTest, DuplicateAddressesTheFirstRowOfItsKey) {
  RecordMemory memory;
  RecordHandle* duplicate = nullptr;
  output([&] {
    duplicate = table->createRecordWithKey("another1", memory.get(), recordObjectSize, 2);
  });
  write(*duplicate, "01234567");
  EXPECT_EQ(rows(), (Rows{{1, bodyOf('a')}, {2, "01234567"}, {3, bodyOf('c')}, {2, "another1"}}));
  destroy(1);
  EXPECT_EQ(read(*duplicate), "another1") << "the first one now";
}

TEST_F(RecordTest, OpenedTwiceItSeesWhatTheOtherWrote) {
  RecordMemory memory;
  RecordHandle* again = nullptr;
  client([&] { again = table->openFirstRecord(memory.get(), recordObjectSize); });
  write(*records[0], "01234567");
  EXPECT_EQ(read(*again), "01234567");
}

// ---- Commits ----

TEST_F(RecordTest, WriteIsReadBackAndCommitted) {
  write(*records[1], "01234567");
  EXPECT_EQ(read(*records[1]), "01234567");
  EXPECT_EQ(rowsInFile(), (Rows{{1, bodyOf('a')}, {2, "01234567"}, {3, bodyOf('c')}}));
  EXPECT_EQ(rowsAtSyncs, (std::vector<std::size_t>{3}));
}

TEST_F(RecordTest, WriteIsNotCommittedWhileCommitsAreHeldBack) {
  client([&] { service.getCommitSyncApi()->incrementInhibit(); });
  write(*records[1], "01234567");
  EXPECT_EQ(read(*records[1]), "01234567");
  EXPECT_EQ(rowsInFile(), (Rows{{1, bodyOf('a')}, {2, bodyOf('b')}, {3, bodyOf('c')}}));
  EXPECT_TRUE(rowsAtSyncs.empty());
  client([&] { service.getCommitSyncApi()->decrementInhibit(); });
  EXPECT_EQ(rowsInFile(), (Rows{{1, bodyOf('a')}, {2, "01234567"}, {3, bodyOf('c')}}));
  EXPECT_EQ(rowsAtSyncs.size(), 1U);
}

TEST_F(RecordTest, DestroyIsCommitted) {
  destroy(1);
  EXPECT_EQ(rowsInFile(), (Rows{{1, bodyOf('a')}, {3, bodyOf('c')}}));
  EXPECT_EQ(rowsAtSyncs, (std::vector<std::size_t>{2}));
}

TEST_F(RecordTest, DestroyIsNotCommittedWhileCommitsAreHeldBack) {
  client([&] { service.getCommitSyncApi()->incrementInhibit(); });
  destroy(1);
  EXPECT_EQ(rows(), (Rows{{1, bodyOf('a')}, {3, bodyOf('c')}}));
  EXPECT_EQ(rowsInFile().size(), 3U);
  EXPECT_TRUE(rowsAtSyncs.empty());
}

TEST_F(RecordTest, ReadIsNotCommitted) {
  read(*records[0]);
  EXPECT_TRUE(rowsAtSyncs.empty());
}

// ---- Ranges ----

/// The second of two rows, opened.
class RecordRangeTest : public DatabaseTest, public ::testing::WithParamInterface<RangeCase> {
 protected:
  RecordRangeTest() {
    openTable({{6, bodyOf('-')}, {7, GetParam().body}});
    Visitor visitor([this](Pvn::Database::Table::RecordApi& row) {
      record = row.openRecord(_memory.get(), recordObjectSize);
      return record->getKey() == 7;
    });
    client([&] { table->iterate(visitor); });
  }

  RecordHandle* record = nullptr;

 private:
  RecordMemory _memory;
};

class RecordReadTest : public RecordRangeTest {};

TEST_P(RecordReadTest, ReadsItsRow) {
  const RangeCase& range = GetParam();
  std::string buffer(10, '.');
  unsigned int result = 99;
  EXPECT_EQ(output([&] { result = record->read(buffer.data(), range.size, range.offset); }),
            range.printed);
  EXPECT_EQ(result, range.result);
  EXPECT_EQ(buffer, range.bytes);
}

const std::string recordReadOffsetLine =
    recordLine + "request(ReadReq): offset beyond size of record.\n";
const std::string recordReadEndLine =
    recordLine + "request(ReadReq): attempt to read beyond size of record.\n";

INSTANTIATE_TEST_SUITE_P(
    All, RecordReadTest,
    ::testing::Values(
        RangeCase{"Whole", whole, 8, 0, 8, "", "01234567.."},
        RangeCase{"Part", whole, 3, 2, 3, "", "234......."},
        RangeCase{"NothingAtTheEnd", whole, 0, 8, 0, "", ".........."},
        RangeCase{"NothingBeyondTheEnd", whole, 0, 9, 0, recordReadOffsetLine, ".........."},
        RangeCase{"OffsetBeyondTheEnd", whole, 1, 9, 0, recordReadOffsetLine, ".........."},
        RangeCase{"TenBytesFiveBeforeTheEnd", whole, 10, 3, 0, recordReadEndLine, ".........."},
        RangeCase{"OneByteTooMany", whole, 9, 0, 0, recordReadEndLine, ".........."},
        RangeCase{"OneByteAtTheEnd", whole, 1, 8, 0, recordReadEndLine, ".........."},
        RangeCase{"SumThatWrapsAround", whole, 0xFFFFFFFC, 4, 0xFFFFFFFC, "", "4567......"},
        RangeCase{"SumJustBelowWrappingAround", whole, 0xFFFFFFFB, 4, 0, recordReadEndLine,
                  ".........."},
        RangeCase{"ShortBody", "abc", 5, 1, 5, "", std::string("bc\0\0\0.....", 10)},
        RangeCase{"EmptyBody", "", 3, 0, 3, "", std::string("\0\0\0.......", 10)},
        RangeCase{"LongBody", "0123456789abc", 8, 0, 8, "", "01234567.."},
        RangeCase{"BeyondTheEndOfTheRecordInALongBody", "0123456789abc", 4, 5, 0, recordReadEndLine,
                  ".........."}),
    rangeName);

class RecordWriteTest : public RecordRangeTest {};

TEST_P(RecordWriteTest, WritesItsRowAndCommitsWhatIsWritten) {
  const RangeCase& range = GetParam();
  const std::string data = "ABCDEFGHIJ";
  unsigned int result = 99;
  EXPECT_EQ(output([&] { result = record->write(data.data(), range.size, range.offset); }),
            range.printed);
  EXPECT_EQ(result, range.result);
  EXPECT_EQ(rowsInFile(), (Rows{{6, bodyOf('-')}, {7, range.bytes}}));
  EXPECT_EQ(rowsAtSyncs.size(), range.printed.empty() ? 1U : 0U);
}

const std::string recordWriteOffsetLine =
    recordLine + "request(WriteReq): offset beyond size of record.\n";
const std::string recordWriteEndLine =
    recordLine + "request(WriteReq): attempt to write beyond size of record.\n";
const std::string recordPartialLine =
    recordLine + "request(WriteReq): this didn't work like I had hoped:(\n";

INSTANTIATE_TEST_SUITE_P(
    All, RecordWriteTest,
    ::testing::Values(
        RangeCase{"Whole", whole, 8, 0, 8, "", "ABCDEFGH"},
        RangeCase{"WholeOverAShortBody", "ab", 8, 0, 8, "", "ABCDEFGH"},
        RangeCase{"WholeOverALongBody", "0123456789abc", 8, 0, 8, "", "ABCDEFGH"},
        RangeCase{"FirstPart", whole, 4, 0, 0, recordPartialLine, whole},
        RangeCase{"LastPart", whole, 4, 4, 0, recordPartialLine, whole},
        RangeCase{"AllButTheLastByte", whole, 7, 0, 0, recordPartialLine, whole},
        RangeCase{"NothingAtTheStart", whole, 0, 0, 0, recordPartialLine, whole},
        RangeCase{"NothingAtTheEnd", whole, 0, 8, 0, recordPartialLine, whole},
        RangeCase{"NothingIntoNoBody", "", 0, 0, 0, "", ""},
        RangeCase{"NothingAtTheEndOfNoBody", "", 0, 8, 0, recordPartialLine, ""},
        RangeCase{"NothingBeyondTheEnd", whole, 0, 9, 0, recordWriteOffsetLine, whole},
        RangeCase{"OffsetBeyondTheEnd", whole, 1, 9, 0, recordWriteOffsetLine, whole},
        RangeCase{"OneByteTooMany", whole, 9, 0, 0, recordWriteEndLine, whole},
        RangeCase{"OneByteAtTheEnd", whole, 1, 8, 0, recordWriteEndLine, whole},
        RangeCase{"AllOfAShortBody", "ab", 2, 0, 2, "", "AB"},
        RangeCase{"LessThanAShortBody", "ab", 1, 0, 0, recordPartialLine, "ab"},
        RangeCase{"AsFarBehindAShortBodyAsItTakes", "ab", 3, 1, 3, "", "aABC"},
        RangeCase{"OneByteLessThanThat", "ab", 2, 1, 0, recordPartialLine, "ab"},
        RangeCase{"AfterAGap", "", 4, 4, 4, "", std::string("\0\0\0\0ABCD", 8)},
        RangeCase{"SumThatWrapsAround", whole, 0xFFFFFFFC, 4, 0xFFFFFFFC, "", "0123ABCD"},
        RangeCase{"SumJustBelowWrappingAround", whole, 0xFFFFFFFB, 4, 0, recordWriteEndLine,
                  whole}),
    rangeName);

TEST_F(RecordTest, StaysUsableAfterAFailure) {
  std::string buffer(recordSize, '.');
  output([&] {
    records[0]->read(buffer.data(), recordSize, 1);
    records[0]->write("01234567", recordSize, 1);
  });
  write(*records[0], "01234567");
  EXPECT_EQ(read(*records[0]), "01234567");
}

// ---- A row that is gone ----

/// A record whose row another handle has removed.
class RecordWithoutRowTest : public RecordTest {
 protected:
  RecordWithoutRowTest() : _orphan(new (_memory) Ending<Record>(end, *table, 1)) {
    destroy(1);
    rowsAtSyncs.clear();
  }

  Record& orphan() { return *_orphan; }

  std::string end;

 private:
  alignas(Ending<Record>) unsigned char _memory[sizeof(Ending<Record>)];
  Ending<Record>* _orphan;
};

TEST_F(RecordWithoutRowTest, ReadSaysSoAndCopiesNothing) {
  std::string buffer(recordSize, '.');
  EXPECT_EQ(output([&] { EXPECT_EQ(orphan().read(buffer.data(), recordSize, 0), 0U); }),
            recordLine + "request(ReadReq): no such record.\n");
  EXPECT_EQ(buffer, "........");
}

TEST_F(RecordWithoutRowTest, IsToldBeforeARangeThatIsWrong) {
  char buffer = 0;
  EXPECT_EQ(output([&] { EXPECT_EQ(orphan().read(&buffer, 1, 9), 0U); }),
            recordLine + "request(ReadReq): no such record.\n");
  EXPECT_EQ(output([&] { EXPECT_EQ(orphan().write(&buffer, 1, 9), 0U); }),
            recordLine + "request(WriteReq): no such record.\n");
}

TEST_F(RecordWithoutRowTest, WriteSaysSoAndCommitsNothing) {
  EXPECT_EQ(output([&] { EXPECT_EQ(orphan().write("01234567", recordSize, 0), 0U); }),
            recordLine + "request(WriteReq): no such record.\n");
  EXPECT_EQ(rows(), (Rows{{1, bodyOf('a')}, {3, bodyOf('c')}}));
  EXPECT_TRUE(rowsAtSyncs.empty());
}

TEST_F(RecordWithoutRowTest, DestroySaysSoAndEndsTheObjectWithoutACommit) {
  EXPECT_EQ(output([&] {
              orphan().destroy();
              EXPECT_EQ(end, "server");
            }),
            recordLine + "~Record(): no such record.\n");
  EXPECT_EQ(rows(), (Rows{{1, bodyOf('a')}, {3, bodyOf('c')}}));
  EXPECT_TRUE(rowsAtSyncs.empty());
}

TEST_F(RecordWithoutRowTest, FindsANewRowOfItsKey) {
  RecordMemory memory;
  create(2, "01234567", memory);
  EXPECT_EQ(read(orphan()), "01234567");
}

// ---- The end of a record ----

TEST_F(RecordTest, DestroyRemovesTheRowThenEndsTheObjectOnTheServerThread) {
  std::string end;
  std::string endAtSync = "none";
  onSync = [&] { endAtSync = end; };
  alignas(Ending<Record>) unsigned char memory[sizeof(Ending<Record>)];
  auto* ending = new (memory) Ending<Record>(end, *table, 1);
  EXPECT_EQ(output([&] {
              ending->destroy();
              EXPECT_EQ(end, "server");
            }),
            "");
  EXPECT_EQ(endAtSync, "") << "the object must still be there at the commit";
  EXPECT_EQ(rowsInFile(), (Rows{{1, bodyOf('a')}, {3, bodyOf('c')}}));
}

TEST_F(RecordTest, DestructorAloneKeepsTheRowSilently) {
  EXPECT_EQ(output([&] { records[1]->~Api(); }), "");
  EXPECT_EQ(rows().size(), 3U);
  EXPECT_TRUE(rowsAtSyncs.empty());
}

// ---- Accessors and replies ----

TEST_F(RecordTest, FacesAreTheRecordItself) {
  auto* record = static_cast<Record*>(records[0]);
  EXPECT_EQ(record->getReadApi(), static_cast<Pvn::Database::Property::Read::Api*>(record));
  EXPECT_EQ(record->getWriteApi(), static_cast<Pvn::Database::Property::Write::Api*>(record));
  std::string buffer(recordSize, '.');
  client([&] {
    EXPECT_EQ(record->getWriteApi()->write("01234567", recordSize, 0), recordSize);
    EXPECT_EQ(record->getReadApi()->read(buffer.data(), recordSize, 0), recordSize);
  });
  EXPECT_EQ(buffer, "01234567");
}

TEST_F(RecordTest, AccessorsReachTheRecordOnItsServer) {
  auto* record = static_cast<Record*>(records[1]);
  EXPECT_EQ(&record->getSAP()->getRequestApi(), static_cast<RecordReq::Api*>(record));
  const Rtk::PostMessageApi* mailbox = &server;
  EXPECT_EQ(&record->getSAP()->getPostMessageApi(), mailbox);
  client([&] {
    EXPECT_EQ(record->getSyncApi()->write("01234567", recordSize, 0), recordSize);
    record->getSyncApi()->destroy();
  });
  EXPECT_EQ(rows(), (Rows{{1, bodyOf('a')}, {3, bodyOf('c')}}));
}

TEST_F(RecordTest, ReturnsEachRequestOnce) {
  auto* record = static_cast<Record*>(records[0]);
  std::string buffer(recordSize, '.');
  RecordReq::Api::ReadPayload reading(buffer.data(), recordSize, 0);
  EXPECT_EQ(
      serve<RecordReq::Api>(*record, reading, [&] { EXPECT_EQ(reading._result, recordSize); }), 1);
  RecordReq::Api::WritePayload writing("01234567", recordSize, 0);
  EXPECT_EQ(serve<RecordReq::Api>(*record, writing,
                                  [&] {
                                    EXPECT_EQ(writing._result, recordSize);
                                    EXPECT_EQ(rowsAtSyncs.size(), 1U);
                                  }),
            1);
  RecordReq::Api::DestroyPayload destruction;
  EXPECT_EQ(serve<RecordReq::Api>(*record, destruction, [&] { EXPECT_EQ(rowsAtSyncs.size(), 2U); }),
            1);
}

TEST_F(RecordTest, ReturnsEachRequestThatFailsOnce) {
  Record record(*table, 1);
  destroy(1);
  char byte = 0;
  ::testing::internal::CaptureStdout();
  for (const unsigned int offset : {0U, 9U}) {
    RecordReq::Api::ReadPayload reading(&byte, 1, offset);
    EXPECT_EQ(serve<RecordReq::Api>(record, reading), 1);
    RecordReq::Api::WritePayload writing(&byte, 1, offset);
    EXPECT_EQ(serve<RecordReq::Api>(record, writing), 1);
    RecordReq::Api::ReadPayload readingFirst(&byte, 1, offset);
    EXPECT_EQ(serve<RecordReq::Api>(*static_cast<Record*>(records[0]), readingFirst), 1);
    RecordReq::Api::WritePayload writingFirst(&byte, 1, offset);
    EXPECT_EQ(serve<RecordReq::Api>(*static_cast<Record*>(records[0]), writingFirst), 1);
  }
  ::testing::internal::GetCapturedStdout();
}

}  // namespace
