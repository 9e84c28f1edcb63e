// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "database/Db.h"

namespace Pvn::Database::Store {

/// A store, mostly one file, which creates databases. Whoever made the store owns it and must keep
/// it longer than all that was created from it. It must be open when it is used, which the
/// implementation tells how to do. All that blocks is fatal on a thread that is not an Rtk::Thread.
class Api {
 public:
  Api() = default;
  virtual ~Api() = default;
  Api(const Api&) = delete;
  Api& operator=(const Api&) = delete;

  /// Builds a handle to a database in `mem`, of `memSize` bytes, which stays the client's, and
  /// gives `mem` back as its result; null on failure. Any thread of the framework but the server's
  /// own.
  virtual Db::Api* create(const char* name, void* mem, unsigned int memSize) = 0;
};

}  // namespace Pvn::Database::Store
