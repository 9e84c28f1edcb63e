// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>

namespace Bench {

/// The tables that are converted, in their order.
constexpr std::array<const char*, 3> tableNames = {"TormaQuilletHistory", "nativeZoneHistory",
                                                   "ZoneHistory"};

/// Bytes of a record that was converted.
constexpr std::size_t newSystemSize = 6280;
constexpr std::size_t newZoneSize = 2040;

/// How many rows a database has.
struct Rows {
  int systems;
  int zones;

  int count() const { return systems + zones; }
  double newBytes() const {
    return static_cast<double>(newSystemSize) * systems + static_cast<double>(newZoneSize) * zones;
  }
};

/// One system, and the zones it has.
constexpr Rows systemWith(int zones) {
  return {1, zones};
}

/// The keys are spread over all 32 bits, as random ones are, and all different.
constexpr std::int32_t keyOf(int row) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(row + 1) * 2654435761U);
}

/// Creates a database of schema 0, its records full of random bytes. False when it failed.
bool makeInfile(const char* path, const Rows& rows);

/// A record as schema 1 has it; the bytes are valid within the call.
struct ConvertedRow {
  /// Index of the table in `tableNames`.
  std::size_t table;
  std::int32_t key;
  const void* body;
  std::size_t size;
};

/// Reads a database of schema 0 and gives each record converted, in its order. False when it could
/// not be read.
bool convertEach(const char* path, const std::function<void(const ConvertedRow&)>& take);

}  // namespace Bench
