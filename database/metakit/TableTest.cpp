// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "database/metakit/Table.h"

#include <fcntl.h>
#include <unistd.h>

#include <climits>
#include <deque>
#include <new>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "database/metakit/DatabaseTesting.h"
#include "database/metakit/Record.h"
#include "random/Random.h"

namespace {

using namespace DatabaseTesting;
using Pvn::Database::Table::RecordApi;
namespace TableReq = Pvn::Database::Persist::Table::Req;
namespace AtomicReq = Pvn::Database::Table::Atomic::Req;

const std::string tableLine = "Pvn::Database::Metakit::Persist::Table::";
const std::string duplicateLine =
    tableLine + "request(CreateRecordWithKeyReq): WARNING: The key specified was not unique!\n";

class TableTest : public DatabaseTest {
 protected:
  using Table = DatabaseTest::Table;

  /// Visits rows and gives their keys until `last` has come.
  std::vector<int> keysUpTo(int last) {
    std::vector<int> keys;
    Visitor visitor([&](RecordApi& row) {
      RecordMemory opened;
      keys.push_back(row.openRecord(opened.get(), recordObjectSize)->getKey());
      return keys.back() == last;
    });
    client([&] { table->iterate(visitor); });
    return keys;
  }

  /// Calls `visit` for the first row alone, giving what is printed.
  std::string onFirstRow(const std::function<void(RecordApi&)>& visit) {
    Visitor visitor([&](RecordApi& row) {
      visit(row);
      return true;
    });
    return output([&] { table->iterate(visitor); });
  }

  RecordHandle* createWithRandomKey(const std::string& body) {
    RecordHandle* record = nullptr;
    client([&] { record = table->createRecord(body.data(), memory.get(), recordObjectSize); });
    return record;
  }

  static std::string read(RecordHandle& record) {
    std::string bytes(recordSize, '.');
    client([&] { EXPECT_EQ(record.read(bytes.data(), recordSize, 0), recordSize); });
    return bytes;
  }

  RecordMemory memory;
};

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

TEST_F(TableTest, NameMayHave1024CharactersWithItsStructure) {
  openTable();
  const std::string name(1024 - std::string("[Key:I,Record:B]").size(), 'n');
  TableMemory otherMemory;
  client([&] {
    auto* other = db->createTable(name.c_str(), recordSize, otherMemory.get(), tableSize);
    other->createRecordWithKey("01234567", memory.get(), recordObjectSize, 7);
    other->destroy();
  });
  EXPECT_EQ(rowsIn(path, name), (Rows{{7, "01234567"}}));
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

// ---- createRecord ----

/// A table with the rows 7 and 9, and random numbers of the case's choice.
class TableRandomKeyTest : public TableTest {
 protected:
  TableRandomKeyTest() : _descriptor(Pvn::Random::Posix::fd) {
    openTable({{7, bodyOf('a')}, {9, bodyOf('b')}});
  }
  ~TableRandomKeyTest() override {
    if (Pvn::Random::Posix::fd >= 0) {
      ::close(Pvn::Random::Posix::fd);
    }
    Pvn::Random::Posix::fd = _descriptor;
  }

  void drawFrom(const std::vector<int>& numbers) {
    TestSupport::writeFile(
        folder.path("random"),
        std::string(reinterpret_cast<const char*>(numbers.data()), numbers.size() * sizeof(int)));
    Pvn::Random::Posix::fd = ::open(folder.path("random").c_str(), O_RDONLY);
  }

  /// The rows with one more, of the body "01234567".
  static Rows withRow(int key) { return {{7, bodyOf('a')}, {9, bodyOf('b')}, {key, "01234567"}}; }

  static std::size_t drawn() {
    return static_cast<std::size_t>(::lseek(Pvn::Random::Posix::fd, 0, SEEK_CUR)) / sizeof(int);
  }

 private:
  const int _descriptor;
};

/// Takes the descriptor of the random source away, and standard error to itself, until it is
/// mended.
class FailingSource {
 public:
  explicit FailingSource(int descriptor)
      : _descriptor(descriptor), _source(::dup(descriptor)), _error(::dup(STDERR_FILENO)) {
    EXPECT_EQ(::pipe(_ends), 0);
    ::dup2(_ends[1], STDERR_FILENO);
    ::close(_ends[1]);
    ::close(descriptor);
  }
  ~FailingSource() {
    for (const int end : {_source, _error, _ends[0]}) {
      ::close(end);
    }
  }
  FailingSource(const FailingSource&) = delete;
  FailingSource& operator=(const FailingSource&) = delete;

  /// The next line on standard error. Blocks until it is there; empty when no more can come.
  std::string line() {
    std::string text;
    for (char c = 0; c != '\n' && ::read(_ends[0], &c, 1) == 1;) {
      text += c;
    }
    return text;
  }

  /// Lets the source give numbers again, and takes what it says until its user is done.
  void mend() {
    ::dup2(_source, _descriptor);
    while (!line().empty()) {
    }
  }

  void done() { ::dup2(_error, STDERR_FILENO); }

 private:
  const int _descriptor;
  const int _source;
  const int _error;
  int _ends[2];
};

TEST_F(TableRandomKeyTest, RecordIsAppendedUnderARandomKey) {
  drawFrom({-3, 11});
  RecordHandle* record = createWithRandomKey("01234567");
  EXPECT_EQ(static_cast<void*>(record), memory.get());
  EXPECT_TRUE(memory.isUntouchedBehind());
  EXPECT_EQ(record->getKey(), -3);
  EXPECT_EQ(read(*record), "01234567");
  EXPECT_EQ(rowsInFile(), withRow(-3));
  EXPECT_EQ(rowsAtSyncs, (std::vector<std::size_t>{3}));
}

TEST_F(TableRandomKeyTest, KeysThatAreTakenAreDrawnAgainSilently) {
  drawFrom({7, 9, 7, 4, 11});
  EXPECT_EQ(output([&] {
              EXPECT_EQ(table->createRecord("01234567", memory.get(), recordObjectSize)->getKey(),
                        4);
            }),
            "");
  EXPECT_EQ(drawn(), 4U);
  EXPECT_EQ(rows(), withRow(4));
}

TEST_F(TableRandomKeyTest, FailingSourceGivesTheKeyZero) {
  Pvn::Random::Posix::fd = -1;
  EXPECT_EQ(error([&] {
              EXPECT_EQ(table->createRecord("01234567", memory.get(), recordObjectSize)->getKey(),
                        0);
            }),
            "Pvn::Random::Signed::get(): read() failed: Bad file descriptor\n");
  EXPECT_EQ(rows(), withRow(0));
}

TEST_F(TableRandomKeyTest, TakenKeysAreDrawnAgainWithoutALimit) {
  std::vector<int> numbers(100000, 7);
  numbers.push_back(4);
  drawFrom(numbers);
  EXPECT_EQ(createWithRandomKey("01234567")->getKey(), 4);
  EXPECT_EQ(drawn(), numbers.size());
}

TEST_F(TableRandomKeyTest, FailingSourceIsAskedAgainWhenTheKeyZeroIsTaken) {
  create(0, bodyOf('c'), memory);
  drawFrom({4});
  FailingSource source(Pvn::Random::Posix::fd);
  int failures = 0;
  {
    const TestSupport::RtkThread user([&] {
      table->createRecord("01234567", memory.get(), recordObjectSize);
      source.done();
    });
    while (failures < 2000 &&
           source.line() == "Pvn::Random::Signed::get(): read() failed: Bad file descriptor\n") {
      ++failures;
    }
    source.mend();
  }
  EXPECT_EQ(failures, 2000);
  EXPECT_EQ(rows().back(), (Row{4, "01234567"}));
}

TEST_F(TableRandomKeyTest, NullMemoryOfNoSizeIsWarnedAbout) {
  drawFrom({4});
  EXPECT_EQ(output([&] { EXPECT_EQ(table->createRecord("01234567", nullptr, 0), nullptr); }),
            tableLine + "request(CreateRecordReq): memSize < sizeof(Record)\n");
  EXPECT_EQ(rowsInFile(), withRow(4));
}

TEST_F(TableRandomKeyTest, NullMemoryGivesNullYetTheRowIsThere) {
  drawFrom({4});
  EXPECT_EQ(output([&] {
              EXPECT_EQ(table->createRecord("01234567", nullptr, recordObjectSize), nullptr);
            }),
            "");
  EXPECT_EQ(rowsInFile(), withRow(4));
}

TEST_F(TableRandomKeyTest, ShortMemoryIsWarnedAboutAndAnsweredOnceWhenAllIsDone) {
  drawFrom({4});
  TableReq::Api::CreateRecordPayload payload("01234567", memory.get(), recordObjectSize - 1);
  ::testing::internal::CaptureStdout();
  EXPECT_EQ(serve<TableReq::Api>(*table, payload,
                                 [&] {
                                   EXPECT_FALSE(memory.isUntouched());
                                   EXPECT_EQ(rowsAtSyncs.size(), 1U);
                                 }),
            1);
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            tableLine + "request(CreateRecordReq): memSize < sizeof(Record)\n");
  EXPECT_EQ(payload._result, nullptr);
  EXPECT_EQ(rowsInFile(), withRow(4));
  ASSERT_FALSE(memory.isUntouched());
  EXPECT_EQ(handleIn<RecordHandle>(memory.get())->getKey(), 4);
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

// ---- iterate ----

class TableIterationTest : public TableTest {
 protected:
  TableIterationTest() {
    openTable({{7, bodyOf('a')}, {3, bodyOf('b')}, {-1, bodyOf('c')}, {5, bodyOf('d')}});
  }

  /// The row that the table's cursor stands on, read when no iteration runs.
  std::string rowAtCursor() {
    std::string body(recordSize, '.');
    table->read(body.data(), recordSize, 0);
    return body;
  }
};

TEST_F(TableIterationTest, VisitsTheRowsInOrder) {
  std::string bodies;
  Visitor visitor([&](RecordApi& row) {
    std::string body(recordSize, '.');
    EXPECT_EQ(row.read(body.data(), recordSize, 0), recordSize);
    bodies += body[0];
    return false;
  });
  client([&] { table->iterate(visitor); });
  EXPECT_EQ(bodies, "abcd");
  EXPECT_EQ(keysUpTo(INT_MAX), (std::vector<int>{7, 3, -1, 5}));
  EXPECT_TRUE(rowsAtSyncs.empty());
}

TEST_F(TableIterationTest, StopsAtTheRowThatSaysSo) {
  EXPECT_EQ(keysUpTo(-1), (std::vector<int>{7, 3, -1}));
}

TEST_F(TableIterationTest, StartsAnewEachTime) {
  keysUpTo(3);
  EXPECT_EQ(keysUpTo(3), (std::vector<int>{7, 3}));
}

TEST_F(TableIterationTest, CursorStaysOnTheLastRow) {
  keysUpTo(-1);
  EXPECT_EQ(rowAtCursor(), bodyOf('c'));
}

TEST_F(TableIterationTest, RunsOnTheServerThread) {
  std::string name;
  Visitor visitor([&](RecordApi&) {
    name = Rtk::Thread::getCurrent()->getName();
    return true;
  });
  client([&] { table->iterate(visitor); });
  EXPECT_EQ(name, "server");
}

TEST_F(TableIterationTest, DoesNotVisitRowsAppendedMeanwhile) {
  int visits = 0;
  Visitor visitor([&](RecordApi&) {
    RecordMemory ended;
    TableReq::Api::CreateRecordWithKeyPayload payload("appended", ended.get(), recordObjectSize,
                                                      100 + visits);
    serve<TableReq::Api>(*table, payload);
    ++visits;
    return false;
  });
  client([&] { table->iterate(visitor); });
  EXPECT_EQ(visits, 4);
  EXPECT_EQ(rows().size(), 8U);
  // The cursor has gone on to the first of the new rows.
  EXPECT_EQ(rowAtCursor(), "appended");
}

TEST_F(TableTest, IterationOfAnEmptyTableVisitsNothing) {
  openTable();
  EXPECT_TRUE(keysUpTo(0).empty());
}

// ---- The row that an iteration has come to ----

TEST_F(TableIterationTest, OpenRecordOpensTheCurrentRow) {
  RecordHandle* record = nullptr;
  Visitor visitor([&](RecordApi& row) {
    record = row.openRecord(memory.get(), recordObjectSize);
    return record->getKey() == 3;
  });
  client([&] { table->iterate(visitor); });
  EXPECT_EQ(static_cast<void*>(record), memory.get());
  EXPECT_TRUE(memory.isUntouchedBehind());
  EXPECT_EQ(read(*record), bodyOf('b')) << "beyond the iteration";
}

TEST_F(TableIterationTest, OpenRecordGivesNullSilently) {
  EXPECT_EQ(onFirstRow([&](RecordApi& row) {
              EXPECT_EQ(row.openRecord(memory.get(), recordObjectSize - 1), nullptr);
              EXPECT_EQ(row.openRecord(memory.get(), 0), nullptr);
              EXPECT_EQ(row.openRecord(nullptr, recordObjectSize), nullptr);
            }),
            "");
  EXPECT_TRUE(memory.isUntouched());
}

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

TEST_F(TableRandomKeyTest, ReturnsEachRequestOnce) {
  drawFrom({4});
  const unsigned int size = recordObjectSize;
  TableReq::Api::OpenFirstRecordPayload first(memory.get(), size);
  EXPECT_EQ(serve<TableReq::Api>(*table, first), 1);
  TableReq::Api::OpenFirstRecordPayload shortMemory(memory.get(), size - 1);
  EXPECT_EQ(serve<TableReq::Api>(*table, shortMemory), 1);
  TableReq::Api::CreateRecordWithKeyPayload withKey("01234567", memory.get(), size, 5);
  EXPECT_EQ(serve<TableReq::Api>(*table, withKey, [&] { EXPECT_EQ(rowsAtSyncs.size(), 1U); }), 1);
  TableReq::Api::CreateRecordPayload withRandomKey("01234567", memory.get(), size);
  EXPECT_EQ(serve<TableReq::Api>(*table, withRandomKey, [&] { EXPECT_EQ(rowsAtSyncs.size(), 2U); }),
            1);
  int visits = 0;
  Visitor visitor([&](RecordApi&) { return ++visits == 2; });
  AtomicReq::Api::IteratePayload iteration(visitor);
  EXPECT_EQ(serve<AtomicReq::Api>(*table, iteration, [&] { EXPECT_EQ(visits, 2); }), 1);
  TableReq::Api::DestroyPayload destruction;
  EXPECT_EQ(serve<TableReq::Api>(*table, destruction, [&] { EXPECT_EQ(rowsAtSyncs.size(), 3U); }),
            1);
  table = nullptr;
}

}  // namespace
