// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "history-db/records/Layout.h"

namespace HistoryDb {

// Values in the bytes of a record, and as text. REQUIRES everywhere: the record holds the place.

/// The bits at `offset`, the lowest byte first; above those of the type they are 0.
std::uint64_t bitsAt(std::string_view record, int offset, Type type);
void putBits(std::string& record, int offset, Type type, std::uint64_t bits);

/// An Int16 or Int32.
std::int32_t integerAt(std::string_view record, int offset, Type type);
/// A Double.
double realAt(std::string_view record, int offset);

double realOf(std::uint64_t bits);
std::uint64_t bitsOf(double value);

/// Appends the value at `offset` in decimal digits. A double has the fewest that stand for just its
/// bits, and a point or an exponent: "1.0", "-0.0", "1e+300". What is no number gets a name:
/// "Infinity", "-Infinity", "NaN" and, for one with other bits than 7ff8000000000000, "NaN:" and
/// its bits in hexadecimal digits.
void appendValue(std::string& text, std::string_view record, int offset, Type type);

/// The bits that a name of appendValue() stands for; none when it is another text.
std::optional<std::uint64_t> bitsOfName(std::string_view name);

}  // namespace HistoryDb
