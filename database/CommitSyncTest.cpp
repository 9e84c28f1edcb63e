// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "database/CommitSync.h"

#include <gtest/gtest.h>

#include "database/SyncTesting.h"

namespace {

using namespace DatabaseTesting;
using Pvn::Database::Persist::Commit::Sync;
using ReqApi = Pvn::Database::Persist::Commit::Req::Api;

class FakeCommit : public ReqApi {
 public:
  explicit FakeCommit(Server& server) : sync(server, *this), _server(server) {}

  void request(Rtk::ServerRequest<ReqApi, DecrInhibitPayload>& request) override {
    _server.reply(request, "decrement");
  }
  void request(Rtk::ServerRequest<ReqApi, IncrInhibitPayload>& request) override {
    _server.reply(request, "increment");
  }

  Sync sync;

 private:
  Server& _server;
};

using CommitSyncTest = SyncTest<FakeCommit>;

TEST_F(CommitSyncTest, DecrementInhibitReachesItsRequest) {
  call([&] { target->sync.decrementInhibit(); });
  EXPECT_EQ(server.marks(), "call decrement return");
}

TEST_F(CommitSyncTest, IncrementInhibitReachesItsRequest) {
  call([&] { target->sync.incrementInhibit(); });
  EXPECT_EQ(server.marks(), "call increment return");
}

TEST_F(CommitSyncTest, CallsAreServedInTheirOrder) {
  call([&] {
    target->sync.incrementInhibit();
    target->sync.incrementInhibit();
    target->sync.decrementInhibit();
  });
  EXPECT_EQ(server.marks(), "call increment increment decrement return");
}

TEST_F(CommitSyncTest, AccessPointLeadsToTargetAndServer) {
  EXPECT_EQ(&target->sync.getSAP()->getRequestApi(), target.operator->());
  EXPECT_EQ(&target->sync.getSAP()->getPostMessageApi(), &server);
}

}  // namespace
