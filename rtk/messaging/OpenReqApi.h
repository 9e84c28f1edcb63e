// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "rtk/messaging/ServerRequest.h"

namespace Rtk {

/// The server's side of opening a service. The service implements and owns it; its own thread calls
/// it. What a second open does, and what is fatal, is the service's choice.
class OpenReqApi {
 public:
  struct OpenPayload {};

  OpenReqApi() = default;

  /// Server thread only.
  virtual void request(ServerRequest<OpenReqApi, OpenPayload>& request) = 0;

  virtual ~OpenReqApi() = default;
  OpenReqApi(const OpenReqApi&) = delete;
  OpenReqApi& operator=(const OpenReqApi&) = delete;
};

}  // namespace Rtk
