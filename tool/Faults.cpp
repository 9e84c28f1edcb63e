// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "tool/Faults.h"

#include <csignal>
#include <new>

#include "posix/BusError.h"
#include "rtk/error/FatalError.h"

namespace {

/// An unreadable page ends the process like every fatal error: with the logging lock, so the record
/// is not mixed with that of another thread, and through exit(), so printed warnings are not lost.
/// Signal handlers generally must not call such functions, because the signal may have interrupted
/// one of them. This one comes from an instruction that reads a mapped file. Only `metakit/` has
/// those, and never within a function of the C library that takes a lock.
extern "C" void handleBusError(int /*signal*/, siginfo_t* info, void* /*context*/) {
  if (BusError::isUnreadablePage(info->si_code)) {
    Rtk::FatalError::logRawAndExit("A file cannot be read. Its device failed, or it was cut off");
  }
  BusError::endBySignal();
}

}  // namespace

void reportFaults() {
  std::set_new_handler([] { Rtk::FatalError::logRawAndExit("Out of memory"); });
  struct sigaction action = {};
  action.sa_sigaction = handleBusError;
  action.sa_flags = SA_SIGINFO;
  ::sigaction(SIGBUS, &action, nullptr);
  // Writes past the limit of the file size, and of messages that nobody reads, get errors instead.
  std::signal(SIGXFSZ, SIG_IGN);
  std::signal(SIGPIPE, SIG_IGN);
}
