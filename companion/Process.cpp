// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "companion/Process.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <string_view>

#include "companion/NewFile.h"
#include "companion/Trouble.h"

namespace Companion {

namespace {

extern "C" void endForUnreadableFile(int /*signal*/) {
  removeNewFiles();
  constexpr std::string_view message =
      "history-db: A file cannot be read to its end: its device failed, or it was cut off.\n";
  if (::write(STDERR_FILENO, message.data(), message.size()) < 0) {
    // There is nobody left to tell.
  }
  ::_exit(static_cast<int>(Status::Trouble));
}

extern "C" void removeAndEnd(int signal) {
  removeNewFiles();
  // This handler is in force for one signal only.
  ::raise(signal);
}

}  // namespace

void prepareProcess() {
  // The lowest descriptor that is free is taken. Opened for reading, it refuses what is written.
  int descriptor = STDIN_FILENO;
  do {
    descriptor = ::open("/dev/null", O_RDONLY);
  } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
  ::close(descriptor);

  struct sigaction action = {};
  action.sa_handler = endForUnreadableFile;
  ::sigaction(SIGBUS, &action, nullptr);
  action.sa_handler = removeAndEnd;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  for (const int signal : {SIGHUP, SIGINT, SIGTERM, SIGXCPU}) {
    ::sigaction(signal, &action, nullptr);
  }
  ::signal(SIGPIPE, SIG_IGN);
  ::signal(SIGXFSZ, SIG_IGN);
}

}  // namespace Companion
