// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/messaging/MailboxServer.h"

#include <cstdio>
#include <functional>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "rtk/messaging/ReturnHandler.h"
#include "rtk/testing/RecordedCalls.h"
#include "rtk/thread/PosixSemaphore.h"
#include "tests/support/Child.h"
#include "tests/support/RtkThread.h"

namespace {

using TestSupport::inChild;
using TestSupport::onRtkThread;
using TestSupport::Outcome;
using TestSupport::RecordedCalls;
using TestSupport::RtkThread;

using StopApi = Rtk::MailboxServerStopReqApi;
using StopRequest = Rtk::ServerRequest<StopApi, StopApi::PleaseStopPayload>;

/// A message that does what the test likes.
class Task final : public Rtk::Message {
 public:
  // NOLINTNEXTLINE(clang-analyzer-optin.cplusplus.UninitializedObject): the link is the queue's.
  explicit Task(std::function<void()> work) : _work(std::move(work)) {}
  void process() override { _work(); }

 private:
  std::function<void()> _work;
};

/// A server that marks what it is called for.
class MarkingServer final : public Rtk::MailboxServer {
 public:
  std::string marks;
  const Rtk::Message* lastBeforeSignal = nullptr;

 private:
  void initialize() override { marks += 'i'; }
  void mboxSignaled() override {
    marks += 's';
    lastBeforeSignal = Rtk::_lastMessage;
  }
};

class MailboxServerTest : public ::testing::Test, protected Rtk::ReturnHandler {
 protected:
  /// The way back of `stop`.
  void rts() override { server.marks += '!'; }

  /// What the server does with what it finds in its mailbox and what comes meanwhile, until `stop`.
  std::string serve() {
    onRtkThread([this] { server.run(); }, "server");
    return server.marks;
  }

  MarkingServer server;
  Rtk::PosixSemaphore asleep;
  Task a{[this] { server.marks += 'a'; }};
  Task b{[this] { server.marks += 'b'; }};
  StopApi::PleaseStopPayload payload;
  StopRequest stop{server, payload, *this};
};

class MailboxServerDeathTest : public MailboxServerTest {};

TEST_F(MailboxServerDeathTest, TakesASignalForFatalUnlessOverridden) {
  const Outcome outcome = inChild([] {
    Rtk::MailboxServer plain;
    std::printf("@@ FATAL ERROR [plain (0002A)]: Rtk::MailboxServer::mboxSignaled!\n. (p=%p).\n",
                static_cast<void*>(&plain));
    plain.signal();
    onRtkThread([&plain] { plain.run(); }, "plain", 0x2A);
  });
  EXPECT_EQ(outcome.status, 255);
  EXPECT_NE(outcome.standardError, "");
  EXPECT_EQ(outcome.standardError, outcome.standardOutput);
}

TEST_F(MailboxServerDeathTest, LogsThatItHasStoppedAlreadyAndGoesOn) {
  const Outcome outcome = inChild([] {
    Rtk::MailboxServer plain;
    std::printf(
        "@@ UNEXPECTED ERROR [client (0002A)]: "
        "%p: Rtk::MailboxServer::pleaseStop: attempt to stop a stopped thread.\n\n",
        static_cast<void*>(&plain));
    const RtkThread serverThread([&plain] { plain.run(); });
    onRtkThread(
        [&plain] {
          plain.pleaseStop();
          plain.pleaseStop();
        },
        "client", 0x2A);
  });
  EXPECT_EQ(outcome.status, 0);
  EXPECT_NE(outcome.standardError, "");
  EXPECT_EQ(outcome.standardError, outcome.standardOutput);
}

TEST_F(MailboxServerDeathTest, EndsTheProcessWhenStoppedFromAThreadOfAnotherKind) {
  const Outcome expected = {
      255, "", "@@ FATAL ERROR: Thread::getCurrent().  Current thread is NOT a 'Rtk::Thread'..\n"};
  EXPECT_EQ(inChild([this] {
              onRtkThread([] {});
              server.pleaseStop();
            }),
            expected);
  EXPECT_EQ(inChild([this] {
              server.post(stop);
              serve();
              server.pleaseStop();
            }),
            expected);
}

TEST_F(MailboxServerTest, InitialisesOnceAndServesInOrder) {
  server.post(b);
  server.post(a);
  server.post(stop);
  EXPECT_EQ(serve(), "iba!");
}

TEST_F(MailboxServerTest, ProcessesEachMessageToItsEnd) {
  Task posting([this] {
    server.post(a);
    server.marks += '(';
    server.post(b);
    server.post(stop);
    server.marks += ')';
  });
  server.post(posting);
  EXPECT_EQ(serve(), "i()ab!");
}

TEST_F(MailboxServerTest, NeverProcessesWhatIsBehindTheStopRequest) {
  server.post(a);
  server.post(stop);
  server.post(b);
  EXPECT_EQ(serve(), "ia!");
}

TEST_F(MailboxServerTest, FinishesTheMessageThatRequestsTheStop) {
  Task requesting([this] {
    server.request(stop);
    server.marks += 'r';
  });
  server.post(requesting);
  server.post(a);
  EXPECT_EQ(serve(), "ir!");
}

TEST_F(MailboxServerTest, IsToldOfSignalsBeforeMessages) {
  server.post(a);
  server.signal();
  server.post(stop);
  EXPECT_EQ(serve(), "isa!");
}

TEST_F(MailboxServerTest, KeepsTheMessageItBeganToProcessLast) {
  const Rtk::Message* seen[2] = {};
  Task first([&] { seen[0] = Rtk::_lastMessage; });
  Task second([&] { seen[1] = Rtk::_lastMessage; });
  server.post(first);
  server.post(second);
  server.post(stop);
  serve();
  EXPECT_EQ(seen[0], &first);
  EXPECT_EQ(seen[1], &second);
  EXPECT_EQ(Rtk::_lastMessage, &stop);
}

TEST_F(MailboxServerTest, KeepsTheLastMessageThroughSignals) {
  Task signalling([this] { server.signal(); });
  server.post(signalling);
  server.post(stop);
  EXPECT_EQ(serve(), "is!");
  EXPECT_EQ(server.lastBeforeSignal, &signalling);
}

TEST_F(MailboxServerTest, HoldsNoLockWhileItProcesses) {
  std::string calls;
  onRtkThread([&] {
    RecordedCalls recorded;
    Task marking([&] { recorded.mark("processed"); });
    server.post(marking);
    server.post(stop);
    recorded.mark("posted");
    server.run();
    calls = recorded.text();
  });
  EXPECT_EQ(calls.substr(calls.find("posted")),
            "posted\n"
            "pthread_mutex_lock\npthread_mutex_unlock\n"
            "processed\n"
            "pthread_mutex_lock\npthread_mutex_unlock\n");
}

TEST_F(MailboxServerTest, ReturnsToWhoStopsItWhenItHasLeftItsLoop) {
  const RtkThread serverThread([this] { server.run(); });
  onRtkThread([this] {
    server.post(a);
    server.pleaseStop();
    server.marks += '.';
  });
  EXPECT_EQ(server.marks, "ia.");
}

TEST_F(MailboxServerTest, LetsWhoStopsItSleepUntilItHasAThread) {
  {
    const RtkThread client([this] {
      RecordedCalls calls;
      calls.before("sem_wait", [this] {
        server.marks += 'z';
        asleep.signal();
      });
      server.pleaseStop();
      server.marks += '.';
    });
    asleep.wait();
    onRtkThread([this] { server.run(); });
  }
  EXPECT_EQ(server.marks, "zi.");
}

TEST_F(MailboxServerTest, AnswersOnlyTheFirstOfTwoThatStopIt) {
  const auto stopIt = [this] {
    RecordedCalls calls;
    calls.before("sem_wait", [this] { asleep.signal(); });
    server.pleaseStop();
  };
  RtkThread first(stopIt);
  asleep.wait();
  RtkThread second(stopIt);
  asleep.wait();
  onRtkThread([this] { server.run(); });
  EXPECT_EQ(first.signals(), 1);
  EXPECT_EQ(second.signals(), 0);
  second.thread().signal();
}

TEST_F(MailboxServerTest, LetsWhoCallsItAfterItsStopSleep) {
  server.post(stop);
  serve();
  {
    RtkThread client([this] {
      RecordedCalls calls;
      calls.before("sem_wait", [this] {
        server.marks += 'z';
        asleep.signal();
      });
      server.postSync(a);
      server.marks += '.';
    });
    asleep.wait();
    client.thread().signal();
  }
  EXPECT_EQ(server.marks, "i!z.");
}

TEST_F(MailboxServerTest, DoesNothingToInitialiseByDefault) {
  Rtk::MailboxServer plain;
  std::string marks;
  Task task([&marks] { marks += 'a'; });
  plain.post(task);
  const RtkThread serverThread([&plain] { plain.run(); });
  onRtkThread([&plain] { plain.pleaseStop(); });
  EXPECT_EQ(marks, "a");
}

}  // namespace
