// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "database/CommitSync.h"

#include <gtest/gtest.h>

#include "database/testing/SyncTesting.h"

namespace {

using namespace DatabaseTesting;
namespace Commit = Pvn::Database::Persist::Commit;

class FakeCommit : public Commit::Req::Api {
 public:
  explicit FakeCommit(Server& server) : sync(server, *this), _server(server) {}

  void request(Rtk::ServerRequest<Commit::Req::Api, DecrInhibitPayload>& request) override {
    _server.reply(request, "decrement");
  }
  void request(Rtk::ServerRequest<Commit::Req::Api, IncrInhibitPayload>& request) override {
    _server.reply(request, "increment");
  }

  Commit::Sync sync;

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
