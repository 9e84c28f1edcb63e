// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "tool/Faults.h"

#include <unistd.h>

#include <csignal>
#include <new>

#include "rtk/error/FatalError.h"

namespace {

/// Nothing but calls that a signal handler may make.
extern "C" void reportUnreadableFile(int /*signal*/) {
  constexpr char record[] =
      "@@ FATAL ERROR: A file cannot be read. Its device failed, or it was cut off.\n";
  if (::write(STDERR_FILENO, record, sizeof record - 1) < 0) {
    // There is nobody left to tell.
  }
  ::_exit(255);
}

}  // namespace

void reportFaults() {
  std::set_new_handler([] { Rtk::FatalError::logRawAndExit("Out of memory"); });
  struct sigaction action = {};
  action.sa_handler = reportUnreadableFile;
  ::sigaction(SIGBUS, &action, nullptr);
  // Writes past the limit of the file size, and of messages that nobody reads, get errors instead.
  std::signal(SIGXFSZ, SIG_IGN);
  std::signal(SIGPIPE, SIG_IGN);
}
