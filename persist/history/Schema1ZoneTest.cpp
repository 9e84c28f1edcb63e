// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "persist/history/Schema1Zone.h"

#include <gtest/gtest.h>

#include "persist/history/HistoryTesting.h"

namespace {

using namespace HistoryTesting;
using Pvn::Persist::History::Kiv::Schema1::Bramal::Zone::Period;
using Pvn::Persist::History::Kiv::Schema1::Bramal::Zone::Record;
namespace Old = Pvn::Persist::History::Kiv::Schema0::Bramal::Zone;

constexpr std::uint64_t bitsOf12799 = 0x405FFF5C28F5C28F;

TEST(Schema1ZonePeriodTest, StartsAllZero) {
  EXPECT_EQ(Image::ofNew<Period>().difference(Image(88)), "");
}

TEST(Schema1ZonePeriodTest, KeepsEachFieldAtItsOffset) {
  expectFieldsAtTheirOffsets(zonePeriodFields<Period>());
}

TEST(Schema1ZonePeriodTest, TakesTheOldFieldsAndZeroesThePadding) {
  const Image before = Image::random(88);
  Image expected(88);
  copyFields(zonePeriodFields<Old::Period>(), before, 0, expected, 0);
  EXPECT_EQ(Image::ofNew<Period>(before.as<Old::Period>()).difference(expected), "");
}

TEST(Schema1ZoneRecordTest, KeepsEachFieldAtItsOffset) {
  ASSERT_EQ(sizeof(Record), 2040U);
  expectFieldsAtTheirOffsets(
      recordFields(zoneHeaderFields<Record>(), zonePeriodFields<Period>(), 16, 808));
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
  EXPECT_EQ(Image::ofNew<Record>(3, 1000L).difference(expected), "");
}

TEST(Schema1ZoneRecordTest, ConversionKeepsEachFieldAndZeroesThePadding) {
  const Image before = Image::random(2040);
  Image expected(2040);
  copyFields(
      recordFields(zoneHeaderFields<Old::Record>(), zonePeriodFields<Old::Period>(), 16, 808),
      before, 0, expected, 0);
  EXPECT_EQ(Image::ofNew<Record>(before.as<Old::Record>()).difference(expected), "");
}

TEST(Schema1ZoneRecordTest, ConversionLeavesZeroPeriodsZero) {
  EXPECT_EQ(Image::ofNew<Record>(Old::Record()).difference(Image(2040)), "");
  Record record{Old::Record()};
  record.clearDayHistory(4);
  EXPECT_EQ(Image::of(record).difference(Image(2040).put(16 + 4 * 88 + 40, 8, bitsOf12799)), "");
}

}  // namespace
