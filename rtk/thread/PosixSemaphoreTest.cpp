// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/thread/PosixSemaphore.h"

#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "rtk/testing/RecordedCalls.h"

namespace {

using TestSupport::RecordedCalls;

Rtk::PosixSemaphore handled;

extern "C" void handle(int) {
  handled.suSignal();
}

/// Makes SIGUSR1 interrupt what it comes upon, which the system does not take up again by itself.
void interruptOnSignal() {
  struct sigaction action = {};
  action.sa_handler = handle;
  ::sigaction(SIGUSR1, &action, nullptr);
}

TEST(PosixSemaphoreTest, KeepsSignalsThatComeBeforeTheWaits) {
  Rtk::PosixSemaphore semaphore;
  semaphore.signal();
  semaphore.suSignal();
  semaphore.wait();
  semaphore.wait();
}

TEST(PosixSemaphoreTest, LetsOneWaitThroughForEachSignal) {
  Rtk::PosixSemaphore semaphore;
  Rtk::PosixSemaphore through;
  std::atomic<int> waits{0};
  std::thread waiter([&] {
    for (int i = 0; i < 3; ++i) {
      semaphore.wait();
      ++waits;
      through.signal();
    }
  });
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(waits, i);
    semaphore.signal();
    through.wait();
  }
  waiter.join();
}

TEST(PosixSemaphoreTest, GoesBackToWaitingAfterASignalHandler) {
  interruptOnSignal();
  Rtk::PosixSemaphore semaphore;
  std::atomic<bool> through{false};
  std::thread waiter([&] {
    semaphore.wait();
    through = true;
  });
  for (int i = 0; i < 200; ++i) {
    ::pthread_kill(waiter.native_handle(), SIGUSR1);
    handled.wait();
  }
  EXPECT_FALSE(through);
  semaphore.signal();
  waiter.join();
  EXPECT_TRUE(through);
}

TEST(PosixSemaphoreTest, RepeatsTheWaitAsLongAsItIsInterrupted) {
  Rtk::PosixSemaphore semaphore;
  semaphore.signal();
  RecordedCalls calls;
  calls.answer("sem_wait", EINTR, 1, 2);
  semaphore.wait();
  EXPECT_EQ(calls.text(), "sem_wait\nsem_wait\nsem_wait\n");
}

TEST(PosixSemaphoreTest, ReturnsFromAFailedWaitWithTheCountUntouched) {
  Rtk::PosixSemaphore semaphore;
  semaphore.signal();
  RecordedCalls calls;
  calls.answer("sem_wait", EINVAL);
  semaphore.wait();
  EXPECT_EQ(calls.text(), "sem_wait\n");
  semaphore.wait();
}

TEST(PosixSemaphoreTest, IsPrivateToTheProcessAndStartsAtZero) {
  RecordedCalls calls;
  { Rtk::PosixSemaphore semaphore; }
  EXPECT_EQ(calls.text(), "sem_init(0, 0)\nsem_destroy\n");
}

TEST(PosixSemaphoreTest, PostsForBothKindsOfSignal) {
  Rtk::PosixSemaphore semaphore;
  RecordedCalls calls;
  semaphore.signal();
  semaphore.suSignal();
  EXPECT_EQ(calls.text(), "sem_post\nsem_post\n");
}

}  // namespace
