// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "rtk/messaging/ServerRequest.h"

namespace Pvn::Database::Persist::Record {

/// What clients may ask of a record by request. The operations are those of
/// Pvn::Database::Record::Api. Fatal on a thread that is not an Rtk::Thread.
class Api {
 public:
  Api() = default;
  virtual ~Api() = default;
  Api(const Api&) = delete;
  Api& operator=(const Api&) = delete;

  /// Any thread of the framework but the server's own.
  virtual unsigned int write(const void* data, unsigned int size, unsigned int offset) = 0;

  /// Any thread of the framework but the server's own.
  virtual unsigned int read(void* buffer, unsigned int size, unsigned int offset) = 0;

  /// Any thread of the framework but the server's own.
  virtual void destroy() = 0;
};

namespace Req {

/// The server's side of a record. The record handle implements and owns it; its server thread alone
/// calls it. Each request must be returned once. Nothing is fatal here.
class Api {
 public:
  /// The arguments of write(), and its result: 0 until the server has set it.
  struct WritePayload {
    WritePayload(const void* data, unsigned int size, unsigned int offset)
        : _data(data), _size(size), _offset(offset) {}

    const void* _data;
    unsigned int _size;
    unsigned int _offset;
    unsigned int _result = 0;
  };

  /// The arguments of read(), and its result: 0 until the server has set it.
  struct ReadPayload {
    ReadPayload(void* buffer, unsigned int size, unsigned int offset)
        : _buffer(buffer), _size(size), _offset(offset) {}

    void* _buffer;
    unsigned int _size;
    unsigned int _offset;
    unsigned int _result = 0;
  };

  struct DestroyPayload {};

  Api() = default;

  /// Server thread only.
  virtual void request(Rtk::ServerRequest<Api, WritePayload>& request) = 0;

  /// Server thread only.
  virtual void request(Rtk::ServerRequest<Api, ReadPayload>& request) = 0;

  /// Server thread only.
  virtual void request(Rtk::ServerRequest<Api, DestroyPayload>& request) = 0;

  virtual ~Api() = default;
  Api(const Api&) = delete;
  Api& operator=(const Api&) = delete;
};

}  // namespace Req

}  // namespace Pvn::Database::Persist::Record
