// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "database/StoreSync.h"

#include <optional>

#include <gtest/gtest.h>

#include "database/testing/SyncTesting.h"

namespace {

using namespace DatabaseTesting;
namespace Store = Pvn::Database::Persist::Store;
using DbApi = Pvn::Database::Db::Api;

class FakeStore : public Store::Req::Api {
 public:
  explicit FakeStore(Server& server) : sync(server, *this), _server(server) {}

  void request(Rtk::ServerRequest<Store::Req::Api, CreatePayload>& request) override {
    create = request.getPayload();
    request.getPayload()._result = handleIn<DbApi>(create->_mem);
    _server.reply(request, "create");
  }

  Store::Sync sync;
  std::optional<CreatePayload> create;

 private:
  Server& _server;
};

using StoreSyncTest = SyncTest<FakeStore>;

TEST_F(StoreSyncTest, CreateCarriesItsArgumentsThereAndItsResultBack) {
  const char* name = "name";
  DbApi* result = nullptr;
  call([&] { result = target->sync.create(name, memory, 17); });
  EXPECT_EQ(server.marks(), "call create return");
  EXPECT_EQ(target->create->_name, name);
  EXPECT_EQ(target->create->_mem, memory);
  EXPECT_EQ(target->create->_memSize, 17U);
  EXPECT_EQ(target->create->_result, nullptr);
  EXPECT_EQ(result, handleIn<DbApi>(memory));
}

TEST_F(StoreSyncTest, ResultIsNullWithoutMemory) {
  DbApi* result = handleIn<DbApi>(memory);
  call([&] { result = target->sync.create("name", nullptr, 17); });
  EXPECT_EQ(result, nullptr);
}

TEST_F(StoreSyncTest, AccessPointLeadsToTargetAndServer) {
  EXPECT_EQ(&target->sync.getSAP()->getRequestApi(), target.operator->());
  EXPECT_EQ(&target->sync.getSAP()->getPostMessageApi(), &server);
  EXPECT_EQ(target->sync.getSAP(), target->sync.getSAP());
}

}  // namespace
