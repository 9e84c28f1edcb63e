// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "database/metakit/Db.h"

#include <new>
#include <string>

#include <gtest/gtest.h>

#include "database/metakit/testing/DatabaseTesting.h"

namespace {

using namespace DatabaseTesting;
using Pvn::Database::Metakit::Persist::Db;
namespace DbReq = Pvn::Database::Persist::Db::Req;

constexpr char shortTableMemoryLine[] =
    "Pvn::Database::Metakit::Persist::Db::request(CreateTableReq): memSize < sizeof(Table)\n";

/// A database in an open store, and room for a table.
class DbTest : public DatabaseTest {
 protected:
  void openDb() {
    client([this] {
      service.open();
      db = service.create("database", dbMemory.get(), dbSize);
    });
  }

  /// Creates a table by `db`, giving what is printed.
  std::string createTable(const char* name, unsigned int memSize = tableSize) {
    return output([=] {
      table = static_cast<Table*>(db->createTable(name, 4624, tableMemory.get(), memSize));
    });
  }
};

TEST_F(DbTest, CreateTableOnAnEmptyFileYieldsAViewOfTwoColumns) {
  openDb();
  EXPECT_EQ(createTable("TormaQuilletHistory"), "");
  EXPECT_EQ(static_cast<void*>(static_cast<Pvn::Database::Table::Api*>(table)), tableMemory.get());
  EXPECT_TRUE(tableMemory.isUntouchedBehind());
  EXPECT_EQ(descriptionOf(path), "");
  service.commit();
  EXPECT_EQ(descriptionOf(path), "TormaQuilletHistory[Key:I,Record:B]");
}

TEST_F(DbTest, CreateTableDoesNotCommit) {
  openDb();
  createTable("Table");
  EXPECT_TRUE(rowsAtSyncs.empty());
}

TEST_F(DbTest, CreateTableOpensOneThatExists) {
  putRows(path, "Table", {{7, bodyOf('a')}, {3, bodyOf('b')}});
  openDb();
  createTable("Table");
  RecordMemory memory;
  client([&] { EXPECT_EQ(table->openFirstRecord(memory.get(), recordObjectSize)->getKey(), 7); });
  service.commit();
  EXPECT_EQ(rowsInFile(), (Rows{{7, bodyOf('a')}, {3, bodyOf('b')}}));
}

TEST_F(DbTest, CreateTableRestructuresOneOfAnotherStructure) {
  {
    const c4_IntProp key("Key");
    const c4_StringProp name("Name");
    c4_Row row;
    key(row) = 7;
    name(row) = "seven";
    c4_Storage storage(path.c_str(), 1);
    storage.GetAs("Table[Name:S,Key:I]").Add(row);
    storage.Commit(false);
  }
  openDb();
  createTable("Table");
  service.commit();
  EXPECT_EQ(descriptionOf(path), "Table[Key:I,Record:B]");
  EXPECT_EQ(rowsInFile(), (Rows{{7, ""}}));
}

TEST_F(DbTest, TablesStandInTheOrderOfTheirCreation) {
  openDb();
  TableMemory secondMemory;
  createTable("Second");
  client([&] {
    auto* second = db->createTable("First", 8, secondMemory.get(), tableSize);
    service.commit();
    second->destroy();
  });
  EXPECT_EQ(descriptionOf(path), "Second[Key:I,Record:B],First[Key:I,Record:B]");
}

TEST_F(DbTest, NullMemoryGivesNullAndNoTable) {
  openDb();
  EXPECT_EQ(output([&] { EXPECT_EQ(db->createTable("Table", 8, nullptr, tableSize), nullptr); }),
            "");
  EXPECT_STREQ(service.getStorage()->Description(), "");
}

TEST_F(DbTest, NullMemoryOfNoSizeIsWarnedAbout) {
  openDb();
  EXPECT_EQ(output([&] { EXPECT_EQ(db->createTable("Table", 8, nullptr, 0), nullptr); }),
            shortTableMemoryLine);
}

TEST_F(DbTest, ShortMemoryIsWarnedAboutAndGivesNullYetTheTableIsThere) {
  putRows(path, "Table", {{7, bodyOf('a')}});
  openDb();
  EXPECT_EQ(createTable("Table", tableSize - 1), shortTableMemoryLine);
  EXPECT_EQ(table, nullptr);
  ASSERT_FALSE(tableMemory.isUntouched());
  table = static_cast<Table*>(handleIn<Pvn::Database::Table::Api>(tableMemory.get()));
  RecordMemory memory;
  client([&] { EXPECT_EQ(table->openFirstRecord(memory.get(), recordObjectSize)->getKey(), 7); });
}

TEST_F(DbTest, ShortMemoryIsAnsweredOnceWhenTheTableIsThere) {
  openDb();
  DbReq::Api::CreateTablePayload payload("Table", 8, tableMemory.get(), tableSize - 1);
  ::testing::internal::CaptureStdout();
  const int returns = serve<DbReq::Api>(*static_cast<Db*>(db), payload, [&] {
    EXPECT_FALSE(tableMemory.isUntouched()) << "returned too soon";
  });
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), shortTableMemoryLine);
  EXPECT_EQ(returns, 1);
  EXPECT_EQ(payload._result, nullptr);
  ASSERT_FALSE(tableMemory.isUntouched());
  table = static_cast<Table*>(handleIn<Pvn::Database::Table::Api>(tableMemory.get()));
}

TEST_F(DbTest, ReturnsEachRequestOnce) {
  openDb();
  auto* target = static_cast<Db*>(db);
  DbReq::Api::CreateTablePayload creation("Table", 8, tableMemory.get(), tableSize);
  EXPECT_EQ(serve<DbReq::Api>(*target, creation), 1);
  table = static_cast<Table*>(creation._result);
  DbReq::Api::CreateTablePayload nowhere("Table", 8, nullptr, tableSize);
  EXPECT_EQ(serve<DbReq::Api>(*target, nowhere), 1);
  DbReq::Api::DestroyPayload destruction;
  EXPECT_EQ(serve<DbReq::Api>(*target, destruction), 1);
}

TEST_F(DbTest, DestroyEndsTheObjectOnTheServerThreadAndDoesNothingElse) {
  openDb();
  alignas(Ending<Db>) unsigned char memory[sizeof(Ending<Db>)];
  std::string end;
  auto* ending = new (memory) Ending<Db>(end, service);
  EXPECT_EQ(output([&] {
              ending->destroy();
              EXPECT_EQ(end, "server");
            }),
            "");
  EXPECT_TRUE(rowsAtSyncs.empty());
}

TEST_F(DbTest, MemoryOfADestroyedDatabaseCanBeUsedAgain) {
  openDb();
  client([&] {
    db->destroy();
    dbMemory = DbMemory();
    db = service.create("database", dbMemory.get(), dbSize);
  });
  createTable("Table");
  EXPECT_NE(table, nullptr);
}

TEST_F(DbTest, TableOutlivesItsDatabase) {
  openTable();
  client([&] { db->destroy(); });
  dbMemory = DbMemory();
  RecordMemory memory;
  create(7, bodyOf('a'), memory);
  EXPECT_EQ(rowsInFile(), (Rows{{7, bodyOf('a')}}));
}

TEST_F(DbTest, AccessorsReachTheDatabaseOnItsServer) {
  openDb();
  auto* target = static_cast<Db*>(db);
  EXPECT_EQ(&target->getSAP()->getRequestApi(), static_cast<DbReq::Api*>(target));
  const Rtk::PostMessageApi* mailbox = &server;
  EXPECT_EQ(&target->getSAP()->getPostMessageApi(), mailbox);
  client([&] {
    table = static_cast<Table*>(
        target->getSyncApi()->createTable("Table", 8, tableMemory.get(), tableSize));
    target->getSyncApi()->destroy();
  });
  EXPECT_EQ(static_cast<void*>(static_cast<Pvn::Database::Table::Api*>(table)), tableMemory.get());
}

}  // namespace
