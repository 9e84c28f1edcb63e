// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "rtk/messaging/ServerRequest.h"

namespace Pvn::Database::Persist::Commit {

/// Lets clients hold back the commits of a store: while more has been incremented than decremented,
/// changes are kept, and the last decrement commits them all at once. It belongs to the store.
/// Fatal on a thread that is not an Rtk::Thread.
class Api {
 public:
  Api() = default;
  virtual ~Api() = default;
  Api(const Api&) = delete;
  Api& operator=(const Api&) = delete;

  /// Any thread of the framework but the server's own.
  virtual void decrementInhibit() = 0;

  /// Any thread of the framework but the server's own.
  virtual void incrementInhibit() = 0;
};

namespace Req {

/// The server's side of holding commits back. The store implements and owns it; its server thread
/// alone calls it. Each request must be returned once. Nothing is fatal here.
class Api {
 public:
  struct DecrInhibitPayload {};

  struct IncrInhibitPayload {};

  Api() = default;

  /// Server thread only.
  virtual void request(Rtk::ServerRequest<Api, DecrInhibitPayload>& request) = 0;

  /// Server thread only.
  virtual void request(Rtk::ServerRequest<Api, IncrInhibitPayload>& request) = 0;

  virtual ~Api() = default;
  Api(const Api&) = delete;
  Api& operator=(const Api&) = delete;
};

}  // namespace Req

}  // namespace Pvn::Database::Persist::Commit
