// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

namespace Pvn::Database::Property {

namespace Read {

/// The readable side of something that is stored as a fixed number of bytes. A face of the object
/// that implements it, which is owned, and ended, elsewhere. Nothing is fatal but what blocks on a
/// thread that is not an Rtk::Thread.
class Api {
 public:
  Api() = default;
  virtual ~Api() = default;
  Api(const Api&) = delete;
  Api& operator=(const Api&) = delete;

  /// Copies `size` bytes from `offset` on into `buffer`. The number of bytes copied, which is
  /// `size`, or 0 on failure. Any thread of the framework but the server's own.
  virtual unsigned int read(void* buffer, unsigned int size, unsigned int offset) = 0;
};

}  // namespace Read

namespace Write {

/// The writable side of something that is stored as a fixed number of bytes. A face of the object
/// that implements it, which is owned, and ended, elsewhere. Nothing is fatal but what blocks on a
/// thread that is not an Rtk::Thread.
class Api {
 public:
  Api() = default;
  virtual ~Api() = default;
  Api(const Api&) = delete;
  Api& operator=(const Api&) = delete;

  /// Copies `size` bytes of `data` over those from `offset` on. The number of bytes copied, which
  /// is `size`, or 0 on failure. Any thread of the framework but the server's own.
  virtual unsigned int write(const void* data, unsigned int size, unsigned int offset) = 0;
};

}  // namespace Write

namespace Access {

/// The two sides of something that is stored as a fixed number of bytes, for code that wants one
/// of them alone. Both are faces of the same object and end with it. Nothing is fatal.
class Api {
 public:
  Api() = default;
  virtual ~Api() = default;
  Api(const Api&) = delete;
  Api& operator=(const Api&) = delete;

  /// Valid until the object ends. Any thread.
  virtual Read::Api* getReadApi() = 0;

  /// Valid until the object ends. Any thread.
  virtual Write::Api* getWriteApi() = 0;
};

}  // namespace Access

}  // namespace Pvn::Database::Property
