// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <atomic>

#include "rtk/list/SList.h"
#include "rtk/messaging/GetMessageApi.h"
#include "rtk/messaging/Message.h"
#include "rtk/messaging/PostMessageApi.h"
#include "rtk/thread/PrivilegedMutex.h"
#include "rtk/thread/Signaled.h"

namespace Rtk {

class Thread;

/// The queue of messages to one thread. Any thread posts; one thread, the owner, takes the messages
/// out in the order they came, and sleeps while there is none. Besides it can be signalled, which
/// carries nothing and overtakes the messages. It does not own its messages: those that are left in
/// it at its end are abandoned, and an owner that sleeps then is not woken. waitNext() and
/// postSync() are fatal on a thread that is not an Rtk::Thread.
class Mailbox : public GetMessageApi, public PostMessageApi, public Signaled {
 public:
  /// Any thread, before main too.
  Mailbox();

  /// The oldest message, or null for a signal; several signals before the owner looks are one.
  /// Blocks until there is either. Server thread only.
  Message* waitNext() override;

  ~Mailbox() override = default;

  /// Any thread.
  void post(Message& message) override;

  /// Any thread of the framework but the server's own.
  void postSync(Message& message) override;

  /// Makes a waitNext() return null. Any thread.
  void signal() override;

  /// signal() without the lock, for contexts that must not lock. One that comes while the owner is
  /// about to fall asleep is noticed only at the next wake-up. Any thread.
  void suSignal() override;

 private:
  // Guarded by _lock.
  SList<Message> _queue;

  // Guarded by _lock, but for suSignal().
  std::atomic<Thread*> _waiter;  // Asleep in waitNext(), or about to be.
  std::atomic<bool> _signaled;

  PrivilegedMutex _lock;
};

}  // namespace Rtk
