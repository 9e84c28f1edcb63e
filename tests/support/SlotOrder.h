// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <numeric>
#include <vector>

namespace TestSupport {

/// The place of an operation that is not virtual.
constexpr std::size_t noSlot = std::numeric_limits<std::size_t>::max();

/// The place of the first operation of a class that begins with its destructor, whose two forms
/// take the first two places of the table.
constexpr std::size_t slotAfterDestructor = 2;

/// The place of a virtual operation in its table, as the Itanium C++ ABI stores it in a pointer to
/// member: its offset in bytes, and one bit that tells it from an address. ARM keeps that bit in
/// the adjustment of `this`, since there the addresses of functions may be odd.
template <class Operation>
std::size_t slotOf(Operation operation) {
  std::uintptr_t words[2];
  static_assert(sizeof operation == sizeof words, "not a pointer to a member function");
  std::memcpy(words, &operation, sizeof words);
#if defined(__arm__) || defined(__aarch64__)
  const std::uintptr_t flag = words[1] & 1;
  const std::uintptr_t offset = words[0];
#else
  const std::uintptr_t flag = words[0] & 1;
  const std::uintptr_t offset = words[0] - 1;
#endif
  return flag != 0 ? static_cast<std::size_t>(offset / sizeof(void*)) : noSlot;
}

/// The `count` places from `first` on, to compare with those of operations in their order:
///
///     const std::vector<std::size_t> slots = {slotOf(&A::first), slotOf(&A::second)};
///     EXPECT_EQ(slots, slotsFrom(slotAfterDestructor, slots.size()));
inline std::vector<std::size_t> slotsFrom(std::size_t first, std::size_t count) {
  std::vector<std::size_t> slots(count);
  std::iota(slots.begin(), slots.end(), first);
  return slots;
}

}  // namespace TestSupport
