// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "database/Db.h"
#include "rtk/messaging/ServerRequest.h"

namespace Pvn::Database::Persist::Store {

/// What clients may ask of a store by request. The operations are those of
/// Pvn::Database::Store::Api. Fatal on a thread that is not an Rtk::Thread.
class Api {
 public:
  Api() = default;
  virtual ~Api() = default;
  Api(const Api&) = delete;
  Api& operator=(const Api&) = delete;

  /// Any thread of the framework but the server's own.
  virtual Pvn::Database::Db::Api* create(const char* name, void* mem, unsigned int memSize) = 0;
};

namespace Req {

/// The server's side of a store. The store implements and owns it; its server thread alone calls
/// it. Each request must be returned once. Nothing is fatal here.
class Api {
 public:
  /// The arguments of create(), and its result: null until the server has set it.
  struct CreatePayload {
    CreatePayload(const char* name, void* mem, unsigned int memSize)
        : _name(name), _mem(mem), _memSize(memSize) {}

    const char* _name;
    void* _mem;
    unsigned int _memSize;
    Pvn::Database::Db::Api* _result = nullptr;
  };

  Api() = default;

  /// Server thread only.
  virtual void request(Rtk::ServerRequest<Api, CreatePayload>& request) = 0;

  virtual ~Api() = default;
  Api(const Api&) = delete;
  Api& operator=(const Api&) = delete;
};

}  // namespace Req

}  // namespace Pvn::Database::Persist::Store
