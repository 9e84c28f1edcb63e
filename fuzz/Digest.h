// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>

#include "metakit/Sequence.h"

namespace Fuzz {

/// What a table holds, nested tables included, in one number, and how much it is. Takes no memory.
class Digest {
 public:
  explicit Digest(const Metakit::Sequence& table) { add(table); }

  /// Two tables have the same one when they have the same structure and the same cells.
  std::uint64_t value() const { return _value; }
  /// Cells and tables met on the way.
  std::int64_t cells() const { return _cells; }
  std::int64_t tables() const { return _tables; }

 private:
  void add(const Metakit::Sequence& table);
  void add(std::uint64_t number);
  void add(const std::uint8_t* bytes, std::int32_t size);

  std::uint64_t _value = 0;
  std::int64_t _cells = 0;
  std::int64_t _tables = 0;
};

}  // namespace Fuzz
