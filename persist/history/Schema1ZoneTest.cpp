// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "persist/history/Schema1Zone.h"

#include <gtest/gtest.h>

#include "persist/history/testing/HistoryTesting.h"

namespace {

using namespace HistoryTesting;
namespace Zone1 = Pvn::Persist::History::Kiv::Schema1::Bramal::Zone;
namespace Zone0 = Pvn::Persist::History::Kiv::Schema0::Bramal::Zone;

TEST(Schema1ZonePeriodTest, StartsAllZero) {
  EXPECT_EQ(Image::ofNew<Zone1::Period>().difference(Image(88)), "");
}

TEST(Schema1ZonePeriodTest, KeepsEachFieldAtItsOffset) {
  expectFieldsAtTheirOffsets(zonePeriodFields<Zone1::Period>());
}

TEST(Schema1ZonePeriodTest, TakesTheOldFieldsAndZeroesThePadding) {
  const Image before = Image::random(88);
  Image expected(88);
  copyFields(zonePeriodFields<Zone0::Period>(), before, 0, expected, 0);
  EXPECT_EQ(Image::ofNew<Zone1::Period>(before.as<Zone0::Period>()).difference(expected), "");
}

TEST(Schema1ZoneRecordTest, KeepsEachFieldAtItsOffset) {
  ASSERT_EQ(sizeof(Zone1::Record), 2040U);
  expectFieldsAtTheirOffsets(
      recordFields(zoneHeaderFields<Zone1::Record>(), zonePeriodFields<Zone1::Period>(), 16, 808));
}

TEST(Schema1ZoneRecordTest, EveryPeriodOfARecordWithATimeHasStartValues) {
  Image expected(2040);
  expected.put(0, 4, 3);
  for (std::size_t period = 16; period < 2040; period += 88) {
    expected.put(period + 40, 8, bitsOf12799);
  }
  for (const std::size_t current : {16U, 808U}) {
    expected.put(current, 4, 1000).put(current + 4, 4, 1000);
  }
  EXPECT_EQ(Image::ofNew<Zone1::Record>(3, 1000L).difference(expected), "");
}

TEST(Schema1ZoneRecordTest, ConversionKeepsEachFieldAndZeroesThePadding) {
  const Image before = Image::random(2040);
  Image expected(2040);
  copyFields(
      recordFields(zoneHeaderFields<Zone0::Record>(), zonePeriodFields<Zone0::Period>(), 16, 808),
      before, 0, expected, 0);
  EXPECT_EQ(Image::ofNew<Zone1::Record>(before.as<Zone0::Record>()).difference(expected), "");
}

TEST(Schema1ZoneRecordTest, ConversionLeavesZeroPeriodsZero) {
  EXPECT_EQ(Image::ofNew<Zone1::Record>(Zone0::Record()).difference(Image(2040)), "");
  Zone1::Record record{Zone0::Record()};
  record.clearDayHistory(4);
  EXPECT_EQ(Image::of(record).difference(Image(2040).put(16 + 4 * 88 + 40, 8, bitsOf12799)), "");
}

}  // namespace
