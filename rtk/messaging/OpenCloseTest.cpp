// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <string>

#include <gtest/gtest.h>

#include "rtk/messaging/Close.h"
#include "rtk/messaging/MailboxServer.h"
#include "rtk/messaging/Open.h"
#include "rtk/messaging/SyncReturnHandler.h"
#include "rtk/thread/Thread.h"
#include "tests/support/Child.h"
#include "tests/support/RtkThread.h"

namespace {

using TestSupport::inChild;
using TestSupport::onRtkThread;
using TestSupport::Outcome;
using TestSupport::RtkThread;

using OpenRequest = Rtk::ServerRequest<Rtk::OpenReqApi, Rtk::OpenReqApi::OpenPayload>;
using CloseRequest = Rtk::ServerRequest<Rtk::CloseReqApi, Rtk::CloseReqApi::ClosePayload>;

/// Notes the requests and on which thread they come.
class OpenService final : public Rtk::Open {
 public:
  using Open::Open;
  void request(OpenRequest& request) override {
    marks += std::string("open on ") + Rtk::Thread::getCurrent()->getName() + "\n";
    request.returnToSender();
  }

  std::string marks;
};

class CloseService final : public Rtk::Close {
 public:
  using Close::Close;
  void request(OpenRequest& request) override {
    marks += std::string("open on ") + Rtk::Thread::getCurrent()->getName() + "\n";
    request.returnToSender();
  }
  void request(CloseRequest& request) override {
    marks += std::string("close on ") + Rtk::Thread::getCurrent()->getName() + "\n";
    request.returnToSender();
  }

  std::string marks;
};

/// Runs a client against a server, each on a thread of its own.
template <class Service>
class ServiceTest : public ::testing::Test {
 protected:
  template <class Client>
  std::string marksOf(const Client& client) {
    const RtkThread serverThread([this] { server.run(); }, "server");
    onRtkThread(
        [&] {
          client();
          server.pleaseStop();
        },
        "client");
    return service.marks;
  }

  Rtk::MailboxServer server;
  Service service{server};
};

class OpenTest : public ServiceTest<OpenService> {};
class CloseTest : public ServiceTest<CloseService> {};
class OpenDeathTest : public OpenTest {};
class CloseDeathTest : public CloseTest {};

const Outcome notAnRtkThread = {
    255, "", "@@ FATAL ERROR: Thread::getCurrent().  Current thread is NOT a 'Rtk::Thread'..\n"};

TEST_F(OpenDeathTest, EndsTheProcessOnAThreadOfAnotherKind) {
  EXPECT_EQ(inChild([this] {
              onRtkThread([] {});
              service.open();
            }),
            notAnRtkThread);
}

TEST_F(CloseDeathTest, EndsTheProcessOnAThreadOfAnotherKind) {
  EXPECT_EQ(inChild([this] {
              onRtkThread([] {});
              service.close();
            }),
            notAnRtkThread);
}

TEST_F(OpenTest, OpensOnTheThreadOfTheServer) {
  EXPECT_EQ(marksOf([this] {
              service.open();
              service.marks += "back\n";
            }),
            "open on server\nback\n");
}

TEST_F(OpenTest, LeavesASecondOpenToTheService) {
  EXPECT_EQ(marksOf([this] {
              service.open();
              service.open();
            }),
            "open on server\nopen on server\n");
}

TEST_F(OpenTest, IsReachedThroughItsAccessPoint) {
  Rtk::SAP<Rtk::OpenReqApi>& sap = service.getRtkOpenSAP();
  EXPECT_EQ(&sap.getRequestApi(), static_cast<Rtk::OpenReqApi*>(&service));
  EXPECT_EQ(&sap.getPostMessageApi(), static_cast<Rtk::PostMessageApi*>(&server));
  EXPECT_EQ(marksOf([&sap] {
              Rtk::SyncReturnHandler handler;
              Rtk::OpenReqApi::OpenPayload payload;
              OpenRequest request(sap.getRequestApi(), payload, handler);
              sap.postSync(request);
            }),
            "open on server\n");
}

TEST_F(CloseTest, OpensAndClosesOnTheThreadOfTheServer) {
  EXPECT_EQ(marksOf([this] {
              service.open();
              service.marks += "back\n";
              service.close();
              service.marks += "back\n";
            }),
            "open on server\nback\nclose on server\nback\n");
}

TEST_F(CloseTest, CanBeOpenedAgain) {
  EXPECT_EQ(marksOf([this] {
              service.close();
              service.open();
            }),
            "close on server\nopen on server\n");
}

TEST_F(CloseTest, IsReachedThroughItsAccessPoints) {
  EXPECT_EQ(&service.getRtkOpenSAP().getRequestApi(), static_cast<Rtk::OpenReqApi*>(&service));
  Rtk::SAP<Rtk::CloseReqApi>& sap = service.getRtkCloseSAP();
  EXPECT_EQ(&sap.getRequestApi(), static_cast<Rtk::CloseReqApi*>(&service));
  EXPECT_EQ(&sap.getPostMessageApi(), static_cast<Rtk::PostMessageApi*>(&server));
  EXPECT_EQ(marksOf([&sap] {
              Rtk::SyncReturnHandler handler;
              Rtk::CloseReqApi::ClosePayload payload;
              CloseRequest request(sap.getRequestApi(), payload, handler);
              sap.postSync(request);
            }),
            "close on server\n");
}

}  // namespace
