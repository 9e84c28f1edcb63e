// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "companion/Descriptor.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "companion/Trouble.h"

namespace Companion {

Descriptor::Descriptor(const std::string& path)
    : _descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
  if (_descriptor < 0) {
    throwError(path, "It cannot be opened", errno);
  }
}

Descriptor::~Descriptor() {
  ::close(_descriptor);
}

}  // namespace Companion
