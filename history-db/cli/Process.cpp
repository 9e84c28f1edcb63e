// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/cli/Process.h"

#include <signal.h>
#include <unistd.h>

#include <string_view>

#include "history-db/base/Trouble.h"
#include "history-db/files/Cleanup.h"
#include "posix/BusError.h"
#include "posix/StandardDescriptors.h"

namespace HistoryDb {

namespace {

extern "C" void handleBusError(int /*signal*/, siginfo_t* info, void* /*context*/) {
  cleanUp();
  if (!BusError::isUnreadablePage(info->si_code)) {
    BusError::endBySignal();
    return;
  }
  constexpr std::string_view message =
      "history-db: A file cannot be read to its end: its device failed, or it was cut off.\n";
  if (::write(STDERR_FILENO, message.data(), message.size()) < 0) {
    // There is nobody left to tell.
  }
  ::_exit(static_cast<int>(Status::Trouble));
}

extern "C" void removeAndEnd(int signal) {
  cleanUp();
  // It is blocked until this returns, and this handler is in force for one signal only.
  ::raise(signal);
}

}  // namespace

bool prepareProcess() {
  if (!StandardDescriptors::ensureOpen()) {
    return false;
  }
  struct sigaction action = {};
  action.sa_sigaction = handleBusError;
  action.sa_flags = SA_SIGINFO;
  ::sigaction(SIGBUS, &action, nullptr);
  action.sa_handler = removeAndEnd;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  // The next one waits until the first has cleaned up.
  for (const int signal : endingSignals) {
    ::sigaddset(&action.sa_mask, signal);
  }
  for (const int signal : endingSignals) {
    struct sigaction before = {};
    // Programs such as nohup have it ignored.
    if (::sigaction(signal, nullptr, &before) == 0 && before.sa_handler != SIG_IGN) {
      ::sigaction(signal, &action, nullptr);
    }
  }
  ::signal(SIGPIPE, SIG_IGN);
  ::signal(SIGXFSZ, SIG_IGN);
  return true;
}

}  // namespace HistoryDb
