// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/thread/Thread.h"

#include <pthread.h>
#include <time.h>
#include <unistd.h>

#include "rtk/error/FatalError.h"
#include "rtk/thread/PosixThread.h"

namespace Rtk {

SList<Thread> Thread::_threadList("StaticConstructor");
PosixMutex Thread::_threadMutex;
std::atomic<unsigned> Thread::_threadCount{0};

Thread::Thread() {
  _threadMutex.lock();
  _threadList.put(*this);
  _threadMutex.unlock();
}

Thread::~Thread() {
  _threadMutex.lock();
  _threadList.remove(*this);
  _threadMutex.unlock();
}

Thread* Thread::getCurrent() {
  if (!PosixThread::_keyCreated) {
    FatalError::logRawAndExit("Thread::getCurrent().  Have not yet created 'TSD key'.");
  }
  auto* const current = static_cast<Thread*>(::pthread_getspecific(PosixThread::_tsdKey));
  if (current == nullptr) {
    FatalError::logRawAndExit("Thread::getCurrent().  Current thread is NOT a 'Rtk::Thread'.");
  }
  return current;
}

void Thread::wait() {
  // Only PosixThread sets the key, so that every current thread is one.
  static_cast<PosixThread*>(getCurrent())->_semaphore.wait();
}

void Thread::sleep(unsigned long milliseconds) {
  timespec duration = {};
  duration.tv_sec = static_cast<time_t>(milliseconds / 1000);
  duration.tv_nsec = static_cast<long>((milliseconds % 1000) * 1000000);
  ::nanosleep(&duration, nullptr);
}

int Thread::createTaskId() {
  return ::getpid();
}

void Thread::traverse(ThreadTraverserApi& traverser) {
  _threadMutex.lock();
  for (Thread* thread = _threadList.first(); thread != nullptr;
       thread = SList<Thread>::next(*thread)) {
    if (!traverser.visit(*thread)) {
      break;
    }
  }
  _threadMutex.unlock();
}

}  // namespace Rtk
