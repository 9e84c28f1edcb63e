// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>

#include "rtk/list/SList.h"
#include "rtk/string/DString.h"

namespace Pvn::Persist {

/// One record of a table that is being converted: what was read, and the names of the old and the
/// new row, which are their tables' names with the key behind. A converter makes, fills and frees
/// it. Used by one thread at a time; nothing is fatal.
template <class Old>
class Pair {
 public:
  /// The record as `Old` makes it, the key 0, the names without a key.
  Pair(const char* oldTableName, const char* newTableName)
      : _oldName(oldTableName, 0, nameIncrement), _newName(newTableName, 0, nameIncrement) {}
  Pair(const Pair&) = delete;
  Pair& operator=(const Pair&) = delete;

  // The table's name and the key, with nothing in between.
  const Rtk::DString& oldName() const { return _oldName; }
  const Rtk::DString& newName() const { return _newName; }

 private:
  friend class Rtk::SList<Pair>;
  template <class AnyOld, class New>
  friend class Converter;

  /// Characters by which the names grow.
  static constexpr int nameIncrement = 16;

  Pair* _next = nullptr;
  Rtk::DString _oldName;
  Rtk::DString _newName;
  Old _record;
  std::int32_t _key = 0;
};

}  // namespace Pvn::Persist
