// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/thread/Mutex.h"

#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <type_traits>

#include <gtest/gtest.h>

#include "rtk/error/LoggingMedia.h"
#include "rtk/testing/RecordedCalls.h"
#include "rtk/thread/PosixMutex.h"
#include "rtk/thread/PrivilegedMutex.h"
#include "tests/support/Child.h"

namespace {

using TestSupport::inChild;
using TestSupport::Outcome;
using TestSupport::RecordedCalls;

constexpr int rounds = 2000;

/// What two threads count to, each adding one `rounds` times between its `enter` and `leave`. They
/// invite each other to come in between: without exclusion the count falls short.
int countTogether(const std::function<void(Rtk::Mutex&)>& enter,
                  const std::function<void(Rtk::Mutex&)>& leave, Rtk::Mutex& one,
                  Rtk::Mutex& other) {
  int count = 0;
  const auto add = [&](Rtk::Mutex& mutex) {
    for (int i = 0; i < rounds; ++i) {
      enter(mutex);
      const int seen = count;
      std::this_thread::yield();
      count = seen + 1;
      leave(mutex);
    }
  };
  std::thread second([&] { add(other); });
  add(one);
  second.join();
  return count;
}

void lock(Rtk::Mutex& mutex) {
  mutex.lock();
}
void unlock(Rtk::Mutex& mutex) {
  mutex.unlock();
}

void lockThriceUnlockOnce(Rtk::Mutex& mutex) {
  mutex.lock();
  mutex.lock();
  mutex.lock();
  mutex.unlock();
}

void unlockTwice(Rtk::Mutex& mutex) {
  mutex.unlock();
  mutex.unlock();
}

/// What every kind of lock has to do.
template <class T>
class MutexTest : public ::testing::Test {
 protected:
  T mutex;
};

using Mutexes = ::testing::Types<Rtk::PosixMutex, Rtk::PrivilegedMutex>;

struct MutexNames {
  template <class T>
  static std::string GetName(int) {
    return std::is_same<T, Rtk::PosixMutex>::value ? "PosixMutex" : "PrivilegedMutex";
  }
};

TYPED_TEST_SUITE(MutexTest, Mutexes, MutexNames);

TYPED_TEST(MutexTest, LetsOneThreadInAtATime) {
  EXPECT_EQ(countTogether(&lock, &unlock, this->mutex, this->mutex), 2 * rounds);
}

TYPED_TEST(MutexTest, StaysHeldUntilTheLastOfSeveralUnlocks) {
  EXPECT_EQ(countTogether(&lockThriceUnlockOnce, &unlockTwice, this->mutex, this->mutex),
            2 * rounds);
}

TYPED_TEST(MutexTest, IsFreeAfterAsManyUnlocksAsLocks) {
  EXPECT_EQ(this->mutex.lock(), 0);
  EXPECT_EQ(this->mutex.lock(), 0);
  EXPECT_EQ(this->mutex.unlock(), 0);
  EXPECT_EQ(this->mutex.unlock(), 0);
  std::thread([this] {
    EXPECT_EQ(this->mutex.lock(), 0);
    EXPECT_EQ(this->mutex.unlock(), 0);
  }).join();
}

TEST(PrivilegedMutexTest, IsOneLockInAllObjects) {
  Rtk::PrivilegedMutex one;
  Rtk::PrivilegedMutex other;
  EXPECT_EQ(countTogether(&lock, &unlock, one, other), 2 * rounds);
}

TEST(PrivilegedMutexTest, MakesNoLockOfItsOwn) {
  RecordedCalls calls;
  { const Rtk::PrivilegedMutex mutex; }
  EXPECT_EQ(calls.text(), "");
}

TEST(PrivilegedMutexTest, ForwardsToWhateverTheSharedLockIs) {
  class Watched final : public Rtk::PosixMutex {
   public:
    int lock() override { return 1; }
    int unlock() override { return 2; }
  };
  Watched watched;
  Rtk::PosixMutex* const shared = &watched;
  Rtk::PrivilegedMutex mutex;
  std::memcpy(reinterpret_cast<char*>(&mutex) + sizeof(void*), &shared, sizeof(void*));
  Rtk::Mutex& face = mutex;
  EXPECT_EQ(face.lock(), 1);
  EXPECT_EQ(face.unlock(), 2);
}

TEST(PrivilegedMutexTest, CanBeGivenBackThroughAnotherObject) {
  Rtk::PrivilegedMutex one;
  {
    Rtk::PrivilegedMutex other;
    other.lock();
  }
  EXPECT_EQ(one.unlock(), 0);
}

TEST(PosixMutexDeathTest, EndsWithTheProcessWhereTheProcessSharesIt) {
  // The list of threads, the mailboxes and the log have one each. Others are not unlocked at their
  // end.
  const Outcome outcome = inChild([] {
    Rtk::LoggingMedia::getMutex();
    static RecordedCalls& calls = *new RecordedCalls;
    static bool unlocked = false;
    calls.before("pthread_mutex_unlock", [] { unlocked = true; });
    calls.before("pthread_mutex_destroy", [] {
      std::printf("%s", unlocked ? "ended " : "");
      unlocked = false;
    });
  });
  EXPECT_EQ(outcome, (Outcome{0, "ended ended ended ", ""}));
}

}  // namespace
