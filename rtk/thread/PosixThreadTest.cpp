// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/thread/PosixThread.h"

#include <pthread.h>
#include <sched.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "rtk/testing/RecordedCalls.h"
#include "tests/support/Child.h"
#include "tests/support/ObjectLayout.h"
#include "tests/support/RtkThread.h"

namespace Rtk {

using TestSupport::inChild;
using TestSupport::onRtkThread;
using TestSupport::Outcome;
using TestSupport::RecordedCalls;
using TestSupport::RtkThread;

/// A body that lasts until it is asked to stop.
class Body final : public Runnable {
 public:
  void run() override { _stop.wait(); }
  void pleaseStop() override { _stop.signal(); }

 private:
  PosixSemaphore _stop;
};

class PosixThreadTest : public ::testing::Test {
 protected:
  static unsigned number(const PosixThread& thread) { return thread._number; }
  static bool running(const PosixThread& thread) { return thread._running; }

  static pthread_key_t* key() { return &PosixThread::_tsdKey; }

  /// Id, handle, number and whether it runs.
  static std::string state(const PosixThread& thread) {
    return std::to_string(thread._id) + " " + std::to_string(thread._handle) + " " +
           std::to_string(thread._number) + " " + std::to_string(int{thread._running});
  }

  /// The members behind the reference to the body, in the order in which they have to be.
  static std::vector<const void*> members(const PosixThread& thread) {
    return {&thread._name,   &thread._id,      &thread._handle,
            &thread._number, &thread._running, &thread._semaphore};
  }

  /// The calls that make a thread.
  static std::string callsToMake(int priority, int stackSize, int policy) {
    Body body;
    RecordedCalls calls;
    std::string text;
    // Not every user may have a real-time policy, nor every build live on the smallest stack.
    calls.answer("pthread_setschedparam", 0);
    calls.answer("pthread_attr_setstacksize", 0);
    PosixThread thread(body, "name", priority, stackSize, policy);
    text = calls.text();
    body.pleaseStop();
    return text;
  }
};

using PosixThreadDeathTest = PosixThreadTest;

/// Makes a thread in a child, with one call of the system failing.
Outcome makeWithFailure(const char* call, int which = 1) {
  return inChild([=] {
    Body body;
    RecordedCalls calls;
    calls.answer(call, EINVAL, which);
    const PosixThread thread(body, "name", 31, 65536, SCHED_OTHER);
  });
}

TEST_F(PosixThreadDeathTest, EndsTheProcessWhenItCannotBeSetUp) {
  struct Case {
    const char* call;
    int which;
  };
  const Case cases[] = {
      {"pthread_attr_setdetachstate", 1}, {"pthread_attr_setdetachstate", 2},
      {"pthread_attr_setstacksize", 1},   {"pthread_create", 1},
      {"pthread_getschedparam", 1},       {"pthread_setschedparam", 1},
  };
  for (const Case& test : cases) {
    const std::string record =
        std::string("@@ FATAL ERROR: PosixThread::PosixThread: ") + test.call + " failed.\n";
    EXPECT_EQ(makeWithFailure(test.call, test.which), (Outcome{255, "", record}));
  }
}

TEST_F(PosixThreadDeathTest, LogsThatItCannotJoinItself) {
  const Outcome outcome = inChild([] {
    class SelfDestroyer final : public Runnable {
     public:
      void run() override {
        made.wait();
        std::printf(
            "@@ UNEXPECTED ERROR [self (%05lX)]: "
            "%p: PosixThread::~PosixThread: pthread_join(0x%lx) failed: %d\n\n",
            static_cast<unsigned long>(::gettid()), static_cast<void*>(thread), ::pthread_self(),
            EDEADLK);
        RecordedCalls calls;
        thread->~PosixThread();
        // The log's lock is taken and given back, then the rest goes as ever.
        std::exit(calls.text() ==
                          "pthread_join\npthread_mutex_lock\npthread_mutex_unlock\n"
                          "sem_destroy\npthread_mutex_lock\npthread_mutex_unlock\n"
                      ? 0
                      : 1);
      }
      PosixSemaphore made;
      PosixThread* thread = nullptr;
    };
    alignas(PosixThread) static char memory[sizeof(PosixThread)];
    static SelfDestroyer body;
    body.thread = new (memory) PosixThread(body, "self", 31, 1 << 20, SCHED_OTHER);
    body.made.signal();
    ::pause();
  });
  EXPECT_EQ(outcome.status, 0);
  EXPECT_NE(outcome.standardError, "");
  EXPECT_EQ(outcome.standardError, outcome.standardOutput);
}

TEST_F(PosixThreadDeathTest, MakesTheKeyAndTheThreadStepByStep) {
  const Outcome outcome =
      inChild([] { std::printf("%s", callsToMake(31, 65536, SCHED_OTHER).c_str()); });
  EXPECT_EQ(outcome, (Outcome{0,
                              "pthread_mutex_lock\n"
                              "pthread_mutex_unlock\n"
                              "sem_init(0, 0)\n"
                              "pthread_mutex_lock\n"
                              "pthread_key_create\n"
                              "pthread_mutex_unlock\n"
                              "pthread_attr_init\n"
                              "pthread_attr_setdetachstate(detached)\n"
                              "pthread_attr_setstacksize(65536)\n"
                              "pthread_attr_setdetachstate(joinable)\n"
                              "pthread_create\n"
                              "pthread_getschedparam\n"
                              "pthread_setschedparam(0, 0)\n",
                              ""}));
}

TEST_F(PosixThreadDeathTest, MakesTheKeyOnlyOnce) {
  const Outcome outcome = inChild([] {
    onRtkThread([] {});
    const std::string calls = callsToMake(31, 65536, SCHED_OTHER);
    std::printf("%d", calls.find("pthread_key_create") == std::string::npos);
  });
  EXPECT_EQ(outcome, (Outcome{0, "1", ""}));
}

TEST_F(PosixThreadDeathTest, IgnoresWhatTheMakingOfTheKeyReports) {
  const Outcome outcome = inChild([] {
    Body body;
    RecordedCalls calls;
    calls.before("pthread_key_create", [] { ::pthread_key_create(key(), nullptr); });
    calls.answer("pthread_key_create", EAGAIN);
    const PosixThread thread(body, "name", 31, 65536, SCHED_OTHER);
    body.pleaseStop();
  });
  EXPECT_EQ(outcome, (Outcome{0, "", ""}));
}

TEST_F(PosixThreadDeathTest, CountsFromZeroOnceTheThreadIsScheduled) {
  const Outcome outcome = inChild([] {
    alignas(PosixThread) static char memory[sizeof(PosixThread)];
    void* const place = memory;
    auto* const thread = static_cast<PosixThread*>(place);
    Body body;
    RecordedCalls calls;
    calls.before("pthread_setschedparam", [thread] { std::printf("%u", number(*thread)); });
    for (int i = 0; i < 3; ++i) {
      new (memory) PosixThread(body, "name", 31, 65536, SCHED_OTHER);
      std::printf("%u ", number(*thread));
      body.pleaseStop();
      thread->~PosixThread();
    }
  });
  EXPECT_EQ(outcome, (Outcome{0, "00 01 02 ", ""}));
}

TEST_F(PosixThreadTest, CountsDownFromTheHighestPriorityOfThePolicy) {
  struct Case {
    int priority, minimum, maximum, expected;
  };
  const Case cases[] = {
      {0, 1, 99, 99},      {1, 1, 99, 98},       {31, 1, 99, 68}, {97, 1, 99, 2},
      {98, 1, 99, 1},      {99, 1, 99, 1},       {200, 1, 99, 1}, {-5, 1, 99, 99},
      {INT_MAX, 1, 99, 1}, {INT_MIN, 1, 99, 99}, {0, 0, 0, 0},    {31, 0, 0, 0},
      {-5, 0, 0, 0},       {3, 0, 31, 28},       {31, 0, 31, 0},  {32, 0, 31, 0},
  };
  for (const Case& test : cases) {
    EXPECT_EQ(PosixThread::schedulingPriority(test.priority, test.minimum, test.maximum),
              test.expected)
        << test.priority << " in " << test.minimum << " to " << test.maximum;
  }
}

TEST_F(PosixThreadTest, AsksForThePriorityOnTheScaleOfThePolicy) {
  struct Case {
    int priority, policy;
    const char* call;
  };
  const Case cases[] = {
      {31, SCHED_OTHER, "pthread_setschedparam(0, 0)\n"},
      {0, SCHED_FIFO, "pthread_setschedparam(1, 99)\n"},
      {31, SCHED_FIFO, "pthread_setschedparam(1, 68)\n"},
      {200, SCHED_RR, "pthread_setschedparam(2, 1)\n"},
      {-5, SCHED_RR, "pthread_setschedparam(2, 99)\n"},
  };
  for (const Case& test : cases) {
    const std::string calls = callsToMake(test.priority, 65536, test.policy);
    EXPECT_NE(calls.find(test.call), std::string::npos) << calls;
  }
}

TEST_F(PosixThreadTest, HasAStackOfAtLeast16384Bytes) {
  struct Case {
    int asked, given;
  };
  const Case cases[] = {{0, 16384},     {-1, 16384},    {INT_MIN, 16384}, {16383, 16384},
                        {16384, 16384}, {16385, 16385}, {65536, 65536},   {INT_MAX, INT_MAX}};
  for (const Case& test : cases) {
    EXPECT_EQ(PosixThread::usableStackSize(test.asked), test.given);
  }
}

TEST_F(PosixThreadTest, AsksForTheStackItCanUse) {
  EXPECT_NE(callsToMake(31, 65536, SCHED_OTHER).find("stacksize(65536)\n"), std::string::npos);
  EXPECT_NE(callsToMake(31, -1, SCHED_OTHER).find("stacksize(16384)\n"), std::string::npos);
  EXPECT_NE(callsToMake(31, 100, SCHED_OTHER).find("stacksize(16384)\n"), std::string::npos);
}

TEST_F(PosixThreadTest, RunsOnTheStackItAskedFor) {
  std::size_t size = 0;
  onRtkThread([&size] {
    pthread_attr_t attribute;
    ::pthread_getattr_np(::pthread_self(), &attribute);
    ::pthread_attr_getstacksize(&attribute, &size);
    ::pthread_attr_destroy(&attribute);
  });
  EXPECT_EQ(size, std::size_t{1} << 20);
}

TEST_F(PosixThreadTest, CutsItsNameAfter20CharactersAndTheSystemAfter15) {
  std::string name;
  char systemName[16] = {};
  onRtkThread(
      [&] {
        name = Thread::getCurrent()->getName();
        ::prctl(PR_GET_NAME, systemName);
      },
      "abcdefghijklmnopqrstuvwxyz");
  EXPECT_EQ(name, "abcdefghijklmnopqrst");
  EXPECT_STREQ(systemName, "abcdefghijklmno");
}

TEST_F(PosixThreadTest, KeepsANameThatFits) {
  for (const char* name : {"", "creator", "12345678901234567890"}) {
    std::string kept = "unset";
    onRtkThread([&kept] { kept = Thread::getCurrent()->getName(); }, name);
    EXPECT_EQ(kept, name);
  }
}

TEST_F(PosixThreadTest, HasTheIdThatTheKernelGives) {
  unsigned long id = 0;
  unsigned long kernelId = 0;
  onRtkThread([&] {
    id = Thread::getCurrent()->getId();
    kernelId = static_cast<unsigned long>(::gettid());
  });
  EXPECT_EQ(id, kernelId);
  EXPECT_NE(id, static_cast<unsigned long>(::gettid()));
}

TEST_F(PosixThreadTest, HasNoIdHandleOrNumberBeforeItStarts) {
  alignas(PosixThread) char memory[sizeof(PosixThread)];
  std::memset(memory, 0xFF, sizeof(memory));
  void* const place = memory;
  auto* const unborn = static_cast<PosixThread*>(place);
  Body body;
  RecordedCalls calls;
  std::string before;
  calls.before("pthread_create", [&] { before = state(*unborn); });
  auto* const thread = new (memory) PosixThread(body, "name", 31, 65536, SCHED_OTHER);
  body.pleaseStop();
  thread->~PosixThread();
  EXPECT_EQ(before, "0 0 0 1");
}

TEST_F(PosixThreadTest, KeepsTheOrderOfItsMembers) {
  Body body;
  const PosixThread thread(body, "name", 31, 65536, SCHED_OTHER);
  const std::vector<const void*> places = members(thread);
  // In front of them: the operations, the link of the list, the body.
  EXPECT_EQ(TestSupport::pointerAt(thread, 2), static_cast<Runnable*>(&body));
  EXPECT_EQ(TestSupport::placeOf(thread, *static_cast<const char*>(places.front())), 3U);
  EXPECT_TRUE(std::is_sorted(places.begin(), places.end(), std::less<>()));
  body.pleaseStop();
}

TEST_F(PosixThreadTest, IsFoundThenNamedThenNumberedBeforeItsBodyRuns) {
  class Marking final : public Runnable {
   public:
    explicit Marking(RecordedCalls& calls) : _calls(calls) {}
    void run() override { _calls.mark("run"); }

   private:
    RecordedCalls& _calls;
  };
  std::string text;
  // No thread is made: this one, which is not otherwise an Rtk::Thread, takes its place.
  std::thread([&text] {
    RecordedCalls calls;
    for (const char* call :
         {"pthread_create", "pthread_getschedparam", "pthread_setschedparam", "pthread_join"}) {
      calls.answer(call, 0);
    }
    Marking body(calls);
    PosixThread thread(body, "name", 31, 65536, SCHED_OTHER);
    const std::size_t made = calls.text().size();
    EXPECT_EQ(PosixThread::entryPoint(&thread), nullptr);
    text = calls.text().substr(made);
    EXPECT_FALSE(running(thread));
  }).join();
  EXPECT_EQ(text, "pthread_setspecific\nprctl(15)\ngettid\nrun\n");
}

TEST_F(PosixThreadTest, RunsUntilItsBodyReturns) {
  bool inBody = false;
  onRtkThread([&inBody] { inBody = running(*static_cast<PosixThread*>(Thread::getCurrent())); });
  EXPECT_TRUE(inBody);

  Body body;
  const PosixThread thread(body, "name", 31, 65536, SCHED_OTHER);
  EXPECT_TRUE(running(thread));
  body.pleaseStop();
  while (running(thread)) {
    ::sched_yield();
  }
}

TEST_F(PosixThreadTest, IsJoinedBeforeItLetsGoOfAnything) {
  Body body;
  std::optional<PosixThread> thread;
  thread.emplace(body, "name", 31, 65536, SCHED_OTHER);
  RecordedCalls calls;
  calls.before("pthread_join", [&body] { body.pleaseStop(); });
  thread.reset();
  EXPECT_EQ(calls.text(), "pthread_join\nsem_destroy\npthread_mutex_lock\npthread_mutex_unlock\n");
}

TEST_F(PosixThreadTest, SignalsItsSemaphoreInBothWays) {
  RtkThread thread([] {
    Thread::wait();
    Thread::wait();
  });
  RecordedCalls calls;
  thread.thread().signal();
  thread.thread().suSignal();
  EXPECT_EQ(calls.text(), "sem_post\nsem_post\n");
}

TEST_F(PosixThreadTest, ChangesThePriorityToTheValueAsItIs) {
  Body body;
  PosixThread thread(body, "name", 31, 65536, SCHED_OTHER);
  {
    RecordedCalls calls;
    calls.answer("pthread_setschedprio", EPERM, 1, 3);
    EXPECT_EQ(thread.changePriority(0), EPERM);
    EXPECT_EQ(thread.changePriority(31), EPERM);
    EXPECT_EQ(thread.changePriority(-200), EPERM);
    EXPECT_EQ(calls.text(),
              "pthread_setschedprio(0)\npthread_setschedprio(31)\npthread_setschedprio(-200)\n");
  }
  EXPECT_EQ(thread.changePriority(0), 0);
  EXPECT_EQ(thread.changePriority(31), EINVAL);
  body.pleaseStop();
}

TEST_F(PosixThreadTest, IsNotStoppedByABodyThatCannotBeAsked) {
  class Deaf final : public Runnable {
   public:
    void run() override { returned.wait(); }
    PosixSemaphore returned;
  };
  Deaf body;
  const PosixThread thread(body, "name", 31, 65536, SCHED_OTHER);
  body.pleaseStop();
  EXPECT_TRUE(running(thread));
  body.returned.signal();
}

}  // namespace Rtk
