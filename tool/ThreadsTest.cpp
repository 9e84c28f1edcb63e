// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "tool/Threads.h"

#include <dlfcn.h>
#include <pthread.h>
#include <sched.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <ctime>
#include <string>

#include <gtest/gtest.h>

#include "rtk/error/FatalError.h"
#include "rtk/messaging/MailboxServer.h"
#include "rtk/messaging/Message.h"
#include "rtk/thread/PosixSemaphore.h"
#include "rtk/thread/Runnable.h"
#include "rtk/thread/Thread.h"
#include "tests/support/Child.h"

namespace {

bool areWaitsPrinted = false;

}  // namespace

/// In place of the C library's: prints the time limit and the result.
extern "C" int pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                      const timespec* limit) {
  const char* const name =
      sizeof(void*) == 4 ? "__pthread_cond_timedwait64" : "pthread_cond_timedwait";
  using Call = int(pthread_cond_t*, pthread_mutex_t*, const timespec*);
  timespec now = {};
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  const bool isShort = limit->tv_sec <= now.tv_sec + 1;
  // A slow machine must not change the result. By another clock, this limit is in the past, too.
  const timespec later = {limit->tv_sec + 60, 0};
  const int result = reinterpret_cast<Call*>(::dlsym(RTLD_NEXT, name))(condition, mutex, &later);
  if (areWaitsPrinted) {
    std::fprintf(stderr, "waits for at most %s: %d\n", isShort ? "a second" : "longer", result);
  }
  return result;
}

namespace {

using TestSupport::inChild;
using TestSupport::Outcome;

/// Looks at the thread that it runs on, and keeps it to the end of the process.
class Look final : public Rtk::Runnable {
 public:
  void run() override {
    name = Rtk::Thread::getCurrent()->getName();
    pthread_attr_t attribute;
    ::pthread_getattr_np(::pthread_self(), &attribute);
    ::pthread_attr_getstacksize(&attribute, &stackSize);
    ::pthread_attr_destroy(&attribute);
    started.wait();
    ::pthread_getschedparam(::pthread_self(), &policy, &parameter);
    looked.signal();
    Rtk::Thread::wait();
  }

  std::string name;
  std::size_t stackSize = 0;
  int policy = -1;
  sched_param parameter = {};
  Rtk::PosixSemaphore started;
  Rtk::PosixSemaphore looked;
};

TEST(ThreadsTest, RunUnderTheirNameOnASmallStackWithoutPriority) {
  // In a child, as the thread never ends.
  EXPECT_EQ(inChild([] {
              static Look look;
              startThread(look, "look");
              look.started.signal();
              look.looked.wait();
              std::printf("%s: stack %zu, policy %d, priority %d", look.name.c_str(),
                          look.stackSize, look.policy, look.parameter.sched_priority);
            }),
            (Outcome{0, "look: stack 65536, policy 0, priority 0", ""}));
}

/// Ends the process with a fatal error on the thread that processes it.
struct FatalMessage final : Rtk::Message {
  void process() override { Rtk::FatalError::logRawAndExit("on the server's thread"); }
};

/// Signals when it is processed.
struct SignalMessage final : Rtk::Message {
  void process() override { processed.signal(); }
  Rtk::PosixSemaphore processed;
};

TEST(ThreadsTest, AFatalErrorOnTheServersThreadDoesNotWaitForIt) {
  EXPECT_EQ(inChild([] {
              static Rtk::MailboxServer server;
              static FatalMessage fatal;
              stopServerAtExit(server, startThread(server, "server"));
              areWaitsPrinted = true;
              server.post(fatal);
              for (;;) {
                ::pause();
              }
            }),
            (Outcome{255, "", "@@ FATAL ERROR: on the server's thread.\n"}));
}

TEST(ThreadsTest, AnExitWaitsForTheServerAtMostASecond) {
  EXPECT_EQ(inChild([] {
              static Rtk::MailboxServer server;
              static SignalMessage message;
              stopServerAtExit(server, startThread(server, "server"));
              // The server's thread has started.
              server.post(message);
              message.processed.wait();
              areWaitsPrinted = true;
            }),
            (Outcome{0, "", "waits for at most a second: 0\n"}));
}

}  // namespace
