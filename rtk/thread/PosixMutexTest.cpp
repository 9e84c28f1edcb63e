// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/thread/PosixMutex.h"

#include <thread>

#include <gtest/gtest.h>

#include "rtk/testing/RecordedCalls.h"

namespace {

using TestSupport::RecordedCalls;

TEST(PosixMutexTest, IsALockOfItsOwn) {
  Rtk::PosixMutex one;
  Rtk::PosixMutex other;
  one.lock();
  std::thread([&other] {
    other.lock();
    other.unlock();
  }).join();
  EXPECT_EQ(one.unlock(), 0);
}

TEST(PosixMutexTest, IsMadeRecursiveAndUnlockedBeforeItIsDestroyed) {
  RecordedCalls calls;
  {
    Rtk::PosixMutex mutex;
    calls.mark("made");
  }
  EXPECT_EQ(calls.text(),
            "pthread_mutexattr_init\n"
            "pthread_mutexattr_settype(recursive)\n"
            "pthread_mutex_init(attribute)\n"
            "made\n"
            "pthread_mutex_unlock\n"
            "pthread_mutex_destroy\n");
}

TEST(PosixMutexTest, TellsWhatTheSystemAnswers) {
  Rtk::PosixMutex mutex;
  RecordedCalls calls;
  calls.answer("pthread_mutex_lock", 11);
  calls.answer("pthread_mutex_unlock", 1);
  EXPECT_EQ(mutex.lock(), 11);
  EXPECT_EQ(mutex.unlock(), 1);
}

}  // namespace
