// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <pthread.h>

#include <atomic>

#include "rtk/string/FString.h"
#include "rtk/thread/PosixSemaphore.h"
#include "rtk/thread/Runnable.h"
#include "rtk/thread/Thread.h"

namespace Rtk {

/// A POSIX thread with a name, a scheduling policy and priority, a stack of its own, and one
/// semaphore, on which it sleeps and by which every other thread wakes it. The object must live as
/// long as the thread: the long-lived ones are made on the heap and never deleted, and whoever
/// deletes one waits for the end of its body. Any thread may call any operation. A thread that
/// cannot be set up or scheduled as asked is fatal; one that cannot be joined is logged.
class PosixThread : public Thread {
 public:
  /// Starts the thread. The name is cut after 20 characters (the system shows 15). `priority` 0
  /// asks for the highest priority that `policy` allows, larger numbers for lower ones: see
  /// schedulingPriority(). `stackSize` is in bytes. REQUIRES: `runnable` outlives this object, and
  /// its run() does not return before the constructor has (the scheduling of an ended thread cannot
  /// be set, which is fatal).
  PosixThread(Runnable& runnable, const char* name, int priority, int stackSize, int policy);

  /// Blocks until the thread has ended.
  ~PosixThread() override;

  void signal() override;
  void suSignal() override;
  const char* getName() override;

  /// The kernel's id of the thread; 0 until it has started.
  unsigned long getId() override;

  /// Sets the priority on the scale of the policy, as it is: unlike the constructor it neither
  /// limits nor inverts it, which is meant. 0, or the error number of the system.
  int changePriority(int priority);

  /// The first code on a new thread, which gets its PosixThread.
  static void* entryPoint(void* self);

  /// Converts the caller's priority to the scale of a policy that goes from `minimum` to `maximum`.
  ///
  /// Decision: the caller's number counts steps down from `maximum`, and the result is limited to
  /// the range of the policy. On a scale from 1 to 99, 0 gives 99, 31 gives 68, 200 gives 1 and -5
  /// gives 99. Limiting the caller's number to the range first and subtracting it from `maximum`
  /// then would give 98 for 0 and for -5, and 0 for 200, which no real-time policy accepts. The two
  /// rules agree on 1 to 98, and under SCHED_OTHER, whose range is 0 to 0.
  static int schedulingPriority(int priority, int minimum, int maximum);

  /// The bytes of stack that a thread gets which asks for `stackSize`: 16384 at the least.
  static int usableStackSize(int stackSize);

 private:
  friend class Thread;
  friend class PosixThreadTest;

  // Whether the key exists under which each thread of the framework finds its own object. Set
  // once, by the first constructor, under _threadMutex; the key is never deleted.
  static bool _keyCreated;
  static pthread_key_t _tsdKey;

  Runnable& _runnable;
  FString<20> _name;
  std::atomic<unsigned long> _id;
  pthread_t _handle;
  unsigned _number;
  std::atomic<bool> _running;
  PosixSemaphore _semaphore;
};

}  // namespace Rtk
