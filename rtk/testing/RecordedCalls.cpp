// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/testing/RecordedCalls.h"

#include <execinfo.h>
#include <pthread.h>
#include <semaphore.h>
#include <time.h>

#include <cerrno>
#include <utility>

namespace TestSupport {

namespace {

thread_local RecordedCalls* current = nullptr;

/// For the calls that return -1 and leave the error number in errno.
int performWithErrno(const std::string& name, const std::string& arguments,
                     const std::function<int()>& call) {
  const int error =
      RecordedCalls::perform(name, arguments, [&call] { return call() == 0 ? 0 : errno; });
  if (error == 0) {
    return 0;
  }
  errno = error;
  return -1;
}

}  // namespace

RecordedCalls::RecordedCalls() {
  current = this;
}

RecordedCalls::~RecordedCalls() {
  current = nullptr;
}

void RecordedCalls::answer(const std::string& name, int error, int first, int times) {
  Plan& plan = _plans[name];
  plan.error = error;
  plan.firstAnswered = plan.calls + first;
  plan.lastAnswered = plan.firstAnswered + times - 1;
}

void RecordedCalls::before(const std::string& name, std::function<void()> hook) {
  _plans[name].hook = std::move(hook);
}

int RecordedCalls::perform(const std::string& name, const std::string& arguments,
                           const std::function<int()>& call) {
  RecordedCalls* const calls = current;
  calls->mark(name + arguments);
  Plan& plan = calls->_plans[name];
  ++plan.calls;
  if (plan.hook) {
    current = nullptr;
    const std::function<void()> hook = plan.hook;  // It may set another one.
    hook();
    current = calls;
  }
  if (plan.firstAnswered <= plan.calls && plan.calls <= plan.lastAnswered) {
    return plan.error;
  }
  return call();
}

}  // namespace TestSupport

// The linker's --wrap option gives these names to the calls and to what they stand before.
// NOLINTBEGIN(clang-diagnostic-reserved-identifier)

// Nothing is done before the look at `current`: the runtimes of the sanitizers come here, too, when
// the program has hardly begun.
#define RECORD(name, parameters, passed, perform, arguments)                \
  int __real_##name parameters;                                             \
  int __wrap_##name parameters;                                             \
  int __wrap_##name parameters {                                            \
    if (TestSupport::current == nullptr) {                                  \
      return __real_##name passed;                                          \
    }                                                                       \
    return perform(#name, arguments, [&] { return __real_##name passed; }); \
  }

using TestSupport::performWithErrno;
using TestSupport::RecordedCalls;

namespace {

std::string list(long long a) {
  return "(" + std::to_string(a) + ")";
}
std::string list(long long a, long long b) {
  return "(" + std::to_string(a) + ", " + std::to_string(b) + ")";
}

/// Marks the calls that a thread makes for itself.
std::string own(pthread_t thread) {
  return ::pthread_equal(thread, ::pthread_self()) != 0 ? "(own)" : "";
}

}  // namespace

extern "C" {

RECORD(pthread_mutexattr_init, (pthread_mutexattr_t * attribute), (attribute),
       RecordedCalls::perform, "")
RECORD(pthread_mutexattr_settype, (pthread_mutexattr_t * attribute, int type), (attribute, type),
       RecordedCalls::perform, type == PTHREAD_MUTEX_RECURSIVE ? "(recursive)" : "(other)")
RECORD(pthread_mutexattr_destroy, (pthread_mutexattr_t * attribute), (attribute),
       RecordedCalls::perform, "")
RECORD(pthread_mutex_init, (pthread_mutex_t * mutex, const pthread_mutexattr_t* attribute),
       (mutex, attribute), RecordedCalls::perform, attribute == nullptr ? "" : "(attribute)")
RECORD(pthread_mutex_lock, (pthread_mutex_t * mutex), (mutex), RecordedCalls::perform, "")
RECORD(pthread_mutex_unlock, (pthread_mutex_t * mutex), (mutex), RecordedCalls::perform, "")
RECORD(pthread_mutex_destroy, (pthread_mutex_t * mutex), (mutex), RecordedCalls::perform, "")
RECORD(sem_init, (sem_t * semaphore, int shared, unsigned count), (semaphore, shared, count),
       performWithErrno, list(shared, count))
RECORD(sem_destroy, (sem_t * semaphore), (semaphore), performWithErrno, "")
RECORD(sem_post, (sem_t * semaphore), (semaphore), performWithErrno, "")
RECORD(sem_wait, (sem_t * semaphore), (semaphore), performWithErrno, "")
RECORD(nanosleep, (const timespec* duration, timespec* rest), (duration, rest), performWithErrno,
       list(duration->tv_sec, duration->tv_nsec))
RECORD(pthread_key_create, (pthread_key_t * key, void (*destructor)(void*)), (key, destructor),
       RecordedCalls::perform, destructor == nullptr ? "" : "(destructor)")
RECORD(pthread_setspecific, (pthread_key_t key, const void* value), (key, value),
       RecordedCalls::perform, "")
RECORD(pthread_attr_init, (pthread_attr_t * attribute), (attribute), RecordedCalls::perform, "")
RECORD(pthread_attr_destroy, (pthread_attr_t * attribute), (attribute), RecordedCalls::perform, "")
RECORD(pthread_attr_setdetachstate, (pthread_attr_t * attribute, int state), (attribute, state),
       RecordedCalls::perform, state == PTHREAD_CREATE_DETACHED ? "(detached)" : "(joinable)")
RECORD(pthread_attr_setstacksize, (pthread_attr_t * attribute, size_t size), (attribute, size),
       RecordedCalls::perform, list(static_cast<long long>(size)))
RECORD(pthread_attr_setinheritsched, (pthread_attr_t * attribute, int inherit),
       (attribute, inherit), RecordedCalls::perform, list(inherit))
RECORD(pthread_create,
       (pthread_t * thread, const pthread_attr_t* attribute, void* (*entry)(void*), void* argument),
       (thread, attribute, entry, argument), RecordedCalls::perform, "")
RECORD(pthread_join, (pthread_t thread, void** result), (thread, result), RecordedCalls::perform,
       "")
RECORD(pthread_getschedparam, (pthread_t thread, int* policy, sched_param* parameter),
       (thread, policy, parameter), RecordedCalls::perform, own(thread))
RECORD(pthread_setschedparam, (pthread_t thread, int policy, const sched_param* parameter),
       (thread, policy, parameter), RecordedCalls::perform,
       own(thread) + list(policy, parameter->sched_priority))
RECORD(pthread_setschedprio, (pthread_t thread, int priority), (thread, priority),
       RecordedCalls::perform, own(thread) + list(priority))
// Declared with as many arguments as the system call takes.
RECORD(prctl, (int option, unsigned long a, unsigned long b, unsigned long c, unsigned long d),
       (option, a, b, c, d), RecordedCalls::perform, list(option))
RECORD(gettid, (), (), RecordedCalls::perform, "")
RECORD(backtrace, (void** frames, int limit), (frames, limit), RecordedCalls::perform, list(limit))

}  // extern "C"

// NOLINTEND(clang-diagnostic-reserved-identifier)
