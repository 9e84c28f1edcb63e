// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/thread/PosixThread.h"

#include <sched.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>

#include "rtk/error/FatalError.h"
#include "rtk/error/UnexpectedError.h"

namespace Rtk {

namespace {

constexpr int minimumStackSize = 16384;

void require(int result, const char* failure) {
  if (result != 0) {
    FatalError::logRawAndExit(failure);
  }
}

}  // namespace

bool PosixThread::_keyCreated = false;
pthread_key_t PosixThread::_tsdKey;

PosixThread::PosixThread(Runnable& runnable, const char* name, int priority, int stackSize,
                         int policy)
    : _runnable(runnable), _name(name), _id(0), _handle(0), _number(0), _running(true) {
  _threadMutex.lock();
  if (!_keyCreated) {
    _keyCreated = true;
    ::pthread_key_create(&_tsdKey, nullptr);
  }
  _threadMutex.unlock();

  const int schedPriority = schedulingPriority(priority, ::sched_get_priority_min(policy),
                                               ::sched_get_priority_max(policy));

  // Detached first and joinable again is meant: the destructor joins the thread, so that the last
  // setting has to be the one that counts. The attribute owns nothing and is not destroyed.
  pthread_attr_t attribute;
  ::pthread_attr_init(&attribute);
  require(::pthread_attr_setdetachstate(&attribute, PTHREAD_CREATE_DETACHED),
          "PosixThread::PosixThread: pthread_attr_setdetachstate failed");
  require(
      ::pthread_attr_setstacksize(&attribute, static_cast<std::size_t>(usableStackSize(stackSize))),
      "PosixThread::PosixThread: pthread_attr_setstacksize failed");
  require(::pthread_attr_setdetachstate(&attribute, PTHREAD_CREATE_JOINABLE),
          "PosixThread::PosixThread: pthread_attr_setdetachstate failed");
  require(::pthread_create(&_handle, &attribute, entryPoint, this),
          "PosixThread::PosixThread: pthread_create failed");

  // The thread starts with the scheduling of its creator and is moved to its own just afterwards.
  int inheritedPolicy = 0;
  sched_param parameter = {};
  require(::pthread_getschedparam(_handle, &inheritedPolicy, &parameter),
          "PosixThread::PosixThread: pthread_getschedparam failed");
  parameter.sched_priority = schedPriority;
  require(::pthread_setschedparam(_handle, policy, &parameter),
          "PosixThread::PosixThread: pthread_setschedparam failed");

  // Two steps without the lock: two constructors at the same time may take the same number, which
  // only tells the threads apart in a core dump.
  _number = _threadCount;
  _threadCount += 1;
}

PosixThread::~PosixThread() {
  const int error = ::pthread_join(_handle, nullptr);
  if (error != 0) {
    UnexpectedError::log("%p: PosixThread::~PosixThread: pthread_join(0x%lx) failed: %d\n",
                         static_cast<void*>(this), _handle, error);
  }
}

void PosixThread::signal() {
  _semaphore.signal();
}

void PosixThread::suSignal() {
  _semaphore.suSignal();
}

const char* PosixThread::getName() {
  return _name.getString();
}

unsigned long PosixThread::getId() {
  return _id;
}

int PosixThread::changePriority(int priority) {
  return ::pthread_setschedprio(_handle, priority);
}

void* PosixThread::entryPoint(void* self) {
  auto* const thread = static_cast<PosixThread*>(self);
  // The base, because that is what getCurrent() takes the value for.
  ::pthread_setspecific(_tsdKey, static_cast<Thread*>(thread));
  // Not called virtually: the constructor of a derived class may still be at work.
  ::prctl(PR_SET_NAME, thread->PosixThread::getName());
  thread->_id = static_cast<unsigned long>(::gettid());
  thread->_runnable.run();
  thread->_running = false;
  return nullptr;
}

int PosixThread::schedulingPriority(int priority, int minimum, int maximum) {
  // The header says why the limits apply to the steps and not to the caller's number.
  const int steps = std::max(std::min(priority, maximum - minimum), 0);
  return maximum - steps;
}

int PosixThread::usableStackSize(int stackSize) {
  return std::max(stackSize, minimumStackSize);
}

}  // namespace Rtk
