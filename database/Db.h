// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "database/Table.h"

namespace Pvn::Database::Db {

/// A handle to one database of a store, which creates and opens its tables. It lives in memory of
/// the client, who ends it: by destroy(), or by its destructor where the server need not hear of
/// it. It must not outlive its store. All that blocks is fatal on a thread that is not an
/// Rtk::Thread.
class Api {
 public:
  Api() = default;
  virtual ~Api() = default;
  Api(const Api&) = delete;
  Api& operator=(const Api&) = delete;

  /// Ends this object, not the database in the store. Blocks until that is done: the memory is the
  /// caller's to reuse then. Any thread of the framework but the server's own.
  virtual void destroy() = 0;

  /// Opens the named table, creating it when it does not exist, with records of `recordSize` bytes.
  /// The implementation may limit the length of `name`.
  /// Builds the handle in `mem`, of `memSize` bytes, which stays the client's, and gives `mem` back
  /// as its result; null on failure. Any thread of the framework but the server's own.
  virtual Table::Api* createTable(const char* name, unsigned int recordSize, void* mem,
                                  unsigned int memSize) = 0;
};

}  // namespace Pvn::Database::Db
