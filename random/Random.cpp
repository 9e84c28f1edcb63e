// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "random/Random.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>

#include "posix/StandardDescriptors.h"

namespace Pvn::Random {

namespace Posix {

int fd = 0;

}  // namespace Posix

void initialize() {
  Posix::fd = StandardDescriptors::moveAbove(::open("/dev/urandom", O_RDONLY | O_CLOEXEC));
  if (Posix::fd < 0) {
    std::perror("Pvn::Random::initialize() can't open /dev/urandom.");
  }
}

namespace Signed {

int get() {
  // A short read is taken as it is, with the bytes that did not come left at zero: the device never
  // gives one for four bytes, and any value is a valid key.
  std::int32_t value = 0;
  if (::read(Posix::fd, &value, sizeof(value)) < 0) {
    std::perror("Pvn::Random::Signed::get(): read() failed");
    return 0;
  }
  return value;
}

}  // namespace Signed

}  // namespace Pvn::Random
