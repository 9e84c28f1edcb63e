// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/records/Value.h"

#include <cstdlib>
#include <limits>
#include <string>

#include <gtest/gtest.h>

namespace {

using HistoryDb::Type;

std::string textOf(std::uint64_t bits) {
  std::string record(8, '\0');
  HistoryDb::putBits(record, 0, Type::Double, bits);
  std::string text;
  HistoryDb::appendValue(text, record, 0, Type::Double);
  return text;
}

TEST(ValueTest, StandsInTheRecordLowestByteFirst) {
  std::string record(20, '\x55');
  HistoryDb::putBits(record, 2, Type::Int16, 0xFFFE);
  HistoryDb::putBits(record, 4, Type::Int32, 0x80000001);
  HistoryDb::putBits(record, 8, Type::Double, 0x4061800000000000);
  EXPECT_EQ(record, std::string("\x55\x55\xFE\xFF\x01\x00\x00\x80\x00\x00\x00\x00\x00\x80\x61\x40"
                                "\x55\x55\x55\x55",
                                20));
  EXPECT_EQ(HistoryDb::bitsAt(record, 2, Type::Int16), 0xFFFEU);
  EXPECT_EQ(HistoryDb::integerAt(record, 2, Type::Int16), -2);
  EXPECT_EQ(HistoryDb::integerAt(record, 4, Type::Int32), -2147483647);
  EXPECT_EQ(HistoryDb::realAt(record, 8), 140.0);
}

TEST(ValueTest, IntegerIsWrittenInDigits) {
  std::string record(6, '\0');
  HistoryDb::putBits(record, 0, Type::Int16, 0x8000);
  HistoryDb::putBits(record, 2, Type::Int32, 0x80000000);
  std::string text = "x";
  HistoryDb::appendValue(text, record, 0, Type::Int16);
  HistoryDb::appendValue(text, record, 2, Type::Int32);
  EXPECT_EQ(text, "x-32768-2147483648");
}

TEST(ValueTest, RealHasTheFewestDigitsThatTellItsBits) {
  struct {
    double value;
    const char* text;
  } const cases[] = {
      {0.0, "0.0"},
      {-0.0, "-0.0"},
      {1.0, "1.0"},
      {0.1, "0.1"},
      {127.99, "127.99"},
      {0.1 + 0.2, "0.30000000000000004"},
      {1e15, "1000000000000000.0"},
      {1e300, "1e+300"},
      {std::numeric_limits<double>::denorm_min(), "5e-324"},
      {std::numeric_limits<double>::max(), "1.7976931348623157e+308"},
  };
  for (const auto& [value, text] : cases) {
    EXPECT_EQ(textOf(HistoryDb::bitsOf(value)), text);
    EXPECT_EQ(HistoryDb::bitsOf(std::strtod(textOf(HistoryDb::bitsOf(-value)).c_str(), nullptr)),
              HistoryDb::bitsOf(-value));
  }
}

TEST(ValueTest, WhatIsNoNumberHasAName) {
  struct {
    std::uint64_t bits;
    const char* name;
  } const cases[] = {
      {0x7FF0000000000000, "Infinity"},
      {0xFFF0000000000000, "-Infinity"},
      {0x7FF8000000000000, "NaN"},
      {0xFFF8000000000000, "NaN:fff8000000000000"},
      {0x7FF0000000000001, "NaN:7ff0000000000001"},
      {0xFFFFFFFFFFFFFFFF, "NaN:ffffffffffffffff"},
  };
  for (const auto& [bits, name] : cases) {
    EXPECT_EQ(textOf(bits), name);
    EXPECT_EQ(HistoryDb::bitsOfName(name), bits);
  }
}

TEST(ValueTest, OtherTextsAreNoNames) {
  for (const char* name :
       {"", "nan", "NaN:", "Inf", "infinity", "1.0", "NaN:7ff8000000000000", "NaN:7FF0000000000001",
        "NaN:7ff0000000000000", "NaN:0000000000000001", "NaN:7ff000000000000g",
        "NaN:7ff00000000000010", "NaN 7ff0000000000001"}) {
    EXPECT_EQ(HistoryDb::bitsOfName(name), std::nullopt) << name;
  }
}

}  // namespace
