// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "database/Property.h"

namespace Pvn::Database::Record {

/// A handle to one record of a table: a fixed number of bytes, read and written by ranges. It
/// finds its row by key, so that it stays good when other rows come and go, but not longer than its
/// table does. It lives in memory of the client, who ends it: by destroy(), which deletes the row,
/// or by its destructor, which keeps the row. All that blocks is fatal on a thread that is not an
/// Rtk::Thread.
class Api : public Property::Access::Api, public Property::Read::Api, public Property::Write::Api {
 public:
  /// Any thread.
  virtual int getKey() const = 0;

  /// Deletes the row and ends this object. Blocks until both are done: the memory is the caller's
  /// to reuse then. Any thread of the framework but the server's own.
  virtual void destroy() = 0;

  // Declared again so that both faces are seen to lead to the same two operations.

  /// Any thread of the framework but the server's own.
  unsigned int read(void* buffer, unsigned int size, unsigned int offset) override = 0;

  /// Any thread of the framework but the server's own.
  unsigned int write(const void* data, unsigned int size, unsigned int offset) override = 0;
};

}  // namespace Pvn::Database::Record
