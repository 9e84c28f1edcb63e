// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "database/CommitReq.h"
#include "rtk/messaging/PostMessageApi.h"
#include "rtk/messaging/SAP.h"

namespace Pvn::Database::Persist::Commit {

/// Holds the commits of a store back from another thread: each operation posts one request to the
/// server thread and sleeps until it comes back. It keeps no state between calls, so that several
/// threads may call through it at once. The server-side object, its target, mostly owns it. Every
/// operation is fatal on a thread that is not an Rtk::Thread, and never returns on the server
/// thread or without one.
class Sync : public Api {
 public:
  /// Only binds the two: `target` may still be under construction.
  /// REQUIRES: both outlive this object. Any thread.
  Sync(Rtk::PostMessageApi& server, Req::Api& target);

  /// Any thread of the framework but the server's own.
  void decrementInhibit() override;

  /// Any thread of the framework but the server's own.
  void incrementInhibit() override;

  /// The way to the server, for further proxies too. Valid until this object ends. Any thread.
  Rtk::SAP<Req::Api>* getSAP() { return &_sap; }

 private:
  // Constant after construction.
  Rtk::SAP<Req::Api> _sap;
};

}  // namespace Pvn::Database::Persist::Commit
