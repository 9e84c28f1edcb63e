// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/messaging/SyncReturnHandler.h"

namespace Rtk {

SyncReturnHandler::SyncReturnHandler() : _sender(Thread::getCurrent()) {}

void SyncReturnHandler::rts() {
  _sender->signal();
}

}  // namespace Rtk
