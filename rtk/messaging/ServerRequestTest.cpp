// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/messaging/ServerRequest.h"

#include <gtest/gtest.h>

#include "rtk/list/SList.h"
#include "rtk/messaging/Mailbox.h"
#include "rtk/messaging/SyncReturnHandler.h"
#include "tests/support/RtkThread.h"

namespace {

/// A request interface for two kinds of request.
class Api {
 public:
  struct AddPayload {
    int a = 0;
    int b = 0;
    int sum = 0;
  };
  struct NegatePayload {
    int value = 0;
  };

  virtual void request(Rtk::ServerRequest<Api, AddPayload>& request) = 0;
  virtual void request(Rtk::ServerRequest<Api, NegatePayload>& request) = 0;
  virtual ~Api() = default;
};

using AddRequest = Rtk::ServerRequest<Api, Api::AddPayload>;
using NegateRequest = Rtk::ServerRequest<Api, Api::NegatePayload>;

class Service final : public Api {
 public:
  void request(AddRequest& request) override {
    handled = &request;
    request.getPayload().sum = request.getPayload().a + request.getPayload().b;
  }
  void request(NegateRequest& request) override {
    handled = &request;
    request.getPayload().value = -request.getPayload().value;
  }

  Rtk::Message* handled = nullptr;
};

class Returns final : public Rtk::ReturnHandler {
 public:
  void rts() override { ++count; }

  int count = 0;
};

class ServerRequestTest : public ::testing::Test {
 protected:
  Service service;
  Returns returns;
  Api::AddPayload numbers;
  Api::NegatePayload number;
  AddRequest add{service, numbers, returns};
  NegateRequest negate{service, number, returns};
};

TEST_F(ServerRequestTest, CallsTheOperationOfItsPayloadWithItself) {
  add.process();
  EXPECT_EQ(service.handled, &add);
  negate.process();
  EXPECT_EQ(service.handled, &negate);
}

TEST_F(ServerRequestTest, CarriesArgumentsThereAndResultsBack) {
  EXPECT_EQ(&add.getPayload(), &numbers);
  numbers.a = 2;
  numbers.b = 3;
  add.process();
  EXPECT_EQ(numbers.sum, 5);
}

TEST_F(ServerRequestTest, IsReturnedByItsHandlerAlone) {
  negate.process();
  EXPECT_EQ(returns.count, 0);
  negate.returnToSender();
  EXPECT_EQ(returns.count, 1);
}

TEST_F(ServerRequestTest, WakesASenderThatDoesNotSleepYet) {
  /// Processes what is posted on the spot.
  class Hasty final : public Rtk::Mailbox {
   public:
    void post(Rtk::Message& message) override { message.process(); }
  };
  class Returning final : public Api {
   public:
    void request(AddRequest& request) override { request.returnToSender(); }
    void request(NegateRequest& request) override {
      request.getPayload().value = -request.getPayload().value;
      request.returnToSender();
    }
  };
  number.value = 7;
  TestSupport::onRtkThread([this] {
    Hasty mailbox;
    Returning returning;
    Rtk::SyncReturnHandler handler;
    NegateRequest request(returning, number, handler);
    mailbox.postSync(request);
  });
  EXPECT_EQ(number.value, -7);
}

TEST_F(ServerRequestTest, IsProcessedThroughItsBase) {
  number.value = 7;
  Rtk::SList<Rtk::Message> queue;
  queue.put(negate);
  queue.get()->process();
  EXPECT_EQ(number.value, -7);
}

}  // namespace
