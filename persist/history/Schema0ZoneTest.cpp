// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "persist/history/Schema0Zone.h"

#include <gtest/gtest.h>

#include "persist/history/testing/HistoryTesting.h"

namespace {

using namespace HistoryTesting;
namespace Zone0 = Pvn::Persist::History::Kiv::Schema0::Bramal::Zone;

TEST(Schema0ZonePeriodTest, StartsAllZero) {
  EXPECT_EQ(Image::ofNew<Zone0::Period>().difference(Image(88)), "");
}

TEST(Schema0ZonePeriodTest, KeepsEachFieldAtItsOffset) {
  expectFieldsAtTheirOffsets(zonePeriodFields<Zone0::Period>());
}

TEST(Schema0ZoneRecordTest, KeepsEachFieldAtItsOffset) {
  ASSERT_EQ(sizeof(Zone0::Record), 2040U);
  expectFieldsAtTheirOffsets(
      recordFields(zoneHeaderFields<Zone0::Record>(), zonePeriodFields<Zone0::Period>(), 16, 808));
}

TEST(Schema0ZoneRecordTest, DefaultRecordHasNoStartValuesAnywhere) {
  EXPECT_EQ(Image::ofNew<Zone0::Record>().difference(Image(2040)), "");
}

TEST(Schema0ZoneRecordTest, OnlyTheCurrentPeriodsOfARecordWithATimeHaveStartValues) {
  Image expected(2040);
  expected.put(0, 4, 3);
  for (const std::size_t current : {16U, 808U}) {
    expected.put(current, 4, 1000).put(current + 4, 4, 1000);
    expected.put(current + 40, 8, bitsOf12799);
  }
  EXPECT_EQ(Image::ofNew<Zone0::Record>(3, 1000L).difference(expected), "");
}

TEST(Schema0ZoneRecordTest, ClearHistoryKeepsTheZone) {
  Zone0::Record record(3, 1000);
  record.headerWord1 = 1;
  record.headerWord2 = 2;
  record.clearHistory();
  EXPECT_EQ(Image::of(record).difference(Image(2040).put(0, 4, 3)), "");
}

TEST(Schema0ZoneRecordTest, ClearedPeriodHasNoStartValuesAndAShiftedInOneHas) {
  Zone0::Record record(3, 1000);
  record.clearDayHistory(0);
  EXPECT_EQ(Image::of(record.days[0]).difference(Image(88)), "");
  record.shiftDays(2000);
  EXPECT_EQ(bitsOf(record.days[0].minA), bitsOf12799);
  EXPECT_EQ(record.days[0].time1, 2000);
  EXPECT_EQ(Image::of(record.days[1]).difference(Image(88)), "");
}

}  // namespace
