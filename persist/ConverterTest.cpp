// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "persist/Converter.h"

#include <climits>
#include <cstring>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "database/metakit/testing/DatabaseTesting.h"
#include "persist/history/Schema0System.h"
#include "persist/history/Schema0Zone.h"
#include "persist/history/Schema1System.h"
#include "persist/history/Schema1Zone.h"
#include "tests/support/Golden.h"

namespace {

using namespace DatabaseTesting;
using Pvn::Persist::Converter;
using Pvn::Persist::Pair;
namespace Kiv = Pvn::Persist::History::Kiv;

const std::string duplicateLine =
    "Pvn::Database::Metakit::Persist::Table::request(CreateRecordWithKeyReq): WARNING: The key "
    "specified was not unique!\n";

/// What the records of a conversion do, in order.
std::string marks;

/// Four characters.
struct Old {
  char text[4];
};

/// The same in brackets.
struct New {
  New(const Old& old) : text{'[', old.text[0], old.text[1], old.text[2], old.text[3], ']'} {
    marks += "convert ";
  }
  char text[6];
};

/// Two empty databases, or files with old rows, in stores of one server.
class ConverterTest : public ::testing::Test {
 protected:
  ConverterTest() {
    marks.clear();
    onSync = [this] { ++syncs; };
    server.start();
  }
  ~ConverterTest() override {
    server.stop();
    onSync = nullptr;
  }

  void open() {
    oldDb = openDb(oldPath, oldMemory);
    newDb = openDb(newPath, newMemory);
  }

  /// Runs the conversion as a client, giving what is printed.
  template <class OldRecord, class NewRecord>
  static std::string convert(Converter<OldRecord, NewRecord>& converter) {
    ::testing::internal::CaptureStdout();
    TestSupport::onRtkThread([&] { converter.convert(); }, "creator");
    return ::testing::internal::GetCapturedStdout();
  }

  /// Converts "Table" of a file with those rows.
  std::string convert(const Rows& rows, void (*oldHook)(const Old&) = nullptr,
                      void (*newHook)(New&) = nullptr) {
    putRows(oldPath, "Table", rows);
    open();
    Converter<Old, New> converter(*oldDb, *newDb, "Table", "Table", oldHook, newHook);
    return convert(converter);
  }

  /// The new table as it stands, committed or not.
  Rows converted(const std::string& table = "Table") {
    return rowsOf(*services().back()->getStorage(), table);
  }

  TestSupport::TemporaryFolder folder;
  const std::string oldPath = folder.path("old.mk");
  const std::string newPath = folder.path("new.mk");
  int syncs = 0;
  Server server;
  Pvn::Database::Db::Api* oldDb = nullptr;
  Pvn::Database::Db::Api* newDb = nullptr;

 private:
  using Service = Pvn::Database::Metakit::Persist::Service;

  /// Stores that are never ended: a converter lets go of its tables but not of their views.
  static std::vector<std::unique_ptr<Service>>& services() {
    static auto* const all = new std::vector<std::unique_ptr<Service>>;
    return *all;
  }

  Pvn::Database::Db::Api* openDb(const std::string& path, DbMemory& memory) {
    services().push_back(std::make_unique<Service>(server, path.c_str()));
    Service& service = *services().back();
    Pvn::Database::Db::Api* db = nullptr;
    TestSupport::onRtkThread([&] {
      service.open();
      db = service.create("database", memory.get(), Pvn::Database::Metakit::Persist::dbSize);
    });
    return db;
  }

  DbMemory oldMemory;
  DbMemory newMemory;
};

// ---- Rows ----

TEST_F(ConverterTest, OneRowBecomesOneRowUnderItsKey) {
  EXPECT_EQ(convert({{7, "abcd"}}), "");
  EXPECT_EQ(converted(), (Rows{{7, "[abcd]"}}));
}

TEST_F(ConverterTest, KeepsKeysAndOrder) {
  Rows old;
  Rows expected;
  for (const int key : {5, -3, INT_MAX, 0, 1000000, INT_MIN, 4}) {
    const std::string body(4, static_cast<char>('a' + old.size()));
    old.emplace_back(key, body);
    expected.emplace_back(key, "[" + body + "]");
  }
  EXPECT_EQ(convert(old), "");
  EXPECT_EQ(converted(), expected);
}

TEST_F(ConverterTest, KeepsRowsOfOneKeyWithAWarningForEachThatComesAgain) {
  EXPECT_EQ(convert({{7, "aaaa"}, {3, "bbbb"}, {7, "cccc"}, {7, "dddd"}}),
            duplicateLine + duplicateLine);
  EXPECT_EQ(converted(), (Rows{{7, "[aaaa]"}, {3, "[bbbb]"}, {7, "[cccc]"}, {7, "[dddd]"}}));
}

TEST_F(ConverterTest, ReadsShortBodiesAsZerosAndCutsLongOnes) {
  convert({{1, "ab"}, {2, ""}, {3, "abcdefgh"}});
  EXPECT_EQ(
      converted(),
      (Rows{{1, std::string("[ab\0\0]", 6)}, {2, std::string("[\0\0\0\0]", 6)}, {3, "[abcd]"}}));
}

TEST_F(ConverterTest, CommitsEachRecordButNotItsTables) {
  convert({{1, "aaaa"}, {2, "bbbb"}, {3, "cccc"}});
  EXPECT_EQ(syncs, 3);
  EXPECT_EQ(rowsIn(newPath, "Table"), converted());
}

TEST_F(ConverterTest, LeavesTheOldTableAlone) {
  const Rows rows = {{1, "aaaa"}, {2, "bbbb"}};
  convert(rows);
  EXPECT_EQ(rowsIn(oldPath, "Table"), rows);
}

// ---- Tables ----

TEST_F(ConverterTest, EmptyTableYieldsAnEmptyOne) {
  EXPECT_EQ(convert(Rows()), "");
  EXPECT_EQ(marks, "");
  EXPECT_EQ(syncs, 0);
  EXPECT_TRUE(converted().empty());
}

TEST_F(ConverterTest, EmptyTableIsCreatedAllTheSame) {
  convert(Rows());
  TestSupport::onRtkThread([&] {
    TableMemory memory;
    newDb->createTable("Other", 4, memory.get(), Pvn::Database::Metakit::Persist::tableSize)
        ->destroy();
  });
  EXPECT_EQ(descriptionOf(newPath), "Table[Key:I,Record:B],Other[Key:I,Record:B]");
}

TEST_F(ConverterTest, MissingTableIsTakenForAnEmptyOne) {
  putRows(oldPath, "Other", {{1, "aaaa"}});
  const std::string before = TestSupport::readFile(oldPath);
  open();
  Converter<Old, New> converter(*oldDb, *newDb, "Table", "Table", nullptr, nullptr);
  EXPECT_EQ(convert(converter), "");
  EXPECT_TRUE(converted().empty());
  EXPECT_EQ(TestSupport::readFile(oldPath), before);
}

TEST_F(ConverterTest, NewTableMayHaveAnotherName) {
  putRows(oldPath, "First", {{1, "aaaa"}});
  open();
  Converter<Old, New> converter(*oldDb, *newDb, "First", "Second", nullptr, nullptr);
  convert(converter);
  EXPECT_EQ(converted("Second"), (Rows{{1, "[aaaa]"}}));
  EXPECT_EQ(descriptionOf(newPath), "Second[Key:I,Record:B]");
}

TEST_F(ConverterTest, TablesAreConvertedOneAfterTheOther) {
  putRows(oldPath, "First", {{1, "aaaa"}});
  putRows(oldPath, "Second", {{1, "bbbb"}, {2, "cccc"}});
  open();
  for (const char* table : {"Second", "First"}) {
    Converter<Old, New> converter(*oldDb, *newDb, table, table, nullptr, nullptr);
    EXPECT_EQ(convert(converter), "");
  }
  EXPECT_EQ(converted("First"), (Rows{{1, "[aaaa]"}}));
  EXPECT_EQ(converted("Second"), (Rows{{1, "[bbbb]"}, {2, "[cccc]"}}));
  EXPECT_EQ(descriptionOf(newPath), "Second[Key:I,Record:B],First[Key:I,Record:B]");
}

// ---- Hooks ----

TEST_F(ConverterTest, OldHookSeesEachRecordBeforeItsConversion) {
  convert({{1, "aaaa"}, {2, "bbbb"}},
          [](const Old& old) { marks += std::string("old ") + old.text[0] + " "; });
  EXPECT_EQ(marks, "old a convert old b convert ");
}

TEST_F(ConverterTest, NewHookChangesEachRecordBeforeItIsStored) {
  convert({{1, "aaaa"}, {2, "bbbb"}}, nullptr, [](New& converted) {
    marks += std::string("new ") + converted.text[1] + " ";
    converted.text[0] = '<';
  });
  EXPECT_EQ(marks, "convert new a convert new b ");
  EXPECT_EQ(converted(), (Rows{{1, "<aaaa]"}, {2, "<bbbb]"}}));
}

TEST_F(ConverterTest, BothHooksAreCalledForEachRecordInTurn) {
  convert(
      {{1, "aaaa"}, {2, "bbbb"}}, [](const Old&) { marks += "old "; },
      [](New&) { marks += "new "; });
  EXPECT_EQ(marks, "old convert new old convert new ");
}

// ---- What is kept in memory ----

/// A record that counts its kind and tells where it is made.
struct Counted {
  Counted() {
    ++alive;
    marks += std::string(Rtk::Thread::getCurrent()->getName()) + " ";
  }
  ~Counted() { --alive; }
  char text[4];

  static int alive;
};

int Counted::alive = 0;

/// Tells how many old records there are when it is made.
struct Count {
  Count(const Counted&) { marks += std::to_string(Counted::alive) + " "; }
  char text[4] = {'n', 'e', 'w', ' '};
};

TEST_F(ConverterTest, ReadsAllOnTheServerThreadBeforeItWritesAndFreesAllAtItsEnd) {
  putRows(oldPath, "Table", {{1, "aaaa"}, {2, "bbbb"}, {3, "cccc"}});
  open();
  {
    Converter<Counted, Count> converter(*oldDb, *newDb, "Table", "Table", nullptr, nullptr);
    convert(converter);
    EXPECT_EQ(marks, "server server server 3 3 3 ");
    EXPECT_EQ(Counted::alive, 3);
  }
  EXPECT_EQ(Counted::alive, 0);
}

TEST_F(ConverterTest, EndsWithoutAConversion) {
  open();
  const Converter<Counted, Count> converter(*oldDb, *newDb, "Table", "Table", nullptr, nullptr);
  EXPECT_EQ(converter.pairs().first(), nullptr);
  EXPECT_EQ(Counted::alive, 0);
}

TEST_F(ConverterTest, NamesEachRowByItsTableAndKey) {
  putRows(oldPath, "First", {{7, "aaaa"}, {INT_MIN, "bbbb"}});
  open();
  Converter<Old, New> converter(*oldDb, *newDb, "First", "Second", nullptr, nullptr);
  convert(converter);
  std::string names;
  const auto& pairs = converter.pairs();
  for (const Pair<Old>* pair = pairs.first(); pair != nullptr; pair = pairs.next(*pair)) {
    names += std::string(pair->oldName().getString()) + " " + pair->newName().getString() + " ";
  }
  EXPECT_EQ(names, "First7 Second7 First-2147483648 Second-2147483648 ");
}

TEST(PairTest, BeginsWithItsTablesNames) {
  const Pair<Old> pair("First", "Second");
  EXPECT_STREQ(pair.oldName().getString(), "First");
  EXPECT_STREQ(pair.newName().getString(), "Second");
}

// ---- The records of the history ----

class HistoryConverterTest : public ConverterTest,
                             public ::testing::WithParamInterface<TestSupport::GoldenFile> {
 protected:
  template <class OldRecord, class NewRecord>
  void convertTable(const char* table) {
    Converter<OldRecord, NewRecord> converter(*oldDb, *newDb, table, table, nullptr, nullptr);
    convert(converter);
  }

  void convertAll() {
    namespace Schema0 = Kiv::Schema0::Bramal;
    namespace Schema1 = Kiv::Schema1::Bramal;
    TestSupport::writeFile(oldPath, TestSupport::readFile(GetParam().path));
    open();
    convertTable<Schema0::System::Record, Schema1::System::Record>("TormaQuilletHistory");
    convertTable<Schema0::Zone::Record, Schema1::Zone::Record>("nativeZoneHistory");
    convertTable<Schema0::Zone::Record, Schema1::Zone::Record>("ZoneHistory");
  }
};

TEST_P(HistoryConverterTest, YieldsTheNewRecords) {
  convertAll();
  EXPECT_EQ(TestSupport::readTables(newPath, GetParam().converted), GetParam().converted);
}

INSTANTIATE_TEST_SUITE_P(Files, HistoryConverterTest,
                         ::testing::Values(TestSupport::goldenFile("odd-sizes.mk"),
                                           TestSupport::goldenFile("duplicate-keys.mk"),
                                           TestSupport::goldenFile("empty-tables.mk"),
                                           TestSupport::goldenFile("zones-only.mk"),
                                           TestSupport::goldenFile("typical.mk")),
                         TestSupport::caseName);

}  // namespace
