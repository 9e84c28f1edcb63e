// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/messaging/Mailbox.h"

#include "rtk/thread/Thread.h"

namespace Rtk {

Mailbox::Mailbox() : _waiter(nullptr), _signaled(false) {}

Message* Mailbox::waitNext() {
  for (;;) {
    _lock.lock();
    if (_signaled) {
      _signaled = false;
      _lock.unlock();
      return nullptr;
    }
    if (Message* const message = _queue.get()) {
      _lock.unlock();
      return message;
    }
    _waiter = Thread::getCurrent();
    _lock.unlock();
    // A post or signal that comes here is not lost: the semaphore of the thread counts it.
    Thread::wait();
  }
}

void Mailbox::post(Message& message) {
  _lock.lock();
  _queue.put(message);
  // Signalled with the lock held, unlike in signal(). That is meant: the owner, which takes the
  // lock first when it wakes, cannot be done with the message before this is done with the owner.
  if (Thread* const waiter = _waiter.exchange(nullptr)) {
    waiter->signal();
  }
  _lock.unlock();
}

void Mailbox::postSync(Message& message) {
  post(message);
  Thread::wait();
}

void Mailbox::signal() {
  _lock.lock();
  _signaled = true;
  Thread* const waiter = _waiter.exchange(nullptr);
  _lock.unlock();
  // After the unlock, unlike in post(). That is meant: the owner finds the lock free.
  if (waiter != nullptr) {
    waiter->signal();
  }
}

void Mailbox::suSignal() {
  _signaled = true;
  if (Thread* const waiter = _waiter.exchange(nullptr)) {
    waiter->suSignal();
  }
}

}  // namespace Rtk
