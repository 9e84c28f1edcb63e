// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "database/Record.h"
#include "rtk/messaging/ServerRequest.h"

namespace Pvn::Database::Persist::Table {

/// What clients may ask of a table by request, but for iterating it. The operations are those of
/// Pvn::Database::Table::Api. Fatal on a thread that is not an Rtk::Thread.
class Api {
 public:
  Api() = default;
  virtual ~Api() = default;
  Api(const Api&) = delete;
  Api& operator=(const Api&) = delete;

  /// Any thread of the framework but the server's own.
  virtual Pvn::Database::Record::Api* openFirstRecord(void* mem, unsigned int memSize) = 0;

  /// Any thread of the framework but the server's own.
  virtual Pvn::Database::Record::Api* createRecordWithKey(const void* data, void* mem,
                                                          unsigned int memSize, int key) = 0;

  /// Any thread of the framework but the server's own.
  virtual Pvn::Database::Record::Api* createRecord(const void* data, void* mem,
                                                   unsigned int memSize) = 0;

  /// Any thread of the framework but the server's own.
  virtual void destroy() = 0;
};

namespace Req {

/// The server's side of a table. The table handle implements and owns it; its server thread alone
/// calls it. Each request must be returned once. Nothing is fatal here.
class Api {
 public:
  /// The arguments of openFirstRecord(), and its result: null until the server has set it.
  struct OpenFirstRecordPayload {
    OpenFirstRecordPayload(void* mem, unsigned int memSize) : _mem(mem), _memSize(memSize) {}

    void* _mem;
    unsigned int _memSize;
    Pvn::Database::Record::Api* _result = nullptr;
  };

  /// The arguments of createRecordWithKey(), and its result: null until the server has set it.
  struct CreateRecordWithKeyPayload {
    CreateRecordWithKeyPayload(const void* data, void* mem, unsigned int memSize, int key)
        : _data(data), _mem(mem), _memSize(memSize), _key(key) {}

    const void* _data;
    void* _mem;
    unsigned int _memSize;
    int _key;
    Pvn::Database::Record::Api* _result = nullptr;
  };

  /// The arguments of createRecord(), and its result: null until the server has set it.
  struct CreateRecordPayload {
    CreateRecordPayload(const void* data, void* mem, unsigned int memSize)
        : _data(data), _mem(mem), _memSize(memSize) {}

    const void* _data;
    void* _mem;
    unsigned int _memSize;
    Pvn::Database::Record::Api* _result = nullptr;
  };

  struct DestroyPayload {};

  Api() = default;

  /// Server thread only.
  virtual void request(Rtk::ServerRequest<Api, OpenFirstRecordPayload>& request) = 0;

  /// Server thread only.
  virtual void request(Rtk::ServerRequest<Api, CreateRecordWithKeyPayload>& request) = 0;

  /// Server thread only.
  virtual void request(Rtk::ServerRequest<Api, CreateRecordPayload>& request) = 0;

  /// Server thread only.
  virtual void request(Rtk::ServerRequest<Api, DestroyPayload>& request) = 0;

  virtual ~Api() = default;
  Api(const Api&) = delete;
  Api& operator=(const Api&) = delete;
};

}  // namespace Req

}  // namespace Pvn::Database::Persist::Table
