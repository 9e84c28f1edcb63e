// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/thread/Thread.h"

#include <unistd.h>

#include <cerrno>
#include <list>
#include <optional>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "rtk/testing/RecordedCalls.h"
#include "tests/support/Child.h"
#include "tests/support/ObjectLayout.h"
#include "tests/support/RtkThread.h"

namespace {

using TestSupport::inChild;
using TestSupport::onRtkThread;
using TestSupport::Outcome;
using TestSupport::RecordedCalls;
using TestSupport::RtkThread;

/// A thread that is in the list and never runs.
class ListedThread final : public Rtk::Thread {
 public:
  explicit ListedThread(const char* name) : _name(name) {}
  void signal() override {}
  void suSignal() override {}
  const char* getName() override { return _name; }
  unsigned long getId() override { return 1; }

 private:
  const char* _name;
};

/// Notes the names of the threads it visits, up to and with `last`.
class Names final : public Rtk::ThreadTraverserApi {
 public:
  explicit Names(const char* last = "") : _last(last) {}
  bool visit(Rtk::Thread& thread) override {
    text += thread.getName();
    return _last != thread.getName();
  }

  std::string text;

 private:
  std::string _last;
};

std::string listedNames(const char* last = "") {
  Names names(last);
  Rtk::Thread::traverse(names);
  return names.text;
}

// The death tests run before all others, so that no thread has been made when they begin.

TEST(ThreadDeathTest, HasNoCurrentBeforeTheFirstThreadIsMade) {
  const Outcome expected = {
      255, "", "@@ FATAL ERROR: Thread::getCurrent().  Have not yet created 'TSD key'..\n"};
  EXPECT_EQ(inChild([] { Rtk::Thread::getCurrent(); }), expected);
  EXPECT_EQ(inChild([] { Rtk::Thread::wait(); }), expected);
}

TEST(ThreadDeathTest, HasNoCurrentOnAThreadOfAnotherKind) {
  const Outcome expected = {
      255, "", "@@ FATAL ERROR: Thread::getCurrent().  Current thread is NOT a 'Rtk::Thread'..\n"};
  const auto onMainThread = [](void (*call)()) {
    return inChild([call] {
      onRtkThread([] {});
      call();
    });
  };
  const auto onOtherThread = [](void (*call)()) {
    return inChild([call] {
      onRtkThread([] {});
      std::thread(call).join();
    });
  };
  EXPECT_EQ(onMainThread([] { Rtk::Thread::getCurrent(); }), expected);
  EXPECT_EQ(onMainThread([] { Rtk::Thread::wait(); }), expected);
  EXPECT_EQ(onOtherThread([] { Rtk::Thread::getCurrent(); }), expected);
  EXPECT_EQ(onOtherThread([] { Rtk::Thread::wait(); }), expected);
}

TEST(ThreadTest, IsFoundFromTheCodeThatRunsOnIt) {
  for (int i = 0; i < 2; ++i) {
    const Rtk::Thread* found = nullptr;
    const Rtk::Thread* made = nullptr;
    {
      RtkThread thread([&found] { found = Rtk::Thread::getCurrent(); });
      made = &thread.thread();
    }
    EXPECT_EQ(found, made);
  }
}

TEST(ThreadTest, IsVisitedInTheOrderOfCreation) {
  const ListedThread a("a");
  const ListedThread b("b");
  const ListedThread c("c");
  EXPECT_EQ(listedNames(), "abc");
}

TEST(ThreadTest, KeepsTheLinkOfTheListAlone) {
  const ListedThread a("a");
  const ListedThread b("b");
  EXPECT_EQ(TestSupport::sizeInPointers<Rtk::Thread>, 2U);
  EXPECT_EQ(TestSupport::pointerAt(a, 1), static_cast<const Rtk::Thread*>(&b));
  EXPECT_EQ(TestSupport::pointerAt(b, 1), nullptr);
}

TEST(ThreadTest, EndsTheVisitsWithTheFirstRefusal) {
  const ListedThread a("a");
  const ListedThread b("b");
  const ListedThread c("c");
  EXPECT_EQ(listedNames("a"), "a");
  EXPECT_EQ(listedNames("b"), "ab");
}

TEST(ThreadTest, LeavesTheListAtItsEnd) {
  std::optional<ListedThread> a("a");
  std::optional<ListedThread> b("b");
  std::optional<ListedThread> c("c");
  b.reset();
  EXPECT_EQ(listedNames(), "ac");
  c.reset();
  EXPECT_EQ(listedNames(), "a");
  b.emplace("b");
  EXPECT_EQ(listedNames(), "ab");
  a.reset();
  b.reset();
  EXPECT_EQ(listedNames(), "");
  c.emplace("c");
  EXPECT_EQ(listedNames(), "c");
}

TEST(ThreadTest, IsListedWhileItRuns) {
  std::string names;
  onRtkThread([&names] { names = listedNames(); }, "running");
  EXPECT_EQ(names, "running");
  EXPECT_EQ(listedNames(), "");
}

TEST(ThreadTest, HoldsTheLockDuringAllVisits) {
  class Marks final : public Rtk::ThreadTraverserApi {
   public:
    bool visit(Rtk::Thread& thread) override {
      calls.mark(thread.getName());
      return true;
    }
    RecordedCalls calls;
  };
  const ListedThread a("a");
  const ListedThread b("b");
  Marks marks;
  Rtk::Thread::traverse(marks);
  EXPECT_EQ(marks.calls.text(), "pthread_mutex_lock\na\nb\npthread_mutex_unlock\n");
}

TEST(ThreadTest, ChangesTheListUnderTheLock) {
  RecordedCalls calls;
  {
    const ListedThread thread("a");
    calls.mark("made");
  }
  EXPECT_EQ(calls.text(),
            "pthread_mutex_lock\npthread_mutex_unlock\nmade\n"
            "pthread_mutex_lock\npthread_mutex_unlock\n");
}

TEST(ThreadTest, ChangesTheListOnlyWhileItHoldsTheLock) {
  class Count final : public Rtk::ThreadTraverserApi {
   public:
    bool visit(Rtk::Thread&) override {
      ++threads;
      return true;
    }
    int threads = 0;
  };
  std::string counts;
  const auto note = [&counts] {
    Count listed;
    Rtk::Thread::traverse(listed);
    counts += std::to_string(listed.threads);
  };
  RecordedCalls calls;
  calls.before("pthread_mutex_lock", note);
  calls.before("pthread_mutex_unlock", note);
  { const ListedThread thread("a"); }
  EXPECT_EQ(counts, "0110");
}

TEST(ThreadTest, LetsAVisitorMakeThreads) {
  class Maker final : public Rtk::ThreadTraverserApi {
   public:
    bool visit(Rtk::Thread&) override {
      made.emplace("b");
      return false;
    }
    std::optional<ListedThread> made;
  };
  const ListedThread a("a");
  Maker maker;
  Rtk::Thread::traverse(maker);
  EXPECT_EQ(listedNames(), "ab");
}

TEST(ThreadTest, WaitsForASignalOfItsOwnThread) {
  std::string marks;
  Rtk::PosixSemaphore marked;
  {
    RtkThread thread([&] {
      Rtk::Thread::wait();
      marks += 'a';
      marked.signal();
      Rtk::Thread::wait();
      marks += 'b';
    });
    thread.thread().signal();
    marked.wait();
    EXPECT_EQ(marks, "a");
    thread.thread().suSignal();
  }
  EXPECT_EQ(marks, "ab");
}

TEST(ThreadTest, SleepsForMilliseconds) {
  struct Case {
    unsigned long milliseconds;
    const char* call;
  };
  const Case cases[] = {
      {0, "nanosleep(0, 0)\n"},
      {1, "nanosleep(0, 1000000)\n"},
      {999, "nanosleep(0, 999000000)\n"},
      {1000, "nanosleep(1, 0)\n"},
      {1500, "nanosleep(1, 500000000)\n"},
      {4294967295UL, "nanosleep(4294967, 295000000)\n"},
  };
  for (const Case& test : cases) {
    RecordedCalls calls;
    calls.answer("nanosleep", 0);
    Rtk::Thread::sleep(test.milliseconds);
    EXPECT_EQ(calls.text(), test.call);
  }
}

TEST(ThreadTest, DoesNotResumeAnInterruptedSleep) {
  RecordedCalls calls;
  calls.answer("nanosleep", EINTR, 1, 2);
  Rtk::Thread::sleep(1500);
  EXPECT_EQ(calls.text(), "nanosleep(1, 500000000)\n");
}

TEST(ThreadTest, GivesTheProcessAsTaskId) {
  EXPECT_EQ(Rtk::Thread::createTaskId(), ::getpid());
}

}  // namespace
