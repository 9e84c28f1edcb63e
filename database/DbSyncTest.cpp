// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "database/DbSync.h"

#include <optional>

#include <gtest/gtest.h>

#include "database/testing/SyncTesting.h"

namespace {

using namespace DatabaseTesting;
namespace Db = Pvn::Database::Persist::Db;
using TableApi = Pvn::Database::Table::Api;

class FakeDb : public Db::Req::Api {
 public:
  explicit FakeDb(Server& server) : sync(server, *this), _server(server) {}
  ~FakeDb() override { _server.mark("end "); }

  void request(Rtk::ServerRequest<Db::Req::Api, CreateTablePayload>& request) override {
    createTable = request.getPayload();
    request.getPayload()._result = handleIn<TableApi>(createTable->_mem);
    _server.reply(request, "createTable");
  }
  void request(Rtk::ServerRequest<Db::Req::Api, DestroyPayload>& request) override {
    Server& server = _server;
    this->~FakeDb();
    server.reply(request, "destroy");
  }

  Db::Sync sync;
  std::optional<CreateTablePayload> createTable;

 private:
  Server& _server;
};

using DbSyncTest = SyncTest<FakeDb>;

TEST_F(DbSyncTest, CreateTableCarriesItsArgumentsThereAndItsResultBack) {
  const char* name = "name";
  TableApi* result = nullptr;
  call([&] { result = target->sync.createTable(name, 2040, memory, 17); });
  EXPECT_EQ(server.marks(), "call createTable return");
  EXPECT_EQ(target->createTable->_name, name);
  EXPECT_EQ(target->createTable->_recordSize, 2040U);
  EXPECT_EQ(target->createTable->_mem, memory);
  EXPECT_EQ(target->createTable->_memSize, 17U);
  EXPECT_EQ(target->createTable->_result, nullptr);
  EXPECT_EQ(result, handleIn<TableApi>(memory));
}

TEST_F(DbSyncTest, DestroyReturnsWhenTheTargetHasEnded) {
  call([&] {
    target->sync.destroy();
    target.reuse();
  });
  EXPECT_EQ(server.marks(), "call end destroy return");
}

TEST_F(DbSyncTest, AccessPointLeadsToTargetAndServer) {
  EXPECT_EQ(&target->sync.getSAP()->getRequestApi(), target.operator->());
  EXPECT_EQ(&target->sync.getSAP()->getPostMessageApi(), &server);
}

}  // namespace
