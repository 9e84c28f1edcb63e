// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "posix/StandardDescriptors.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>

namespace StandardDescriptors {

namespace {

/// Returns a descriptor that accepts every write, or a negative number.
int openSink() {
  const int null = ::open("/dev/null", O_RDWR);
  // Without /dev, a file in memory keeps what is written until the process ends.
  return null >= 0 ? null : ::memfd_create("standard descriptor", 0);
}

}  // namespace

bool ensureOpen() {
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    // All lower descriptors are open, so the system assigns this number.
    if (::fcntl(descriptor, F_GETFD) < 0 && openSink() != descriptor) {
      return false;
    }
  }
  return true;
}

int moveAbove(int descriptor) {
  if (descriptor < 0 || descriptor > STDERR_FILENO) {
    return descriptor;
  }
  const int moved = ::fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  const int error = errno;
  ::close(descriptor);
  errno = error;
  return moved;
}

}  // namespace StandardDescriptors
