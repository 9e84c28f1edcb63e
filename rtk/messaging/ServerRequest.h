// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "rtk/messaging/ReturnHandler.h"
#include "rtk/messaging/ServerMessage.h"

namespace Rtk {

/// One call on a service of another thread. `Api` is the request interface of the service: an
/// abstract class whose operations are overloads of request(), one for each `Payload` it accepts,
/// mostly a structure nested in it. The payload carries the arguments there and the results back.
/// Request, payload and return handler are objects of the sender, who must not let go of them
/// before the request has come back; in between they are the server's, without a lock.
/// Nothing is fatal here.
template <class Api, class Payload>
class ServerRequest : public ServerMessage {
 public:
  /// REQUIRES: all three outlive this object. Any thread.
  // NOLINTBEGIN(clang-analyzer-optin.cplusplus.UninitializedObject): the link is the queue's.
  ServerRequest(Api& api, Payload& payload, ReturnHandler& returnHandler)
      : ServerMessage(returnHandler), _api(api), _payload(payload) {}
  // NOLINTEND(clang-analyzer-optin.cplusplus.UninitializedObject)

  /// Hands the request to the service, which returns it when it has finished, mostly but not
  /// necessarily before request() ends. Server thread only.
  void process() override { _api.request(*this); }

  /// Server thread only, until the request has come back; then the sender's.
  Payload& getPayload() { return _payload; }

 private:
  Api& _api;
  Payload& _payload;
};

}  // namespace Rtk
