// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "persist/history/Schema0System.h"

#include <gtest/gtest.h>

#include "persist/history/testing/HistoryTesting.h"

namespace {

using namespace HistoryTesting;
namespace System0 = Pvn::Persist::History::Kiv::Schema0::Bramal::System;

/// Everything that a cleared period holds, but for its times.
void expectCleared(const System0::Period& period) {
  Image expected(200);
  expected.put(0, 4, static_cast<std::uint32_t>(period.time0));
  expected.put(4, 4, static_cast<std::uint32_t>(period.time1));
  expected.put(48, 8, bitsOf(140.0)).put(56, 8, bitsOf(-40.0)).put(64, 8, bitsOf(100.0));
  EXPECT_EQ(Image::of(period).difference(expected), "");
}

TEST(Schema0SystemPeriodTest, StartsAllZero) {
  EXPECT_EQ(Image::ofNew<System0::Period>().difference(Image(200)), "");
}

TEST(Schema0SystemPeriodTest, KeepsEachFieldAtItsOffset) {
  expectFieldsAtTheirOffsets(systemPeriodFields<System0::Period, 10>());
}

TEST(Schema0SystemRecordTest, KeepsEachFieldAtItsOffset) {
  ASSERT_EQ(sizeof(System0::Record), 4624U);
  expectFieldsAtTheirOffsets(recordFields(systemHeaderFields<System0::Record>(),
                                          systemPeriodFields<System0::Period, 10>(), 24, 1824));
}

TEST(Schema0SystemRecordTest, EveryPeriodOfARecordWithATimeHasStartValues) {
  const System0::Record record = Image::ofNew<System0::Record>(1000L).as<System0::Record>();
  for (const System0::Period& day : record.days) {
    expectCleared(day);
    EXPECT_EQ(day.time0, &day == &record.days[0] ? 1000 : 0);
    EXPECT_EQ(day.time1, &day == &record.days[0] ? 1000 : 0);
  }
  for (const System0::Period& month : record.months) {
    expectCleared(month);
    EXPECT_EQ(month.time0, &month == &record.months[0] ? 1000 : 0);
    EXPECT_EQ(month.time1, &month == &record.months[0] ? 1000 : 0);
  }
  EXPECT_EQ(Image::of(record).get(0, 8), 0U);
  EXPECT_EQ(Image::of(record).get(8, 8), 0U);
  EXPECT_EQ(Image::of(record).get(16, 8), 0U);
}

TEST(Schema0SystemRecordTest, MaximumOfBStartsAtZero) {
  System0::Record record;
  record.days[3].maxB = 1.0;
  record.initializeMinMaxDayFields(3);
  EXPECT_EQ(bitsOf(record.days[3].maxB), 0U);
}

TEST(Schema0SystemRecordTest, ShiftDaysLeavesTheMonths) {
  System0::Record record(1000);
  record.days[0].intValue1 = 5;
  record.days[8].intValue1 = 9;
  record.shiftDays(2000);
  EXPECT_EQ(record.days[1].time0, 1000);
  EXPECT_EQ(record.days[1].intValue1, 5);
  EXPECT_EQ(record.days[8].intValue1, 0);
  expectCleared(record.days[0]);
  EXPECT_EQ(record.days[0].time0, 2000);
  EXPECT_EQ(record.days[0].time1, 2000);
  EXPECT_EQ(record.months[0].time0, 1000);
  EXPECT_EQ(record.months[1].time0, 0);
}

}  // namespace
