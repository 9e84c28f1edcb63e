// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "database/Table.h"
#include "rtk/messaging/ServerRequest.h"

namespace Pvn::Database::Table::Atomic {

namespace Req {

/// The server's side of iterating a table. The table handle implements and owns it; its server
/// thread alone calls it. Each request must be returned once. Nothing is fatal here.
class Api {
 public:
  /// The arguments of iterate().
  struct IteratePayload {
    explicit IteratePayload(Pvn::Database::Table::IteratorApi& iterator) : _iterator(iterator) {}

    Pvn::Database::Table::IteratorApi& _iterator;
  };

  Api() = default;

  /// Server thread only.
  virtual void request(Rtk::ServerRequest<Api, IteratePayload>& request) = 0;

  virtual ~Api() = default;
  Api(const Api&) = delete;
  Api& operator=(const Api&) = delete;
};

}  // namespace Req

}  // namespace Pvn::Database::Table::Atomic
