// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "rtk/messaging/ServerRequest.h"

namespace Rtk {

/// The server's side of closing a service. The service implements and owns it; its own thread calls
/// it. Whether it can be opened again, and what is fatal, is the service's choice.
class CloseReqApi {
 public:
  struct ClosePayload {};

  CloseReqApi() = default;

  /// Server thread only.
  virtual void request(ServerRequest<CloseReqApi, ClosePayload>& request) = 0;

  virtual ~CloseReqApi() = default;
  CloseReqApi(const CloseReqApi&) = delete;
  CloseReqApi& operator=(const CloseReqApi&) = delete;
};

}  // namespace Rtk
