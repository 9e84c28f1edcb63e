// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sys/socket.h>
#include <sys/types.h>
#include <unistd.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/Child.h"

namespace TestSupport {

/// For tests: what `body`, which runs in a child process, writes to standard error, one text for
/// each output call. (A datagram socket keeps them apart, and the stream has no buffer.)
inline std::vector<std::string> piecesWrittenBy(const std::function<void()>& body) {
  int ends[2] = {-1, -1};
  ::socketpair(AF_UNIX, SOCK_DGRAM, 0, ends);
  inChild([&] {
    ::dup2(ends[1], STDERR_FILENO);
    body();
  });
  std::vector<std::string> pieces;
  char piece[1024];
  for (ssize_t size = 0; (size = ::recv(ends[0], piece, sizeof piece, MSG_DONTWAIT)) > 0;) {
    pieces.emplace_back(piece, static_cast<std::size_t>(size));
  }
  ::close(ends[0]);
  ::close(ends[1]);
  return pieces;
}

}  // namespace TestSupport
