// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <climits>
#include <new>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "database/metakit/testing/TableTesting.h"

namespace {

using namespace DatabaseTesting;
using Pvn::Database::Metakit::Persist::Record;
using Pvn::Database::Table::RecordApi;
namespace RecordReq = Pvn::Database::Persist::Record::Req;
namespace TableReq = Pvn::Database::Persist::Table::Req;

class TableIterationTest : public TableTest {
 protected:
  TableIterationTest() {
    openTable({{7, bodyOf('a')}, {3, bodyOf('b')}, {-1, bodyOf('c')}, {5, bodyOf('d')}});
  }

  /// Removes a row, as a request of a record does. Server thread only.
  void removeRow(int index) {
    RecordReq::Api::DestroyPayload payload;
    RecordMemory ended;
    auto* record = new (ended.get()) Record(*table, index);
    serve<RecordReq::Api>(*record, payload);
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

TEST_F(TableIterationTest, VisitsWithoutARowReadWriteAndOpenNothingSilently) {
  std::string visits;
  std::string buffer;
  Visitor visitor([&](RecordApi& row) {
    if (visits.empty()) {
      removeRow(1);
      removeRow(2);
    }
    RecordHandle* record = row.openRecord(memory.get(), recordObjectSize);
    visits += record != nullptr ? std::to_string(record->getKey()) : "none";
    buffer.assign(recordSize, '.');
    visits += ' ' + std::to_string(row.read(buffer.data(), recordSize, 0)) + ' ' +
              std::to_string(row.write("01234567", recordSize, 0)) + ", ";
    return false;
  });
  EXPECT_EQ(output([&] { table->iterate(visitor); }), "");
  EXPECT_EQ(visits, "7 8 8, -1 8 8, none 0 0, none 0 0, ");
  EXPECT_EQ(buffer, std::string(recordSize, '.'));
  EXPECT_EQ(rows(), (Rows{{7, "01234567"}, {-1, "01234567"}}));
}

TEST_F(TableIterationTest, VisitWithoutARowChecksRangesFirst) {
  Visitor visitor([&](RecordApi& row) {
    while (!rows().empty()) {
      removeRow(0);
    }
    char byte = 0;
    EXPECT_EQ(row.read(&byte, 1, recordSize + 1), 0U);
    EXPECT_EQ(row.write(&byte, 1, recordSize), 0U);
    return true;
  });
  EXPECT_EQ(output([&] { table->iterate(visitor); }),
            tableLine + "read(): offset beyond size of record.\n" + tableLine +
                "write(): attempt to write beyond size of record.\n");
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

}  // namespace
