// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <pthread.h>
#include <semaphore.h>

#include <cstddef>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "rtk/thread/Mutex.h"
#include "rtk/thread/PosixMutex.h"
#include "rtk/thread/PosixSemaphore.h"
#include "rtk/thread/PosixThread.h"
#include "rtk/thread/PrivilegedMutex.h"
#include "rtk/thread/RecursiveMutex.h"
#include "rtk/thread/Runnable.h"
#include "rtk/thread/Semaphore.h"
#include "rtk/thread/Signaled.h"
#include "rtk/thread/Thread.h"
#include "rtk/thread/ThreadTraverserApi.h"
#include "tests/support/ObjectLayout.h"
#include "tests/support/SlotOrder.h"

// The operations of these classes are reached by their slot in the table of virtual functions, and
// a core dump is read by the place of the members: both orders are part of the interface.

namespace Rtk {

using TestSupport::pointerAt;
using TestSupport::sizeInPointers;
using TestSupport::slotBehind;
using TestSupport::slotOf;

TEST(ThreadLayoutTest, KeepsTheOrderOfVirtualOperations) {
  struct Class {
    const char* name;
    std::vector<std::size_t> slots;
    std::vector<std::size_t> expected;
  };
  // All of them begin with their destructor.
  const Class classes[] = {
      {"Runnable",
       {slotOf(&Runnable::run), slotOf(&Runnable::pleaseStop), slotBehind<Runnable>()},
       {2, 3, 4}},
      {"Thread",
       {slotOf(&Thread::signal), slotOf(&Thread::suSignal), slotOf(&Thread::getName),
        slotOf(&Thread::getId), slotBehind<Thread>()},
       {2, 3, 4, 5, 6}},
      {"PosixThread",
       {slotOf(&PosixThread::signal), slotOf(&PosixThread::suSignal), slotOf(&PosixThread::getName),
        slotOf(&PosixThread::getId), slotBehind<PosixThread>()},
       {2, 3, 4, 5, 6}},
      {"ThreadTraverserApi",
       {slotOf(&ThreadTraverserApi::visit), slotBehind<ThreadTraverserApi>()},
       {2, 3}},
      {"Mutex", {slotOf(&Mutex::lock), slotOf(&Mutex::unlock), slotBehind<Mutex>()}, {2, 3, 4}},
      {"RecursiveMutex",
       {slotOf(&RecursiveMutex::lock), slotOf(&RecursiveMutex::unlock),
        slotBehind<RecursiveMutex>()},
       {2, 3, 4}},
      {"PosixMutex",
       {slotOf(&PosixMutex::lock), slotOf(&PosixMutex::unlock), slotBehind<PosixMutex>()},
       {2, 3, 4}},
      {"PrivilegedMutex",
       {slotOf(&PrivilegedMutex::lock), slotOf(&PrivilegedMutex::unlock),
        slotBehind<PrivilegedMutex>()},
       {2, 3, 4}},
      {"Signaled",
       {slotOf(&Signaled::signal), slotOf(&Signaled::suSignal), slotBehind<Signaled>()},
       {2, 3, 4}},
      {"Semaphore",
       {slotOf(&Semaphore::signal), slotOf(&Semaphore::suSignal), slotOf(&Semaphore::wait),
        slotBehind<Semaphore>()},
       {2, 3, 4, 5}},
      {"PosixSemaphore",
       {slotOf(&PosixSemaphore::signal), slotOf(&PosixSemaphore::suSignal),
        slotOf(&PosixSemaphore::wait), slotBehind<PosixSemaphore>()},
       {2, 3, 4, 5}},
  };
  for (const Class& test : classes) {
    EXPECT_EQ(test.slots, test.expected) << test.name;
  }
}

// Each of these lacks one operation, which is pure in its base.
class WithoutLock : public Mutex {
  int unlock() override { return 0; }
};
class WithoutUnlock : public Mutex {
  int lock() override { return 0; }
};
class WithoutSignal : public Signaled {
  void suSignal() override {}
};
class WithoutSuSignal : public Signaled {
  void signal() override {}
};
class WithoutWait : public Semaphore {
  void signal() override {}
  void suSignal() override {}
};
class WithoutName : public Thread {
  void signal() override {}
  void suSignal() override {}
  unsigned long getId() override { return 0; }
};
class WithoutId : public Thread {
  void signal() override {}
  void suSignal() override {}
  const char* getName() override { return ""; }
};

TEST(ThreadLayoutTest, LeavesPureOperationsToDerivedClasses) {
  EXPECT_TRUE(std::is_abstract_v<Runnable>);
  EXPECT_TRUE(std::is_abstract_v<ThreadTraverserApi>);
  EXPECT_TRUE(std::is_abstract_v<RecursiveMutex>);
  EXPECT_TRUE(std::is_abstract_v<WithoutLock>);
  EXPECT_TRUE(std::is_abstract_v<WithoutUnlock>);
  EXPECT_TRUE(std::is_abstract_v<WithoutSignal>);
  EXPECT_TRUE(std::is_abstract_v<WithoutSuSignal>);
  EXPECT_TRUE(std::is_abstract_v<WithoutWait>);
  EXPECT_TRUE(std::is_abstract_v<WithoutName>);
  EXPECT_TRUE(std::is_abstract_v<WithoutId>);
}

// A class derived with these signatures overrides: a missing or an additional const hides the
// operation of the base instead.
static_assert(std::is_same_v<decltype(&Thread::getName), const char* (Thread::*)()>);
static_assert(std::is_same_v<decltype(&Thread::getId), unsigned long (Thread::*)()>);
static_assert(std::is_same_v<decltype(&PosixThread::getName), const char* (PosixThread::*)()>);
static_assert(std::is_same_v<decltype(&PosixThread::getId), unsigned long (PosixThread::*)()>);

TEST(ThreadLayoutTest, CallsTheNameAndTheIdOfADerivedClass) {
  class Derived final : public Thread {
   public:
    void signal() override {}
    void suSignal() override {}
    const char* getName() override { return "derived"; }
    unsigned long getId() override { return 42; }
  };
  Derived derived;
  Thread& thread = derived;
  EXPECT_STREQ(thread.getName(), "derived");
  EXPECT_EQ(thread.getId(), 42U);
}

TEST(ThreadLayoutTest, HasInterfacesWithoutData) {
  EXPECT_EQ(sizeInPointers<Runnable>, 1U);
  EXPECT_EQ(sizeInPointers<ThreadTraverserApi>, 1U);
  EXPECT_EQ(sizeInPointers<Mutex>, 1U);
  EXPECT_EQ(sizeInPointers<RecursiveMutex>, 1U);
  EXPECT_EQ(sizeInPointers<Signaled>, 1U);
  EXPECT_EQ(sizeInPointers<Semaphore>, 1U);
}

TEST(ThreadLayoutTest, HasLocksAndSemaphoresWithNothingButThoseOfTheSystem) {
  struct Lock {
    void* operations;
    pthread_mutex_t mutex;
  };
  struct Count {
    void* operations;
    sem_t semaphore;
  };
  EXPECT_EQ(sizeof(PosixMutex), sizeof(Lock));
  EXPECT_EQ(sizeof(PosixSemaphore), sizeof(Count));
}

TEST(ThreadLayoutTest, HasAPrivilegedLockThatPointsToTheSharedOne) {
  const PrivilegedMutex one;
  const PrivilegedMutex other;
  EXPECT_EQ(sizeInPointers<PrivilegedMutex>, 2U);
  EXPECT_NE(pointerAt(one, 1), nullptr);
  EXPECT_EQ(pointerAt(one, 1), pointerAt(other, 1));
}

}  // namespace Rtk
