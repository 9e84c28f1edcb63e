// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "database/metakit/Table.h"

#include <climits>
#include <deque>
#include <new>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "database/metakit/testing/TableTesting.h"

namespace {

using namespace DatabaseTesting;
namespace TableReq = Pvn::Database::Persist::Table::Req;

// ---- A table in its file ----

TEST(TableLayoutTest, NamesTheColumns) {
  EXPECT_STREQ(Pvn::Database::Metakit::Persist::keyColumnName, "Key");
  EXPECT_STREQ(Pvn::Database::Metakit::Persist::recordColumnName, "Record");
  EXPECT_STREQ(Pvn::Database::Metakit::Persist::schema, "[Key:I,Record:B]");
}

TEST_F(TableTest, CopiesItsName) {
  openTable();
  char name[] = "Other";
  TableMemory otherMemory;
  client([&] {
    auto* other = db->createTable(name, recordSize, otherMemory.get(), tableSize);
    name[0] = '-';
    other->createRecordWithKey("01234567", memory.get(), recordObjectSize, 7);
    other->destroy();
  });
  EXPECT_EQ(rowsIn(path, "Other"), (Rows{{7, "01234567"}}));
}

class TableNameTest : public TableTest {
 protected:
  static constexpr unsigned int limit = Pvn::Database::Metakit::Persist::maxTableNameLength;

  /// Adds a row to a table whose name has `length` characters, giving what is printed.
  std::string addRowToTable(unsigned int length) {
    return output([&] {
      auto* named =
          db->createTable(std::string(length, 'n').c_str(), recordSize, _memory.get(), tableSize);
      EXPECT_EQ(static_cast<void*>(named), _memory.get());
      EXPECT_EQ(named->createRecordWithKey("01234567", memory.get(), recordObjectSize, 7)->getKey(),
                7);
      named->destroy();
    });
  }

 private:
  TableMemory _memory;
};

TEST_F(TableNameTest, NameMayHave1008Characters) {
  EXPECT_EQ(limit, 1008U);
  openTable();
  EXPECT_EQ(addRowToTable(limit), "");
  EXPECT_EQ(rowsIn(path, std::string(limit, 'n')), (Rows{{7, "01234567"}}));
}

TEST_F(TableNameTest, TableWithALongerNameIsWarnedAboutAndNotStored) {
  openTable({{3, bodyOf('a')}});
  // Cut within the structure, at its beginning, and within the name.
  for (const unsigned int length : {limit + 1, 1024U, 1025U, 3000U}) {
    EXPECT_EQ(addRowToTable(length),
              tableLine + "Table(): WARNING: The name specified was too long!\n")
        << length;
  }
  EXPECT_EQ(descriptionOf(path), "Table[Key:I,Record:B]");
  EXPECT_EQ(rowsInFile(), (Rows{{3, bodyOf('a')}}));
}

TEST_F(TableTest, TwoHandlesOfOneTableSeeTheSameRows) {
  openTable();
  TableMemory otherMemory;
  client([&] {
    auto* other = db->createTable("Table", recordSize, otherMemory.get(), tableSize);
    other->createRecordWithKey("01234567", memory.get(), recordObjectSize, 7);
    other->destroy();
  });
  EXPECT_EQ(keysUpTo(INT_MIN), (std::vector<int>{7}));
}

// ---- createRecordWithKey ----

TEST_F(TableTest, RecordsAreAppendedUnderTheirKeysInOrder) {
  openTable();
  const std::vector<int> keys = {5, -1, INT_MAX, 0, INT_MIN, 4};
  Rows expected;
  for (const int key : keys) {
    const std::string body = bodyOf(static_cast<char>('a' + expected.size()));
    EXPECT_EQ(create(key, body, memory)->getKey(), key);
    expected.emplace_back(key, body);
  }
  EXPECT_EQ(rowsInFile(), expected);
  EXPECT_EQ(rowsAtSyncs, (std::vector<std::size_t>{1, 2, 3, 4, 5, 6}));
}

TEST_F(TableTest, RecordIsBuiltInTheClientsMemory) {
  openTable();
  EXPECT_EQ(static_cast<void*>(create(7, bodyOf('a'), memory)), memory.get());
  EXPECT_TRUE(memory.isUntouchedBehind());
}

TEST_F(TableTest, TakesTheBytesOfARecordFromLongerData) {
  openTable();
  create(7, "0123456789", memory);
  EXPECT_EQ(rows(), (Rows{{7, "01234567"}}));
}

TEST_F(TableTest, DuplicateKeyIsWarnedAboutAndLeadsToTheFirstRow) {
  openTable({{1, bodyOf('-')}});
  RecordMemory secondMemory;
  RecordHandle* first = nullptr;
  RecordHandle* second = nullptr;
  EXPECT_EQ(output([&] {
              first = table->createRecordWithKey("firstone", memory.get(), recordObjectSize, 7);
            }),
            "");
  EXPECT_EQ(output([&] {
              second =
                  table->createRecordWithKey("another1", secondMemory.get(), recordObjectSize, 7);
            }),
            duplicateLine);
  EXPECT_EQ(rowsInFile(), (Rows{{1, bodyOf('-')}, {7, "firstone"}, {7, "another1"}}));
  EXPECT_EQ(second->getKey(), 7);
  EXPECT_EQ(read(*first), "firstone");
  EXPECT_EQ(read(*second), "firstone");
}

TEST_F(TableTest, EachDuplicateIsWarnedAbout) {
  openTable({{7, bodyOf('a')}, {7, bodyOf('b')}});
  EXPECT_EQ(output([&] {
              table->createRecordWithKey("01234567", memory.get(), recordObjectSize, 7);
              table->createRecordWithKey("01234567", memory.get(), recordObjectSize, 7);
            }),
            duplicateLine + duplicateLine);
  EXPECT_EQ(rowsInFile().size(), 4U);
}

// ---- Memory of createRecordWithKey ----

TEST_F(TableTest, NullMemoryGivesNullYetTheRowIsThere) {
  openTable();
  EXPECT_EQ(output([&] {
              EXPECT_EQ(table->createRecordWithKey("01234567", nullptr, recordObjectSize, 7),
                        nullptr);
            }),
            "");
  EXPECT_EQ(rowsInFile(), (Rows{{7, "01234567"}}));
}

TEST_F(TableTest, NullMemoryOfNoSizeIsWarnedAbout) {
  openTable();
  EXPECT_EQ(
      output([&] { EXPECT_EQ(table->createRecordWithKey("01234567", nullptr, 0, 7), nullptr); }),
      tableLine + "request(CreateRecordWithKeyReq): memSize < sizeof(Record)\n");
  EXPECT_EQ(rowsInFile(), (Rows{{7, "01234567"}}));
}

TEST_F(TableTest, ShortMemoryIsWarnedAboutAndGivesNullYetTheRecordIsThere) {
  openTable();
  EXPECT_EQ(output([&] {
              EXPECT_EQ(
                  table->createRecordWithKey("01234567", memory.get(), recordObjectSize - 1, 7),
                  nullptr);
            }),
            tableLine + "request(CreateRecordWithKeyReq): memSize < sizeof(Record)\n");
  EXPECT_EQ(rowsInFile(), (Rows{{7, "01234567"}}));
  ASSERT_FALSE(memory.isUntouched());
  auto* record = handleIn<RecordHandle>(memory.get());
  EXPECT_EQ(record->getKey(), 7);
  EXPECT_EQ(read(*record), "01234567");
}

TEST_F(TableTest, ShortMemoryIsToldBeforeTheDuplicate) {
  openTable({{7, bodyOf('a')}});
  EXPECT_EQ(
      output([&] { table->createRecordWithKey("01234567", memory.get(), 0, 7); }),
      tableLine + "request(CreateRecordWithKeyReq): memSize < sizeof(Record)\n" + duplicateLine);
}

TEST_F(TableTest, ShortMemoryIsAnsweredOnceWhenAllIsDone) {
  openTable();
  TableReq::Api::CreateRecordWithKeyPayload payload("01234567", memory.get(), recordObjectSize - 1,
                                                    7);
  ::testing::internal::CaptureStdout();
  EXPECT_EQ(serve<TableReq::Api>(*table, payload,
                                 [&] {
                                   EXPECT_FALSE(memory.isUntouched());
                                   EXPECT_EQ(rowsAtSyncs.size(), 1U);
                                 }),
            1);
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            tableLine + "request(CreateRecordWithKeyReq): memSize < sizeof(Record)\n");
  EXPECT_EQ(payload._result, nullptr);
}

// ---- openFirstRecord ----

TEST_F(TableTest, OpenFirstRecordOpensTheFirstRow) {
  openTable({{7, bodyOf('a')}, {3, bodyOf('b')}});
  RecordHandle* record = nullptr;
  client([&] { record = table->openFirstRecord(memory.get(), recordObjectSize); });
  EXPECT_EQ(static_cast<void*>(record), memory.get());
  EXPECT_TRUE(memory.isUntouchedBehind());
  EXPECT_EQ(record->getKey(), 7);
  EXPECT_EQ(read(*record), bodyOf('a'));
  EXPECT_TRUE(rowsAtSyncs.empty());
}

TEST_F(TableTest, OpenFirstRecordGivesNullSilently) {
  openTable();
  const unsigned int size = recordObjectSize;
  EXPECT_EQ(output([&] {
              EXPECT_EQ(table->openFirstRecord(memory.get(), size), nullptr) << "empty table";
            }),
            "");
  EXPECT_TRUE(memory.isUntouched());
  RecordMemory other;
  create(7, bodyOf('a'), other);
  EXPECT_EQ(output([&] {
              EXPECT_EQ(table->openFirstRecord(memory.get(), size - 1), nullptr) << "short";
              EXPECT_EQ(table->openFirstRecord(memory.get(), 0), nullptr) << "no size";
              EXPECT_EQ(table->openFirstRecord(nullptr, size), nullptr) << "null";
            }),
            "");
  EXPECT_TRUE(memory.isUntouched());
}

TEST_F(TableTest, RecordsOfNoSizeHaveOnlyKeys) {
  openTable();
  TableMemory otherMemory;
  client([&] {
    auto* other = db->createTable("Keys", 0, otherMemory.get(), tableSize);
    other->createRecordWithKey("", memory.get(), recordObjectSize, 7);
    other->destroy();
  });
  EXPECT_EQ(rowsIn(path, "Keys"), (Rows{{7, ""}}));
}

// ---- Direct operations ----

TEST_F(TableTest, FindIndexByKeyGivesTheFirstMatch) {
  openTable({{7, bodyOf('a')}, {3, bodyOf('b')}, {7, bodyOf('c')}, {-1, bodyOf('d')}});
  int index = -1;
  EXPECT_TRUE(table->findIndexByKey(7, index));
  EXPECT_EQ(index, 0);
  EXPECT_TRUE(table->findIndexByKey(-1, index));
  EXPECT_EQ(index, 3);
}

TEST_F(TableTest, FindIndexByKeyGivesTheNumberOfRowsForAKeyThatIsNot) {
  openTable({{7, bodyOf('a')}, {3, bodyOf('b')}});
  int index = -1;
  EXPECT_FALSE(table->findIndexByKey(0, index));
  EXPECT_EQ(index, 2);
}

TEST_F(TableTest, CommitIsThatOfTheStore) {
  openTable();
  table->commit();
  EXPECT_EQ(rowsAtSyncs.size(), 1U);
  client([&] { service.getCommitSyncApi()->incrementInhibit(); });
  table->commit();
  EXPECT_EQ(rowsAtSyncs.size(), 1U);
}

TEST_F(TableTest, CreatedRecordsAreCommittedOnceWhenCommitsAreHeldBack) {
  openTable();
  client([&] { service.getCommitSyncApi()->incrementInhibit(); });
  for (const int key : {7, 3, 5}) {
    create(key, bodyOf('a'), memory);
  }
  EXPECT_TRUE(rowsInFile().empty());
  client([&] { service.getCommitSyncApi()->decrementInhibit(); });
  EXPECT_EQ(rowsAtSyncs, (std::vector<std::size_t>{3}));
}

// ---- The end of a table ----

/// A table whose destructor tells the thread it runs on.
class TableEndTest : public TableTest {
 protected:
  TableEndTest() {
    client([this] { service.open(); });
    ending = new (_memory) Ending<Table>(end, service, "Table", recordSize);
  }

  std::string end;
  Ending<Table>* ending;

 private:
  alignas(Ending<Table>) unsigned char _memory[sizeof(Ending<Table>)];
};

TEST_F(TableEndTest, DestroyEndsTheObjectOnTheServerThreadThenCommits) {
  std::string endAtSync = "none";
  onSync = [&] { endAtSync = end; };
  EXPECT_EQ(output([&] {
              ending->destroy();
              EXPECT_EQ(endAtSync, "server");
            }),
            "");
  EXPECT_EQ(descriptionOf(path), "Table[Key:I,Record:B]");
}

TEST_F(TableEndTest, DestroyCommitsNothingWhileCommitsAreHeldBack) {
  client([&] {
    service.getCommitSyncApi()->incrementInhibit();
    ending->destroy();
  });
  EXPECT_EQ(end, "server");
  EXPECT_TRUE(rowsAtSyncs.empty());
  client([&] { service.getCommitSyncApi()->decrementInhibit(); });
  EXPECT_EQ(rowsAtSyncs.size(), 1U);
}

TEST_F(TableTest, DestroyKeepsTheRows) {
  openTable({{7, bodyOf('a')}});
  client([&] { table->destroy(); });
  table = nullptr;
  EXPECT_EQ(rowsInFile(), (Rows{{7, bodyOf('a')}}));
}

TEST_F(TableTest, MemoryOfADestroyedTableCanBeUsedAgain) {
  openTable({{7, bodyOf('a')}});
  client([&] {
    table->destroy();
    tableMemory = TableMemory();
    table = static_cast<Table*>(db->createTable("Table", recordSize, tableMemory.get(), tableSize));
  });
  EXPECT_EQ(keysUpTo(7), (std::vector<int>{7}));
}

TEST_F(TableTest, DestructorAloneLeavesTheStoreAlone) {
  openTable();
  // Never ended, so that the references to views that the destructor leaves behind are not lost.
  static auto* const memories = new std::deque<TableMemory>;
  (new (memories->emplace_back().get()) Table(service, "Other", recordSize))->~Table();
  EXPECT_TRUE(rowsAtSyncs.empty());
  service.commit();
  EXPECT_EQ(descriptionOf(path), "Table[Key:I,Record:B],Other[Key:I,Record:B]");
}

// ---- Accessors and replies ----

TEST_F(TableTest, AccessorsReachTheTableOnItsServer) {
  openTable({{7, bodyOf('a')}});
  EXPECT_EQ(&table->getSAP()->getRequestApi(), static_cast<TableReq::Api*>(table));
  const Rtk::PostMessageApi* mailbox = &server;
  EXPECT_EQ(&table->getSAP()->getPostMessageApi(), mailbox);
  client([&] {
    auto* record = table->getSyncApi()->openFirstRecord(memory.get(), recordObjectSize);
    EXPECT_EQ(static_cast<void*>(record), memory.get());
    table->getSyncApi()->destroy();
  });
  table = nullptr;
}

}  // namespace
