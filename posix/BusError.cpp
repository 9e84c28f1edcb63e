// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "posix/BusError.h"

#include <csignal>

namespace BusError {

bool isUnreadablePage(int code) {
  // BUS_MCEERR_AO is not included: it can come at any moment, not only in a read.
  return code == BUS_ADRERR || code == BUS_OBJERR || code == BUS_MCEERR_AR;
}

void endBySignal() {
  std::signal(SIGBUS, SIG_DFL);
  std::raise(SIGBUS);
}

}  // namespace BusError
