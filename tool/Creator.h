// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "rtk/messaging/MailboxServer.h"

namespace Pvn::Mt::Itc {

/// The server whose thread does the work of the tool: it finds the conversion for the two schema
/// versions, runs it, tells the outcome and ends the process. It does so before it would serve its
/// first message, so that it never serves one. The one instance is the static `creator`. An error
/// that the layers below cannot survive ends the process from there.
class Creator : public Rtk::MailboxServer {
 public:
  ~Creator() override;

 private:
  /// Does not return: ends the process with status 0 after a conversion, with 255 when there is
  /// none for the two versions. Server thread only.
  void initialize() override;
};

}  // namespace Pvn::Mt::Itc
