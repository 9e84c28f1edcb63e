// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "persist/history/Schema1System.h"

#include <gtest/gtest.h>

#include "persist/history/testing/HistoryTesting.h"

namespace {

using namespace HistoryTesting;
namespace System1 = Pvn::Persist::History::Kiv::Schema1::Bramal::System;
namespace System0 = Pvn::Persist::History::Kiv::Schema0::Bramal::System;

Fields<System1::Period> periodFields() {
  Fields<System1::Period> fields = systemPeriodFields<System1::Period, 11>();
  const Fields<System1::Period> added = {
      field<std::int16_t>(200, "shortValue2", &System1::Period::shortValue2),
      field<std::int32_t>(204, "intValue5", &System1::Period::intValue5),
      field<std::int32_t>(208, "intValue6", &System1::Period::intValue6),
      field<double>(216, "realValue7", &System1::Period::realValue7),
      field<std::int32_t>(224, "intValue7", &System1::Period::intValue7),
      field<double>(232, "minC", &System1::Period::minC),
      field<double>(240, "maxC", &System1::Period::maxC),
      field<double>(248, "realValue8", &System1::Period::realValue8),
      field<double>(256, "realValue9", &System1::Period::realValue9),
      field<std::int32_t>(264, "intValue8", &System1::Period::intValue8)};
  fields.insert(fields.end(), added.begin(), added.end());
  return fields;
}

/// Every byte of an old record random, its padding too.
class Schema1SystemConversionTest : public ::testing::Test {
 protected:
  const Image before = Image::random(4624);
  const Image after = Image::ofNew<System1::Record>(before.as<System0::Record>());
};

TEST(Schema1SystemPeriodTest, StartsAllZero) {
  EXPECT_EQ(Image::ofNew<System1::Period>().difference(Image(272)), "");
}

TEST(Schema1SystemPeriodTest, KeepsEachFieldAtItsOffset) {
  expectFieldsAtTheirOffsets(periodFields());
}

TEST(Schema1SystemPeriodTest, TakesTheOldFieldsAndZeroesAllElse) {
  const Image before = Image::random(200);
  Image expected(272);
  copyFields(systemPeriodFields<System0::Period, 10>(), before, 0, expected, 0);
  EXPECT_EQ(Image::ofNew<System1::Period>(before.as<System0::Period>()).difference(expected), "");
}

TEST(Schema1SystemRecordTest, KeepsEachFieldAtItsOffset) {
  ASSERT_EQ(sizeof(System1::Record), 6280U);
  expectFieldsAtTheirOffsets(
      recordFields(systemHeaderFields<System1::Record>(), periodFields(), 24, 2472));
}

TEST(Schema1SystemRecordTest, EveryPeriodOfARecordWithATimeHasStartValues) {
  Image expected(6280);
  for (std::size_t period = 24; period < 6280; period += 272) {
    expected.put(period + 48, 8, bitsOf(140.0)).put(period + 56, 8, bitsOf(-40.0));
    expected.put(period + 64, 8, bitsOf(100.0));
    expected.put(period + 232, 8, bitsOf(140.0)).put(period + 240, 8, bitsOf(-40.0));
  }
  for (const std::size_t current : {24U, 2472U}) {
    expected.put(current, 4, 1000).put(current + 4, 4, 1000);
  }
  EXPECT_EQ(Image::ofNew<System1::Record>(1000L).difference(expected), "");
}

TEST_F(Schema1SystemConversionTest, KeepsTheHeader) {
  for (std::size_t i = 0; i < 24; ++i) {
    EXPECT_EQ(after.byte(i), before.byte(i)) << i;
  }
}

TEST_F(Schema1SystemConversionTest, KeepsEachFieldAtItsRingPositionAndZeroesAllElse) {
  Image expected(6280);
  copyFields(systemHeaderFields<System0::Record>(), before, 0, expected, 0);
  for (std::size_t i = 0; i < 9 + 14; ++i) {
    copyFields(systemPeriodFields<System0::Period, 10>(), before, 24 + i * 200, expected,
               24 + i * 272);
  }
  EXPECT_EQ(after.difference(expected), "");
}

TEST_F(Schema1SystemConversionTest, NewFieldsAreZeroAndNotStartValues) {
  const auto record = after.as<System1::Record>();
  for (const System1::Period& month : record.months) {
    EXPECT_EQ(month.intArray[10], 0);
    EXPECT_EQ(month.shortValue2, 0);
    EXPECT_EQ(month.intValue5, 0);
    EXPECT_EQ(month.intValue6, 0);
    EXPECT_EQ(bitsOf(month.realValue7), 0U);
    EXPECT_EQ(month.intValue7, 0);
    EXPECT_EQ(bitsOf(month.minC), 0U);
    EXPECT_EQ(bitsOf(month.maxC), 0U);
    EXPECT_EQ(bitsOf(month.realValue8), 0U);
    EXPECT_EQ(bitsOf(month.realValue9), 0U);
    EXPECT_EQ(month.intValue8, 0);
  }
}

TEST(Schema1SystemRecordTest, ConvertedPeriodBeginsWithTheOldOnesBytesWhenPaddingIsZero) {
  Image before(4624);
  copyFields(recordFields(systemHeaderFields<System0::Record>(),
                          systemPeriodFields<System0::Period, 10>(), 24, 1824),
             Image::random(4624), 0, before, 0);
  const Image after = Image::ofNew<System1::Record>(before.as<System0::Record>());
  for (std::size_t i = 0; i < 9 + 14; ++i) {
    Image expected(272);
    expected.copy(before, 24 + i * 200, 0, 196);
    EXPECT_EQ(Image(272).copy(after, 24 + i * 272, 0, 272).difference(expected), "") << i;
  }
}

}  // namespace
