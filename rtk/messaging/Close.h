// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "rtk/messaging/CloseReqApi.h"
#include "rtk/messaging/CloseSyncApi.h"
#include "rtk/messaging/Open.h"
#include "rtk/messaging/PostMessageApi.h"
#include "rtk/messaging/SAP.h"

namespace Rtk {

/// A service that can be opened and closed. Clients call open() and close(), and the derived class
/// does the work on its own thread, in the two request() overloads that it implements. The owner of
/// the service must keep it as long as a client may hold one of its access points. Both calls are
/// fatal on a thread that is not an Rtk::Thread.
class Close : public Open, public CloseSyncApi, public CloseReqApi {
 public:
  /// `postMessageApi` delivers to the thread that serves this object.
  /// REQUIRES: it outlives this object. Any thread.
  explicit Close(PostMessageApi& postMessageApi);

  /// Any thread of the framework but the server's own.
  void close() override;

  /// Any thread.
  SAP<CloseReqApi>& getRtkCloseSAP() { return _closeSAP; }

 private:
  // Constant after construction.
  SAP<CloseReqApi> _closeSAP;
};

}  // namespace Rtk
