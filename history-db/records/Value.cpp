// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/records/Value.h"

#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <cstring>
#include <iterator>

#include "metakit/Codec.h"

namespace HistoryDb {

namespace {

constexpr std::uint64_t usualNan = 0x7FF8000000000000U;
constexpr std::string_view nan = "NaN";
constexpr std::string_view infinity = "Infinity";
constexpr std::string_view minusInfinity = "-Infinity";

void appendReal(std::string& text, std::uint64_t bits) {
  const double value = realOf(bits);
  if (std::isinf(value)) {
    text += value > 0 ? infinity : minusInfinity;
  } else if (bits == usualNan) {
    text += nan;
  } else if (std::isnan(value)) {
    fmt::format_to(std::back_inserter(text), "{}:{:016x}", nan, bits);
  } else {
    const std::size_t begin = text.size();
    fmt::format_to(std::back_inserter(text), "{}", value);
    if (text.find_first_of(".e", begin) == std::string::npos) {
      text += ".0";
    }
  }
}

}  // namespace

std::uint64_t bitsAt(std::string_view record, int offset, Type type) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(record.data()) + offset;
  constexpr auto order = Metakit::ByteOrder::Little;
  switch (type) {
    case Type::Int16:
      return Metakit::loadInteger<std::uint16_t>(bytes, order);
    case Type::Int32:
      return Metakit::loadInteger<std::uint32_t>(bytes, order);
    default:
      return Metakit::loadInteger<std::uint64_t>(bytes, order);
  }
}

void putBits(std::string& record, int offset, Type type, std::uint64_t bits) {
  auto* bytes = reinterpret_cast<std::uint8_t*>(record.data()) + offset;
  constexpr auto order = Metakit::ByteOrder::Little;
  switch (type) {
    case Type::Int16:
      return Metakit::storeInteger(bytes, order, static_cast<std::uint16_t>(bits));
    case Type::Int32:
      return Metakit::storeInteger(bytes, order, static_cast<std::uint32_t>(bits));
    default:
      return Metakit::storeInteger(bytes, order, bits);
  }
}

std::int32_t integerAt(std::string_view record, int offset, Type type) {
  const std::uint64_t bits = bitsAt(record, offset, type);
  return type == Type::Int16 ? static_cast<std::int16_t>(bits) : static_cast<std::int32_t>(bits);
}

double realAt(std::string_view record, int offset) {
  return realOf(bitsAt(record, offset, Type::Double));
}

double realOf(std::uint64_t bits) {
  double value = 0;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

std::uint64_t bitsOf(double value) {
  std::uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

void appendValue(std::string& text, std::string_view record, int offset, Type type) {
  if (type == Type::Double) {
    appendReal(text, bitsAt(record, offset, type));
  } else {
    const fmt::format_int digits(integerAt(record, offset, type));
    text.append(digits.data(), digits.size());
  }
}

std::optional<std::uint64_t> bitsOfName(std::string_view name) {
  std::uint64_t bits = 0;
  if (name == nan) {
    bits = usualNan;
  } else if (name == infinity) {
    bits = bitsOf(HUGE_VAL);
  } else if (name == minusInfinity) {
    bits = bitsOf(-HUGE_VAL);
  } else {
    const std::size_t colon = nan.size();
    if (name.size() != colon + 17) {
      return std::nullopt;
    }
    std::from_chars(name.data() + colon + 1, name.data() + name.size(), bits, 16);
    // Each value has one name.
    std::string own;
    appendReal(own, bits);
    if (own != name) {
      return std::nullopt;
    }
  }
  return bits;
}

}  // namespace HistoryDb
