// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "database/SyncCall.h"

#include <string>

#include <gtest/gtest.h>

#include "database/testing/SyncTesting.h"
#include "rtk/thread/PosixSemaphore.h"
#include "tests/support/Child.h"

namespace {

using DatabaseTesting::Server;
using Pvn::Database::syncCall;

/// A service that doubles numbers.
class Doubler {
 public:
  struct Payload {
    explicit Payload(int number) : _number(number) {}
    int _number;
    int _result = 0;
  };

  explicit Doubler(Server& server) : _server(server) {}

  void request(Rtk::ServerRequest<Doubler, Payload>& request) {
    request.getPayload()._result = 2 * request.getPayload()._number;
    _server.reply(request, "double");
  }

 private:
  Server& _server;
};

/// Serves on the spot, and tells how it was called.
class Recorder : public Rtk::PostMessageApi {
 public:
  void post(Rtk::Message& message) override {
    called += "post ";
    message.process();
  }
  void postSync(Rtk::Message& message) override {
    called += "postSync ";
    message.process();
    Rtk::Thread::wait();
  }

  std::string called;
};

class SyncCallTest : public ::testing::Test {
 protected:
  Server server;
  Doubler doubler{server};
};

TEST_F(SyncCallTest, PostsOnceAndWaits) {
  Recorder recorder;
  Rtk::SAP<Doubler> sap(doubler, recorder);
  int result = 0;
  TestSupport::onRtkThread([&] { result = syncCall<Doubler::Payload>(sap, 21)._result; });
  EXPECT_EQ(recorder.called, "postSync ");
  EXPECT_EQ(result, 42);
}

TEST_F(SyncCallTest, WaitsForAServerThatStartsLater) {
  Rtk::SAP<Doubler> sap(doubler, server);
  Rtk::PosixSemaphore calling;
  {
    const TestSupport::RtkThread client([&] {
      server.mark("call ");
      calling.signal();
      syncCall<Doubler::Payload>(sap, 1);
      server.mark("return");
    });
    calling.wait();
    server.mark("start ");
    server.start();
  }
  EXPECT_EQ(server.marks(), "call start double return");
}

TEST(SyncCallDeathTest, IsFatalOnAThreadThatTheFrameworkDidNotStart) {
  const TestSupport::Outcome outcome = TestSupport::inChild([] {
    Server server;
    Doubler doubler(server);
    Rtk::SAP<Doubler> sap(doubler, server);
    syncCall<Doubler::Payload>(sap, 1);
  });
  EXPECT_EQ(outcome.status, 255);
  EXPECT_EQ(outcome.standardError.rfind("@@ FATAL ERROR", 0), 0U) << outcome.standardError;
}

}  // namespace
