// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "rtk/messaging/ServerRequest.h"

namespace Rtk {

/// The server's side of stopping a mailbox server, which implements it. Its own thread calls it.
/// Nothing is fatal here.
class MailboxServerStopReqApi {
 public:
  struct PleaseStopPayload {};

  MailboxServerStopReqApi() = default;

  /// Server thread only.
  virtual void request(ServerRequest<MailboxServerStopReqApi, PleaseStopPayload>& request) = 0;

  virtual ~MailboxServerStopReqApi() = default;
  MailboxServerStopReqApi(const MailboxServerStopReqApi&) = delete;
  MailboxServerStopReqApi& operator=(const MailboxServerStopReqApi&) = delete;
};

}  // namespace Rtk
