// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstring>
#include <limits>
#include <type_traits>

/// What the day and month rings of all history records share, of either schema and kind. For the
/// records' own files only. Any thread, as long as it alone holds the record; nothing is fatal.
namespace Pvn::Persist::History::Ring {

// The records are stored as they lie in memory, so that memory must read as the file does.
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "history records are little-endian");
static_assert(sizeof(double) == 8 && std::numeric_limits<double>::is_iec559,
              "history records hold IEEE 754 binary64 values");

/// The current day and those before it.
constexpr int dayCount = 9;
/// The current month and those before it.
constexpr int monthCount = 14;

/// How many bytes at the end of every period, all of them padding, a shift leaves in place.
constexpr std::size_t unshiftedTail = 4;

/// Sets every byte of `period` to zero, its padding too.
template <class Period>
void clear(Period& period) {
  static_assert(std::is_trivially_copyable_v<Period>);
  std::memset(static_cast<void*>(&period), 0, sizeof(Period));
}

/// Copies each period one place older; the oldest is lost, the current one stays as it is.
template <class Period, std::size_t count>
void shift(Period (&ring)[count]) {
  static_assert(std::is_trivially_copyable_v<Period>);
  for (std::size_t i = count - 1; i > 0; --i) {
    // Stopping short of the trailing padding is meant: those bytes belong to the place, not to
    // the period that moves through it.
    std::memcpy(static_cast<void*>(&ring[i]), &ring[i - 1], sizeof(Period) - unshiftedTail);
  }
}

}  // namespace Pvn::Persist::History::Ring
