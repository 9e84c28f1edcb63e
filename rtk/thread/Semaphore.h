// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "rtk/thread/Signaled.h"

namespace Rtk {

/// A counting semaphore: each signal adds one to the count, each wait takes one. Because it counts,
/// a signal that comes before the wait it is meant for is kept. Its owner ends it when no thread
/// waits on it any more. Any thread may call any operation. Nothing is fatal here.
class Semaphore : public Signaled {
 public:
  /// Blocks until the count is above zero, then takes one from it.
  virtual void wait() = 0;
};

}  // namespace Rtk
