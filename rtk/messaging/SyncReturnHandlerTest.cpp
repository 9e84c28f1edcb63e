// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/messaging/SyncReturnHandler.h"

#include <optional>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "rtk/testing/RecordedCalls.h"
#include "rtk/thread/PosixSemaphore.h"
#include "tests/support/Child.h"
#include "tests/support/RtkThread.h"

namespace {

using Rtk::SyncReturnHandler;
using TestSupport::inChild;
using TestSupport::onRtkThread;
using TestSupport::Outcome;
using TestSupport::RecordedCalls;
using TestSupport::RtkThread;

TEST(SyncReturnHandlerDeathTest, EndsTheProcessOnAThreadOfAnotherKind) {
  const Outcome outcome = inChild([] {
    onRtkThread([] {});
    const SyncReturnHandler handler;
  });
  EXPECT_EQ(
      outcome,
      (Outcome{
          255, "",
          "@@ FATAL ERROR: Thread::getCurrent().  Current thread is NOT a 'Rtk::Thread'..\n"}));
}

TEST(SyncReturnHandlerTest, WakesTheThreadThatMadeItFromAnyThread) {
  std::string marks;
  std::optional<SyncReturnHandler> handler;
  Rtk::PosixSemaphore made;
  {
    const RtkThread sender([&] {
      handler.emplace();
      made.signal();
      Rtk::Thread::wait();
      marks += "back";
    });
    made.wait();
    marks += "sent ";
    std::thread([&handler] { handler->rts(); }).join();
  }
  EXPECT_EQ(marks, "sent back");
}

TEST(SyncReturnHandlerTest, LetsALaterWaitThrough) {
  onRtkThread([] {
    SyncReturnHandler handler;
    handler.rts();
    Rtk::Thread::wait();
  });
}

TEST(SyncReturnHandlerTest, EndsTheNextWaitEarlyWhenItReturnsTwice) {
  std::string calls;
  onRtkThread([&calls] {
    SyncReturnHandler handler;
    RecordedCalls recorded;
    handler.rts();
    handler.rts();
    Rtk::Thread::wait();
    recorded.mark("next");
    Rtk::Thread::wait();
    calls = recorded.text();
  });
  EXPECT_EQ(calls, "sem_post\nsem_post\nsem_wait\nnext\nsem_wait\n");
}

TEST(SyncReturnHandlerTest, SignalsTheThreadItselfOnce) {
  std::string calls;
  Rtk::PosixSemaphore done;
  Rtk::PosixSemaphore seen;
  const RtkThread sender([&] {
    SyncReturnHandler handler;
    RecordedCalls recorded;
    handler.rts();
    calls = recorded.text();
    done.signal();
    seen.wait();
  });
  done.wait();
  EXPECT_EQ(calls, "sem_post\n");
  EXPECT_EQ(sender.signals(), 1);
  EXPECT_EQ(sender.suSignals(), 0);
  seen.signal();
}

}  // namespace
