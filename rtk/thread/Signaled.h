// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

namespace Rtk {

/// Something that can be told that there is news for it: a semaphore, a thread, a mailbox. The
/// signal carries nothing; what it means is a matter between the two sides. Any thread may call
/// both operations while the object lives. Nothing is fatal here.
class Signaled {
 public:
  Signaled() = default;
  virtual ~Signaled() = default;
  Signaled(const Signaled&) = delete;
  Signaled& operator=(const Signaled&) = delete;

  virtual void signal() = 0;

  /// signal() for contexts that must not take a lock, such as a handler of a POSIX signal.
  virtual void suSignal() = 0;
};

}  // namespace Rtk
