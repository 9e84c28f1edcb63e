// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "database/TableAtomicSync.h"

#include <gtest/gtest.h>

#include "database/SyncTesting.h"

namespace {

using namespace DatabaseTesting;
using Pvn::Database::Table::IteratorApi;
using Pvn::Database::Table::RecordApi;
using Pvn::Database::Table::Atomic::Sync;
using ReqApi = Pvn::Database::Table::Atomic::Req::Api;

class FakeTable : public ReqApi {
 public:
  explicit FakeTable(Server& server) : sync(server, *this), _server(server) {}

  void request(Rtk::ServerRequest<ReqApi, IteratePayload>& request) override {
    iterator = &request.getPayload()._iterator;
    _server.reply(request, "iterate");
  }

  Sync sync;
  IteratorApi* iterator = nullptr;

 private:
  Server& _server;
};

class NoIterator : public IteratorApi {
 public:
  bool nextRecord(RecordApi& /*record*/) override { return true; }
};

using TableAtomicSyncTest = SyncTest<FakeTable>;

TEST_F(TableAtomicSyncTest, IterateCarriesTheIteratorItself) {
  NoIterator iterator;
  call([&] { target->sync.iterate(iterator); });
  EXPECT_EQ(server.marks(), "call iterate return");
  EXPECT_EQ(target->iterator, &iterator);
}

TEST_F(TableAtomicSyncTest, AccessPointLeadsToTargetAndServer) {
  EXPECT_EQ(&target->sync.getSAP()->getRequestApi(), target.operator->());
  EXPECT_EQ(&target->sync.getSAP()->getPostMessageApi(), &server);
}

}  // namespace
