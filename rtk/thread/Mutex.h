// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

namespace Rtk {

/// A lock. Any thread may take it; the thread that took it gives it back. Its owner ends it when no
/// thread needs it any more. Nothing is fatal here.
class Mutex {
 public:
  Mutex() = default;
  virtual ~Mutex() = default;
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  /// Blocks until the lock is free. 0, or the error number of the system, which callers ignore.
  virtual int lock() = 0;

  /// REQUIRES: the calling thread holds the lock. Results as those of lock().
  virtual int unlock() = 0;
};

}  // namespace Rtk
