// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "rtk/messaging/Message.h"
#include "rtk/messaging/ReturnHandler.h"

namespace Rtk {

/// A message that goes back to its sender. The sender owns it and keeps it until then; meanwhile it
/// belongs to the server that handles it, whose duty it is to send it back. A sender whose message
/// never comes back waits for ever; one whose message comes back twice gets a wake-up to spare,
/// which ends its next wait early. Neither is detected.
class ServerMessage : public Message {
 public:
  /// REQUIRES: `returnHandler` outlives this object. Any thread.
  explicit ServerMessage(ReturnHandler& returnHandler) : _returnHandler(returnHandler) {}

  /// To be called once, as the last thing that the server does with the message: the sender may
  /// have destroyed it before this returns. Server thread only.
  void returnToSender() { _returnHandler.rts(); }

 private:
  ReturnHandler& _returnHandler;
};

}  // namespace Rtk
