// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/thread/PosixSemaphore.h"

#include <cerrno>

namespace Rtk {

PosixSemaphore::PosixSemaphore() {
  ::sem_init(&_semaphore, 0, 0);
}

PosixSemaphore::~PosixSemaphore() {
  ::sem_destroy(&_semaphore);
}

void PosixSemaphore::signal() {
  ::sem_post(&_semaphore);
}

// sem_post takes no lock, which is all that the variant has to promise.
void PosixSemaphore::suSignal() {
  ::sem_post(&_semaphore);
}

void PosixSemaphore::wait() {
  while (::sem_wait(&_semaphore) != 0 && errno == EINTR) {
  }
}

}  // namespace Rtk
