// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "database/Table.h"

namespace Pvn::Database::Table {

/// Makes a member function of `T` the iterator of a table, so that `T` itself need not be one. It
/// is bound to one object, which mostly owns it as a member. It has no state of its own: calls are
/// forwarded on the thread they come on. Nothing is fatal.
template <class T>
class Composer : public IteratorApi {
 public:
  /// REQUIRES: `object` outlives this object. Any thread.
  Composer(T& object, bool (T::*member)(RecordApi&)) : _object(object), _member(member) {}

  /// Server thread only.
  bool nextRecord(RecordApi& record) override { return (_object.*_member)(record); }

 private:
  T& _object;
  bool (T::*_member)(RecordApi&);
};

}  // namespace Pvn::Database::Table
