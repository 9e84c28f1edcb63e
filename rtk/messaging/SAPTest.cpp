// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/messaging/SAP.h"

#include <gtest/gtest.h>

#include "rtk/messaging/Message.h"

namespace {

struct AnyApi {};

class Nothing final : public Rtk::Message {
 public:
  void process() override {}
};

/// Notes what it is given.
class Post final : public Rtk::PostMessageApi {
 public:
  void post(Rtk::Message& message) override { posted = &message; }
  void postSync(Rtk::Message& message) override { postedSync = &message; }

  Rtk::Message* posted = nullptr;
  Rtk::Message* postedSync = nullptr;
};

class SAPTest : public ::testing::Test {
 protected:
  AnyApi api;
  Post mailbox;
  Rtk::SAP<AnyApi> sap{api, mailbox};
  Nothing message;
};

TEST_F(SAPTest, HandsMessagesOn) {
  sap.post(message);
  EXPECT_EQ(mailbox.posted, &message);
  EXPECT_EQ(mailbox.postedSync, nullptr);
}

TEST_F(SAPTest, HandsSynchronousMessagesOn) {
  sap.postSync(message);
  EXPECT_EQ(mailbox.posted, nullptr);
  EXPECT_EQ(mailbox.postedSync, &message);
}

TEST_F(SAPTest, BindsAnInterfaceToAMailbox) {
  EXPECT_EQ(&sap.getRequestApi(), &api);
  EXPECT_EQ(&sap.getPostMessageApi(), &mailbox);
}

}  // namespace
