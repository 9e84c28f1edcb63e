// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <utility>

#include "rtk/messaging/SAP.h"
#include "rtk/messaging/ServerRequest.h"
#include "rtk/messaging/SyncReturnHandler.h"

namespace Pvn::Database {

/// Sends one request through `sap` with a payload made of `arguments`, and gives the payload back
/// as the server left it, the results in it. All that travels lies on the caller's stack. Blocks
/// until the server has returned the request, without a time limit. Fatal on a thread that is not
/// an Rtk::Thread. Any thread of the framework but the server's own, which would wait for itself.
template <class Payload, class ReqApi, class... Arguments>
Payload syncCall(Rtk::SAP<ReqApi>& sap, Arguments&&... arguments) {
  Rtk::SyncReturnHandler returnHandler;
  Payload payload(std::forward<Arguments>(arguments)...);
  Rtk::ServerRequest<ReqApi, Payload> request(sap.getRequestApi(), payload, returnHandler);
  sap.postSync(request);
  // From here on `sap` must be left alone: after a destroy request it is gone with its owner.
  return payload;
}

}  // namespace Pvn::Database
