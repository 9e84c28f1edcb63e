// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "rtk/messaging/OpenReqApi.h"
#include "rtk/messaging/OpenSyncApi.h"
#include "rtk/messaging/PostMessageApi.h"
#include "rtk/messaging/SAP.h"

namespace Rtk {

/// A service that can be opened. Clients call open(), and the derived class does the opening on its
/// own thread, in the request() that it implements. The owner of the service must keep it as long
/// as a client may hold its access point. open() is fatal on a thread that is not an Rtk::Thread.
class Open : public OpenSyncApi, public OpenReqApi {
 public:
  /// `postMessageApi` delivers to the thread that serves this object.
  /// REQUIRES: it outlives this object. Any thread.
  explicit Open(PostMessageApi& postMessageApi);

  /// Any thread of the framework but the server's own.
  void open() override;

  /// Any thread.
  SAP<OpenReqApi>& getRtkOpenSAP() { return _openSAP; }

 private:
  // Constant after construction.
  SAP<OpenReqApi> _openSAP;

 protected:
  // Constant after construction.
  PostMessageApi& _postMessageApi;
};

}  // namespace Rtk
