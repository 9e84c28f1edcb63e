// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "rtk/messaging/ReturnHandler.h"
#include "rtk/thread/Thread.h"

namespace Rtk {

/// Brings a request back to a thread that sleeps until then: it signals the thread that made the
/// handler. The signal is kept if that thread does not sleep yet. Made on the stack of the sender,
/// for one request. Fatal when it is made on a thread that is not an Rtk::Thread.
class SyncReturnHandler : public ReturnHandler {
 public:
  /// Any thread of the framework.
  SyncReturnHandler();

  /// Any thread.
  void rts() override;

 private:
  Thread* _sender;
};

}  // namespace Rtk
