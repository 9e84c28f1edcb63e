// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "database/Table.h"
#include "rtk/messaging/ServerRequest.h"

namespace Pvn::Database::Persist::Db {

/// What clients may ask of a database by request. The operations are those of
/// Pvn::Database::Db::Api. Fatal on a thread that is not an Rtk::Thread.
class Api {
 public:
  Api() = default;
  virtual ~Api() = default;
  Api(const Api&) = delete;
  Api& operator=(const Api&) = delete;

  /// Any thread of the framework but the server's own.
  virtual Pvn::Database::Table::Api* createTable(const char* name, unsigned int recordSize,
                                                 void* mem, unsigned int memSize) = 0;

  /// Any thread of the framework but the server's own.
  virtual void destroy() = 0;
};

namespace Req {

/// The server's side of a database. The database handle implements and owns it; its server thread
/// alone calls it. Each request must be returned once. Nothing is fatal here.
class Api {
 public:
  /// The arguments of createTable(), and its result: null until the server has set it.
  struct CreateTablePayload {
    CreateTablePayload(const char* name, unsigned int recordSize, void* mem, unsigned int memSize)
        : _name(name), _recordSize(recordSize), _mem(mem), _memSize(memSize) {}

    const char* _name;
    unsigned int _recordSize;
    void* _mem;
    unsigned int _memSize;
    Pvn::Database::Table::Api* _result = nullptr;
  };

  struct DestroyPayload {};

  Api() = default;

  /// Server thread only.
  virtual void request(Rtk::ServerRequest<Api, CreateTablePayload>& request) = 0;

  /// Server thread only.
  virtual void request(Rtk::ServerRequest<Api, DestroyPayload>& request) = 0;

  virtual ~Api() = default;
  Api(const Api&) = delete;
  Api& operator=(const Api&) = delete;
};

}  // namespace Req

}  // namespace Pvn::Database::Persist::Db
