// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <atomic>
#include <cstddef>
#include <cstring>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "rtk/list/SList.h"
#include "rtk/messaging/Close.h"
#include "rtk/messaging/GetMessageApi.h"
#include "rtk/messaging/Mailbox.h"
#include "rtk/messaging/MailboxServer.h"
#include "rtk/messaging/Message.h"
#include "rtk/messaging/Open.h"
#include "rtk/messaging/PostMessageApi.h"
#include "rtk/messaging/ReturnHandler.h"
#include "rtk/messaging/SAP.h"
#include "rtk/messaging/ServerMessage.h"
#include "rtk/messaging/ServerRequest.h"
#include "rtk/messaging/SyncReturnHandler.h"
#include "rtk/testing/RecordedCalls.h"
#include "rtk/thread/PosixSemaphore.h"
#include "tests/support/ObjectLayout.h"
#include "tests/support/RtkThread.h"
#include "tests/support/SlotOrder.h"

// The operations of these classes are reached by their slot in the table of virtual functions, and
// a core dump is read by the place of the members: both orders are part of the interface.

namespace {

using Rtk::Mailbox;
using Rtk::MailboxServer;
using TestSupport::onRtkThread;
using TestSupport::placeOf;
using TestSupport::pointerAt;
using TestSupport::RecordedCalls;
using TestSupport::RtkThread;
using TestSupport::sizeInPointers;
using TestSupport::slotBehind;
using TestSupport::slotOf;

using OpenRequest = Rtk::ServerRequest<Rtk::OpenReqApi, Rtk::OpenReqApi::OpenPayload>;
using CloseRequest = Rtk::ServerRequest<Rtk::CloseReqApi, Rtk::CloseReqApi::ClosePayload>;
using StopApi = Rtk::MailboxServerStopReqApi;
using StopRequest = Rtk::ServerRequest<StopApi, StopApi::PleaseStopPayload>;
using OpenSAP = Rtk::SAP<Rtk::OpenReqApi>;

/// Opens what a server keeps for those derived from it.
class Server final : public MailboxServer {
 public:
  using MailboxServer::initialize;
  using MailboxServer::mboxSignaled;
};

class AnyService final : public Rtk::Close {
 public:
  using Close::Close;
  void request(OpenRequest&) override {}
  void request(CloseRequest&) override {}
};

class MessagingLayoutTest : public ::testing::Test, protected Rtk::ReturnHandler {
 protected:
  void rts() override {}

  Server server;
  AnyService service{server};
  StopApi::PleaseStopPayload payload;
  StopRequest message{server, payload, *this};
  StopRequest second{server, payload, *this};
};

TEST_F(MessagingLayoutTest, KeepsTheOrderOfVirtualOperations) {
  struct Class {
    const char* name;
    std::vector<std::size_t> slots;
    std::vector<std::size_t> expected;
  };
  // A step of three tells that the destructor stands between the two, a 2 that it begins.
  const Class classes[] = {
      {"Message", {slotOf(&Rtk::Message::process), slotBehind<Rtk::Message>()}, {0, 3}},
      {"ReturnHandler", {slotOf(&ReturnHandler::rts), slotBehind<ReturnHandler>()}, {0, 3}},
      {"ServerMessage",
       {slotOf(&Rtk::ServerMessage::process), slotBehind<Rtk::ServerMessage>()},
       {0, 3}},
      {"SyncReturnHandler",
       {slotOf(&Rtk::SyncReturnHandler::rts), slotBehind<Rtk::SyncReturnHandler>()},
       {0, 3}},
      {"ServerRequest", {slotOf(&StopRequest::process), slotBehind<StopRequest>()}, {0, 3}},
      {"SAP",
       {slotOf(&OpenSAP::post), slotOf(&OpenSAP::postSync), slotOf(&OpenSAP::getRequestApi),
        slotBehind<OpenSAP>()},
       {0, 1, 4, 5}},
      {"OpenReqApi", {slotOf(&Rtk::OpenReqApi::request), slotBehind<Rtk::OpenReqApi>()}, {0, 3}},
      {"OpenSyncApi", {slotOf(&Rtk::OpenSyncApi::open), slotBehind<Rtk::OpenSyncApi>()}, {2, 3}},
      {"CloseReqApi", {slotOf(&Rtk::CloseReqApi::request), slotBehind<Rtk::CloseReqApi>()}, {0, 3}},
      {"CloseSyncApi",
       {slotOf(&Rtk::CloseSyncApi::close), slotBehind<Rtk::CloseSyncApi>()},
       {0, 3}},
      {"Open", {slotOf(&Rtk::Open::open), slotBehind<Rtk::Open>()}, {2, 3}},
      {"Close",
       {slotOf(&Rtk::Close::open), slotOf(&Rtk::Close::close), slotBehind<Rtk::Close>()},
       {2, 3, 4}},
      {"GetMessageApi",
       {slotOf(&Rtk::GetMessageApi::waitNext), slotBehind<Rtk::GetMessageApi>()},
       {0, 3}},
      {"PostMessageApi",
       {slotOf(&Rtk::PostMessageApi::post), slotOf(&Rtk::PostMessageApi::postSync),
        slotBehind<Rtk::PostMessageApi>()},
       {0, 1, 4}},
      {"MailboxServerStopReqApi", {slotOf(&StopApi::request), slotBehind<StopApi>()}, {0, 3}},
      {"Mailbox",
       {slotOf(&Mailbox::waitNext), slotOf(&Mailbox::post), slotOf(&Mailbox::postSync),
        slotOf(&Mailbox::signal), slotOf(&Mailbox::suSignal), slotBehind<Mailbox>()},
       {0, 3, 4, 5, 6, 7}},
      {"MailboxServer",
       {slotOf(&MailboxServer::run), slotOf(&MailboxServer::pleaseStop),
        slotOf(&MailboxServer::request), slotOf(&Server::initialize), slotOf(&Server::mboxSignaled),
        slotBehind<MailboxServer>()},
       {2, 3, 4, 5, 6, 7}},
  };
  for (const Class& test : classes) {
    EXPECT_EQ(test.slots, test.expected) << test.name;
  }
}

// Each of these lacks one operation, which is pure in its base.
class WithoutPost : public Rtk::PostMessageApi {
  void postSync(Rtk::Message&) override {}
};
class WithoutPostSync : public Rtk::PostMessageApi {
  void post(Rtk::Message&) override {}
};
class WithoutOpenRequest : public Rtk::Close {
  using Rtk::OpenReqApi::request;
  void request(CloseRequest&) override {}
};
class WithoutCloseRequest : public Rtk::Close {
  using Rtk::CloseReqApi::request;
  void request(OpenRequest&) override {}
};

TEST_F(MessagingLayoutTest, LeavesPureOperationsToDerivedClasses) {
  EXPECT_TRUE(std::is_abstract_v<Rtk::Message>);
  EXPECT_TRUE(std::is_abstract_v<Rtk::ServerMessage>);
  EXPECT_TRUE(std::is_abstract_v<Rtk::ReturnHandler>);
  EXPECT_TRUE(std::is_abstract_v<Rtk::GetMessageApi>);
  EXPECT_TRUE(std::is_abstract_v<Rtk::OpenReqApi>);
  EXPECT_TRUE(std::is_abstract_v<Rtk::OpenSyncApi>);
  EXPECT_TRUE(std::is_abstract_v<Rtk::CloseReqApi>);
  EXPECT_TRUE(std::is_abstract_v<Rtk::CloseSyncApi>);
  EXPECT_TRUE(std::is_abstract_v<StopApi>);
  EXPECT_TRUE(std::is_abstract_v<Rtk::Open>);
  EXPECT_TRUE(std::is_abstract_v<WithoutOpenRequest>);
  EXPECT_TRUE(std::is_abstract_v<WithoutCloseRequest>);
  EXPECT_TRUE(std::is_abstract_v<WithoutPost>);
  EXPECT_TRUE(std::is_abstract_v<WithoutPostSync>);
}

TEST_F(MessagingLayoutTest, LeavesTheOperationsOfAServersMailboxWhereTheyAre) {
  EXPECT_TRUE((std::is_same_v<decltype(&MailboxServer::waitNext), decltype(&Mailbox::waitNext)>));
  EXPECT_TRUE((std::is_same_v<decltype(&MailboxServer::post), decltype(&Mailbox::post)>));
  EXPECT_TRUE((std::is_same_v<decltype(&MailboxServer::postSync), decltype(&Mailbox::postSync)>));
  EXPECT_TRUE((std::is_same_v<decltype(&MailboxServer::signal), decltype(&Mailbox::signal)>));
  EXPECT_TRUE((std::is_same_v<decltype(&MailboxServer::suSignal), decltype(&Mailbox::suSignal)>));
}

TEST_F(MessagingLayoutTest, CarriesNoTypeInformation) {
  const auto typeInformation = [](const auto& object) {
    const void* pointer = nullptr;
    std::memcpy(&pointer, static_cast<const void* const*>(pointerAt(object, 0)) - 1,
                sizeof pointer);
    return pointer;
  };
  EXPECT_EQ(typeInformation(static_cast<Rtk::Message&>(message)), nullptr);
  EXPECT_EQ(typeInformation(Mailbox()), nullptr);
  EXPECT_EQ(typeInformation(MailboxServer()), nullptr);
  onRtkThread([&] { EXPECT_EQ(typeInformation(Rtk::SyncReturnHandler()), nullptr); });
}

TEST_F(MessagingLayoutTest, HasInterfacesAndPayloadsWithoutData) {
  EXPECT_EQ(sizeInPointers<Rtk::ReturnHandler>, 1U);
  EXPECT_EQ(sizeInPointers<Rtk::OpenReqApi>, 1U);
  EXPECT_EQ(sizeInPointers<Rtk::OpenSyncApi>, 1U);
  EXPECT_EQ(sizeInPointers<Rtk::CloseReqApi>, 1U);
  EXPECT_EQ(sizeInPointers<Rtk::CloseSyncApi>, 1U);
  EXPECT_EQ(sizeInPointers<Rtk::GetMessageApi>, 1U);
  EXPECT_EQ(sizeInPointers<Rtk::PostMessageApi>, 1U);
  EXPECT_EQ(sizeInPointers<StopApi>, 1U);
  EXPECT_TRUE(std::is_empty_v<Rtk::OpenReqApi::OpenPayload>);
  EXPECT_TRUE(std::is_empty_v<Rtk::CloseReqApi::ClosePayload>);
  EXPECT_TRUE(std::is_empty_v<StopApi::PleaseStopPayload>);
}

TEST_F(MessagingLayoutTest, KeepsTheLinkThenTheWayBackThenTheCallInARequest) {
  Rtk::SList<Rtk::Message> queue;
  queue.put(message);
  queue.put(second);
  EXPECT_EQ(sizeInPointers<Rtk::Message>, 2U);
  EXPECT_EQ(pointerAt(message, 1), static_cast<Rtk::Message*>(&second));
  EXPECT_EQ(pointerAt(second, 1), nullptr);
  EXPECT_EQ(sizeInPointers<Rtk::ServerMessage>, 3U);
  EXPECT_EQ(pointerAt(message, 2), static_cast<Rtk::ReturnHandler*>(this));
  EXPECT_EQ(sizeInPointers<StopRequest>, 5U);
  EXPECT_EQ(pointerAt(message, 3), static_cast<StopApi*>(&server));
  EXPECT_EQ(pointerAt(message, 4), &payload);
}

TEST_F(MessagingLayoutTest, KeepsTheSenderInItsReturnHandler) {
  EXPECT_EQ(sizeInPointers<Rtk::SyncReturnHandler>, 2U);
  onRtkThread([] {
    const Rtk::SyncReturnHandler handler;
    EXPECT_EQ(pointerAt(handler, 1), Rtk::Thread::getCurrent());
  });
}

TEST_F(MessagingLayoutTest, KeepsTheInterfaceBeforeTheMailboxInAnAccessPoint) {
  const OpenSAP sap(service, server);
  EXPECT_EQ(sizeInPointers<OpenSAP>, 3U);
  EXPECT_EQ(pointerAt(sap, 1), static_cast<Rtk::OpenReqApi*>(&service));
  EXPECT_EQ(pointerAt(sap, 2), static_cast<Rtk::PostMessageApi*>(&server));
}

TEST_F(MessagingLayoutTest, KeepsTheAccessPointBehindTheBasesOfAService) {
  EXPECT_EQ(placeOf(service, static_cast<Rtk::OpenSyncApi&>(service)), 0U);
  EXPECT_EQ(placeOf(service, static_cast<Rtk::OpenReqApi&>(service)), 1U);
  EXPECT_EQ(placeOf(service, service.getRtkOpenSAP()), 2U);
  EXPECT_EQ(pointerAt(service, 5), static_cast<Rtk::PostMessageApi*>(&server));
  EXPECT_EQ(sizeInPointers<Rtk::Open>, 6U);
  EXPECT_EQ(placeOf(service, static_cast<Rtk::CloseSyncApi&>(service)), 6U);
  EXPECT_EQ(placeOf(service, static_cast<Rtk::CloseReqApi&>(service)), 7U);
  EXPECT_EQ(placeOf(service, service.getRtkCloseSAP()), 8U);
  EXPECT_EQ(sizeInPointers<Rtk::Close>, 11U);
}

TEST_F(MessagingLayoutTest, KeepsTheQueueThenTheWaiterThenTheSignalInAMailbox) {
  Mailbox mailbox;
  const auto signaled = [&mailbox] {
    return reinterpret_cast<const char*>(&mailbox)[6 * sizeof(void*)];
  };
  EXPECT_EQ(placeOf(mailbox, static_cast<Rtk::GetMessageApi&>(mailbox)), 0U);
  EXPECT_EQ(placeOf(mailbox, static_cast<Rtk::PostMessageApi&>(mailbox)), 1U);
  EXPECT_EQ(placeOf(mailbox, static_cast<Rtk::Signaled&>(mailbox)), 2U);
  EXPECT_EQ(pointerAt(mailbox, 3), nullptr);
  EXPECT_EQ(pointerAt(mailbox, 4), nullptr);
  EXPECT_EQ(pointerAt(mailbox, 5), nullptr);
  EXPECT_EQ(signaled(), 0);
  EXPECT_EQ(pointerAt(mailbox, 8), pointerAt(Rtk::PrivilegedMutex(), 1));
  EXPECT_EQ(sizeInPointers<Mailbox>, 9U);

  mailbox.post(message);
  mailbox.post(second);
  mailbox.signal();
  EXPECT_EQ(pointerAt(mailbox, 3), &message);
  EXPECT_EQ(pointerAt(mailbox, 4), &second);
  EXPECT_EQ(signaled(), 1);
}

TEST_F(MessagingLayoutTest, KeepsItsOwnerInAMailboxWhileThatSleeps) {
  Mailbox mailbox;
  Rtk::PosixSemaphore asleep;
  {
    RtkThread owner([&] {
      RecordedCalls calls;
      calls.before("sem_wait", [&asleep] { asleep.signal(); });
      mailbox.waitNext();
    });
    asleep.wait();
    EXPECT_EQ(pointerAt(mailbox, 5), &owner.thread());
    mailbox.signal();
  }
  EXPECT_EQ(pointerAt(mailbox, 5), nullptr);
}

TEST_F(MessagingLayoutTest, KeepsTheStopRequestBehindTheBasesOfAServer) {
  EXPECT_EQ(placeOf(server, static_cast<Rtk::Runnable&>(server)), 0U);
  EXPECT_EQ(placeOf(server, static_cast<Mailbox&>(server)), 1U);
  EXPECT_EQ(placeOf(server, static_cast<StopApi&>(server)), 10U);
  EXPECT_EQ(sizeInPointers<MailboxServer>, 12U);
  EXPECT_EQ(pointerAt(server, 11), nullptr);
  server.request(message);
  EXPECT_EQ(pointerAt(server, 11), &message);
}

TEST_F(MessagingLayoutTest, TakesNoHiddenLockForWhatItChangesWithoutOne) {
  EXPECT_TRUE(std::atomic<Rtk::Thread*>::is_always_lock_free);
  EXPECT_TRUE(std::atomic<bool>::is_always_lock_free);
}

}  // namespace
