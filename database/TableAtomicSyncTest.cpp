// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "database/TableAtomicSync.h"

#include <gtest/gtest.h>

#include "database/testing/SyncTesting.h"

namespace {

using namespace DatabaseTesting;
using Pvn::Database::Table::IteratorApi;
using Pvn::Database::Table::RecordApi;
namespace Atomic = Pvn::Database::Table::Atomic;

class FakeAtomicTable : public Atomic::Req::Api {
 public:
  explicit FakeAtomicTable(Server& server) : sync(server, *this), _server(server) {}

  void request(Rtk::ServerRequest<Atomic::Req::Api, IteratePayload>& request) override {
    iterator = &request.getPayload()._iterator;
    _server.reply(request, "iterate");
  }

  Atomic::Sync sync;
  IteratorApi* iterator = nullptr;

 private:
  Server& _server;
};

class NoIterator : public IteratorApi {
 public:
  bool nextRecord(RecordApi& /*record*/) override { return true; }
};

using TableAtomicSyncTest = SyncTest<FakeAtomicTable>;

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
