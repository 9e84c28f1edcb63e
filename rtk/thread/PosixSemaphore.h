// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <semaphore.h>

#include "rtk/thread/Semaphore.h"

namespace Rtk {

/// A semaphore of this process over sem_t, with a count of 0 at the start. It is the wake-up signal
/// of every thread of the framework. Its owner ends it when no thread waits on it any more. Any
/// thread may call any operation; suSignal() may also be called from a handler of a POSIX signal.
/// Nothing is fatal: what the calls of the system report is ignored.
class PosixSemaphore : public Semaphore {
 public:
  PosixSemaphore();
  ~PosixSemaphore() override;

  void signal() override;
  void suSignal() override;

  /// A POSIX signal does not end the wait. Any other failure does, without a count taken.
  void wait() override;

 private:
  sem_t _semaphore;
};

}  // namespace Rtk
