// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <pthread.h>

#include "rtk/thread/RecursiveMutex.h"

namespace Rtk {

/// A recursive lock of this process over pthread_mutex_t. Its owner ends it when no other thread
/// needs it any more; the thread that ends it may still hold it once. Any thread may lock it.
/// Nothing is fatal: what the calls of the system report while the lock is made is ignored.
class PosixMutex : public RecursiveMutex {
 public:
  PosixMutex();
  ~PosixMutex() override;

  int lock() override;
  int unlock() override;

 private:
  pthread_mutex_t _mutex;
};

}  // namespace Rtk
