// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/thread/PosixMutex.h"

namespace Rtk {

PosixMutex::PosixMutex() {
  // The attribute is left as it is afterwards: it owns nothing that could be given back.
  pthread_mutexattr_t attribute;
  ::pthread_mutexattr_init(&attribute);
  ::pthread_mutexattr_settype(&attribute, PTHREAD_MUTEX_RECURSIVE);
  ::pthread_mutex_init(&_mutex, &attribute);
}

PosixMutex::~PosixMutex() {
  // The unlock is meant: a process that ends inside a nested fatal error destroys the logging lock
  // while it holds it, and a locked mutex must not be destroyed. Otherwise it fails without effect.
  ::pthread_mutex_unlock(&_mutex);
  ::pthread_mutex_destroy(&_mutex);
}

int PosixMutex::lock() {
  return ::pthread_mutex_lock(&_mutex);
}

int PosixMutex::unlock() {
  return ::pthread_mutex_unlock(&_mutex);
}

}  // namespace Rtk
