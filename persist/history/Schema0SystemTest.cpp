// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "persist/history/Schema0System.h"

#include <gtest/gtest.h>

#include "persist/history/HistoryTesting.h"

namespace {

using namespace HistoryTesting;
using Pvn::Persist::History::Kiv::Schema0::Bramal::System::Period;
using Pvn::Persist::History::Kiv::Schema0::Bramal::System::Record;

/// Everything that a cleared period holds, but for its times.
void expectCleared(const Period& period) {
  Image expected(200);
  expected.put(0, 4, static_cast<std::uint32_t>(period.time0));
  expected.put(4, 4, static_cast<std::uint32_t>(period.time1));
  expected.put(48, 8, bitsOf(140.0)).put(56, 8, bitsOf(-40.0)).put(64, 8, bitsOf(100.0));
  EXPECT_EQ(Image::of(period).difference(expected), "");
}

TEST(Schema0SystemPeriodTest, StartsAllZero) {
  EXPECT_EQ(Image::ofNew<Period>().difference(Image(200)), "");
}

TEST(Schema0SystemPeriodTest, KeepsEachFieldAtItsOffset) {
  expectFieldsAtTheirOffsets(systemPeriodFields<Period, 10>());
}

TEST(Schema0SystemRecordTest, KeepsEachFieldAtItsOffset) {
  ASSERT_EQ(sizeof(Record), 4624U);
  expectFieldsAtTheirOffsets(
      recordFields(systemHeaderFields<Record>(), systemPeriodFields<Period, 10>(), 24, 1824));
}

TEST(Schema0SystemRecordTest, EveryPeriodOfARecordWithATimeHasStartValues) {
  const Record record = Image::ofNew<Record>(1000L).as<Record>();
  for (const Period& day : record.days) {
    expectCleared(day);
    EXPECT_EQ(day.time0, &day == &record.days[0] ? 1000 : 0);
    EXPECT_EQ(day.time1, &day == &record.days[0] ? 1000 : 0);
  }
  for (const Period& month : record.months) {
    expectCleared(month);
    EXPECT_EQ(month.time0, &month == &record.months[0] ? 1000 : 0);
    EXPECT_EQ(month.time1, &month == &record.months[0] ? 1000 : 0);
  }
  EXPECT_EQ(Image::of(record).get(0, 8), 0U);
  EXPECT_EQ(Image::of(record).get(8, 8), 0U);
  EXPECT_EQ(Image::of(record).get(16, 8), 0U);
}

TEST(Schema0SystemRecordTest, MaximumOfBStartsAtZero) {
  Record record;
  record.days[3].maxB = 1.0;
  record.initializeMinMaxDayFields(3);
  EXPECT_EQ(bitsOf(record.days[3].maxB), 0U);
}

TEST(Schema0SystemRecordTest, ShiftDaysLeavesTheMonths) {
  Record record(1000);
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
