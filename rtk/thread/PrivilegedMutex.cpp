// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/thread/PrivilegedMutex.h"

namespace Rtk {

PosixMutex PrivilegedMutex::_mutex;

PrivilegedMutex::PrivilegedMutex() : _shared(&_mutex) {}

int PrivilegedMutex::lock() {
  return _shared->lock();
}

int PrivilegedMutex::unlock() {
  return _shared->unlock();
}

}  // namespace Rtk
