// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "tool/Threads.h"

#include <dlfcn.h>
#include <pthread.h>
#include <sched.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "rtk/error/FatalError.h"
#include "rtk/messaging/MailboxServer.h"
#include "rtk/messaging/Message.h"
#include "rtk/thread/PosixSemaphore.h"
#include "rtk/thread/Runnable.h"
#include "rtk/thread/Thread.h"
#include "tests/support/Child.h"
#include "tests/support/TemporaryFolder.h"

namespace {

std::int64_t nanoseconds(const timespec& time) {
  return std::int64_t{time.tv_sec} * 1000000000 + time.tv_nsec;
}

std::int64_t now() {
  timespec time = {};
  ::clock_gettime(CLOCK_MONOTONIC, &time);
  return nanoseconds(time);
}

/// Since when waits are printed; negative if they are not.
std::int64_t printedSince = -1;

/// The result of the next wait, which then takes no time; negative for a real wait.
int givenResult = -1;

/// The clock of the last condition variable that was created with attributes.
clockid_t clockOfWaits = CLOCK_REALTIME;

bool isLocked(pthread_mutex_t* mutex) {
  const bool isFree = ::pthread_mutex_trylock(mutex) == 0;
  if (isFree) {
    ::pthread_mutex_unlock(mutex);
  }
  return !isFree;
}

}  // namespace

extern "C" {

/// In place of the C library's: notes the clock.
int pthread_cond_init(pthread_cond_t* condition, const pthread_condattr_t* attribute) noexcept {
  if (attribute != nullptr) {
    ::pthread_condattr_getclock(attribute, &clockOfWaits);
  }
  using Call = int(pthread_cond_t*, const pthread_condattr_t*);
  return reinterpret_cast<Call*>(::dlsym(RTLD_NEXT, "pthread_cond_init"))(condition, attribute);
}

/// In place of the C library's: prints the time limit and the result.
int pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                           const timespec* limit) {
  const char* const name =
      sizeof(void*) == 4 ? "__pthread_cond_timedwait64" : "pthread_cond_timedwait";
  using Call = int(pthread_cond_t*, pthread_mutex_t*, const timespec*);
  const std::int64_t begin = nanoseconds(*limit) - 1000000000;
  const bool isASecond = clockOfWaits == CLOCK_MONOTONIC && printedSince <= begin && begin <= now();
  const bool isLockHeld = isLocked(mutex);
  int result = std::exchange(givenResult, -1);
  if (result < 0) {
    // A slow machine must not change the result.
    const timespec later = {limit->tv_sec + 60, 0};
    result = reinterpret_cast<Call*>(::dlsym(RTLD_NEXT, name))(condition, mutex, &later);
  }
  if (printedSince >= 0) {
    std::fprintf(stderr, "waits for %s%s: %d\n", isASecond ? "a second" : "another time",
                 isLockHeld ? "" : " without the lock", result);
  }
  return result;
}
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
struct SignalMessage : Rtk::Message {
  void process() override { processed.signal(); }
  Rtk::PosixSemaphore processed;
};

/// Keeps the server's thread to the end of the process.
struct BusyMessage final : SignalMessage {
  void process() override {
    SignalMessage::process();
    Rtk::Thread::wait();
  }
};

TEST(ThreadsTest, AFatalErrorOnTheServersThreadDoesNotWaitForIt) {
  EXPECT_EQ(inChild([] {
              static Rtk::MailboxServer server;
              static FatalMessage fatal;
              stopServerAtExit(server, startThread(server, "server"));
              printedSince = now();
              server.post(fatal);
              for (;;) {
                ::pause();
              }
            }),
            (Outcome{255, "", "@@ FATAL ERROR: on the server's thread.\n"}));
}

/// Delivers to a server, and returns when the server's thread can do no more without the caller.
class SlowPost final : public Rtk::PostMessageApi {
 public:
  SlowPost(Rtk::PostMessageApi& server, Rtk::Thread& thread) : _server(server), _thread(thread) {}

  void post(Rtk::Message& message) override {
    _server.post(message);
    const std::string state = "/proc/self/task/" + std::to_string(_thread.getId()) + "/stat";
    while (TestSupport::readFile(state).find(") S ") == std::string::npos) {
      ::sched_yield();
    }
  }
  void postSync(Rtk::Message& message) override { _server.postSync(message); }

 private:
  Rtk::PostMessageApi& _server;
  Rtk::Thread& _thread;
};

/// Must not be processed: the server has stopped.
struct LateMessage final : Rtk::Message {
  void process() override { std::fprintf(stderr, "processes a message after its stop\n"); }
};

/// Ends a process that has a server, after the server has processed `message` so far that it
/// signals. The first wait gives `result`, if that is not negative. The server must not stop before
/// that wait.
Outcome endWithServer(SignalMessage& message, int result) {
  return inChild([&message, result] {
    static Rtk::MailboxServer server;
    Rtk::Thread& thread = startThread(server, "server");
    static SlowPost slow(server, thread);
    static LateMessage late;
    // Runs after the exit handler that stops the server.
    std::atexit([] { slow.post(late); });
    stopServerAtExit(slow, thread);
    server.post(message);
    message.processed.wait();
    givenResult = result;
    printedSince = now();
  });
}

TEST(ThreadsTest, AnExitWaitsForTheServerAtMostASecond) {
  SignalMessage message;
  EXPECT_EQ(endWithServer(message, -1), (Outcome{0, "", "waits for a second: 0\n"}));
}

TEST(ThreadsTest, AnExitWaitsAgainWhenItIsWokenTooEarly) {
  SignalMessage message;
  EXPECT_EQ(endWithServer(message, 0),
            (Outcome{0, "", "waits for a second: 0\nwaits for a second: 0\n"}));
}

TEST(ThreadsTest, AnExitDoesNotWaitLongerForAServerThatIsBusy) {
  BusyMessage message;
  EXPECT_EQ(endWithServer(message, ETIMEDOUT),
            (Outcome{0, "", "waits for a second: " + std::to_string(ETIMEDOUT) + "\n"}));
}

}  // namespace
