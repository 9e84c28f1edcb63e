// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "database/TableSync.h"

#include <optional>

#include <gtest/gtest.h>

#include "database/testing/SyncTesting.h"

namespace {

using namespace DatabaseTesting;
namespace Table = Pvn::Database::Persist::Table;
using RecordHandle = Pvn::Database::Record::Api;

class FakeTable : public Table::Req::Api {
 public:
  explicit FakeTable(Server& server) : sync(server, *this), _server(server) {}
  ~FakeTable() override { _server.mark("end "); }

  void request(Rtk::ServerRequest<Table::Req::Api, OpenFirstRecordPayload>& request) override {
    openFirstRecord = request.getPayload();
    request.getPayload()._result = handleIn<RecordHandle>(openFirstRecord->_mem);
    _server.reply(request, "openFirstRecord");
  }
  void request(Rtk::ServerRequest<Table::Req::Api, CreateRecordWithKeyPayload>& request) override {
    createRecordWithKey = request.getPayload();
    request.getPayload()._result = handleIn<RecordHandle>(createRecordWithKey->_mem);
    _server.reply(request, "createRecordWithKey");
  }
  void request(Rtk::ServerRequest<Table::Req::Api, CreateRecordPayload>& request) override {
    createRecord = request.getPayload();
    request.getPayload()._result = handleIn<RecordHandle>(createRecord->_mem);
    _server.reply(request, "createRecord");
  }
  void request(Rtk::ServerRequest<Table::Req::Api, DestroyPayload>& request) override {
    Server& server = _server;
    this->~FakeTable();
    server.reply(request, "destroy");
  }

  Table::Sync sync;
  std::optional<OpenFirstRecordPayload> openFirstRecord;
  std::optional<CreateRecordWithKeyPayload> createRecordWithKey;
  std::optional<CreateRecordPayload> createRecord;

 private:
  Server& _server;
};

class TableSyncTest : public SyncTest<FakeTable> {
 protected:
  const char data[4] = {};
  RecordHandle* result = nullptr;
};

TEST_F(TableSyncTest, OpenFirstRecordCarriesItsArgumentsThereAndItsResultBack) {
  call([&] { result = target->sync.openFirstRecord(memory, 17); });
  EXPECT_EQ(server.marks(), "call openFirstRecord return");
  EXPECT_EQ(target->openFirstRecord->_mem, memory);
  EXPECT_EQ(target->openFirstRecord->_memSize, 17U);
  EXPECT_EQ(target->openFirstRecord->_result, nullptr);
  EXPECT_EQ(result, handleIn<RecordHandle>(memory));
}

TEST_F(TableSyncTest, CreateRecordWithKeyCarriesItsArgumentsThereAndItsResultBack) {
  call([&] { result = target->sync.createRecordWithKey(data, memory, 17, -7); });
  EXPECT_EQ(server.marks(), "call createRecordWithKey return");
  EXPECT_EQ(target->createRecordWithKey->_data, data);
  EXPECT_EQ(target->createRecordWithKey->_mem, memory);
  EXPECT_EQ(target->createRecordWithKey->_memSize, 17U);
  EXPECT_EQ(target->createRecordWithKey->_key, -7);
  EXPECT_EQ(target->createRecordWithKey->_result, nullptr);
  EXPECT_EQ(result, handleIn<RecordHandle>(memory));
}

TEST_F(TableSyncTest, CreateRecordCarriesItsArgumentsThereAndItsResultBack) {
  call([&] { result = target->sync.createRecord(data, memory, 17); });
  EXPECT_EQ(server.marks(), "call createRecord return");
  EXPECT_EQ(target->createRecord->_data, data);
  EXPECT_EQ(target->createRecord->_mem, memory);
  EXPECT_EQ(target->createRecord->_memSize, 17U);
  EXPECT_EQ(target->createRecord->_result, nullptr);
  EXPECT_EQ(result, handleIn<RecordHandle>(memory));
}

TEST_F(TableSyncTest, DestroyReturnsWhenTheTargetHasEnded) {
  call([&] {
    target->sync.destroy();
    target.reuse();
  });
  EXPECT_EQ(server.marks(), "call end destroy return");
}

TEST_F(TableSyncTest, AccessPointLeadsToTargetAndServer) {
  EXPECT_EQ(&target->sync.getSAP()->getRequestApi(), target.operator->());
  EXPECT_EQ(&target->sync.getSAP()->getPostMessageApi(), &server);
}

}  // namespace
