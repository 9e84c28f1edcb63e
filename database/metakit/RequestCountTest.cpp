// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <functional>
#include <vector>

#include <gtest/gtest.h>

#include "database/metakit/testing/DatabaseTesting.h"

// What a client asks of a handle is done by one request; what needs no server posts none.

namespace {

using namespace DatabaseTesting;

class RequestCountTest : public DatabaseTest {
 protected:
  struct Step {
    const char* name;
    std::function<void()> call;
    int requests;
  };

  /// Runs the steps on a client thread, one after the other.
  void expectRequests(const std::vector<Step>& steps) {
    for (const Step& step : steps) {
      const int before = server.requests();
      client(step.call);
      EXPECT_EQ(server.requests() - before, step.requests) << step.name;
    }
  }

  RandomSource randomSource;
  RecordMemory memory;
  RecordHandle* record = nullptr;
  char buffer[recordSize] = {};
};

TEST_F(RequestCountTest, StoreAndDatabasePostOneRequestPerOperation) {
  auto& inhibit = *service.getCommitSyncApi();
  expectRequests({
      {"open", [&] { service.open(); }, 1},
      {"create", [&] { db = service.create("", dbMemory.get(), dbSize); }, 1},
      {"createTable",
       [&] {
         table = static_cast<Table*>(
             db->createTable("Table", recordSize, tableMemory.get(), tableSize));
       },
       1},
      {"incrementInhibit", [&] { inhibit.incrementInhibit(); }, 1},
      {"decrementInhibit", [&] { inhibit.decrementInhibit(); }, 1},
      {"commit", [&] { service.commit(); }, 0},
      {"table destroy", [&] { table->destroy(); }, 1},
      {"db destroy", [&] { db->destroy(); }, 1},
      {"close", [&] { service.close(); }, 1},
  });
  table = nullptr;
}

TEST_F(RequestCountTest, TablePostsOneRequestPerOperation) {
  openTable({{7, whole}, {3, whole}});
  RecordMemory visited;
  Visitor visitor([&](Pvn::Database::Table::RecordApi& row) {
    row.openRecord(visited.get(), recordObjectSize)->~Api();
    row.read(buffer, recordSize, 0);
    row.write(whole.data(), recordSize, 0);
    return false;
  });
  const unsigned int size = recordObjectSize;
  expectRequests({
      {"openFirstRecord", [&] { record = table->openFirstRecord(memory.get(), size); }, 1},
      {"record destructor", [&] { record->~Api(); }, 0},
      {"createRecordWithKey",
       [&] { record = table->createRecordWithKey(whole.data(), memory.get(), size, 9); }, 1},
      {"createRecord", [&] { record = table->createRecord(whole.data(), memory.get(), size); }, 1},
      {"iterate", [&] { table->iterate(visitor); }, 1},
      {"commit", [&] { table->commit(); }, 0},
  });
  EXPECT_EQ(rows().size(), 4U);
}

TEST_F(RequestCountTest, RecordPostsOneRequestPerOperation) {
  openTable({{7, bodyOf('a')}});
  client([&] { record = table->openFirstRecord(memory.get(), recordObjectSize); });
  expectRequests({
      {"getKey", [&] { EXPECT_EQ(record->getKey(), 7); }, 0},
      {"read", [&] { record->read(buffer, recordSize, 0); }, 1},
      {"write", [&] { record->write(whole.data(), recordSize, 0); }, 1},
      {"getReadApi", [&] { record->getReadApi()->read(buffer, recordSize, 0); }, 1},
      {"getWriteApi", [&] { record->getWriteApi()->write(whole.data(), recordSize, 0); }, 1},
      {"destroy", [&] { record->destroy(); }, 1},
  });
  EXPECT_TRUE(rows().empty());
}

}  // namespace
