// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/plot/Scale.h"

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "history-db/testing/PlotTesting.h"

namespace {

using HistoryDb::labelsThatFit;
using HistoryDb::Scale;
using HistoryDb::Tick;
using HistoryDb::timeTicksOf;
using HistoryDb::utcText;
using HistoryDb::ValueAxis;
using HistoryDb::valueAxisOf;
using PlotTesting::day;

std::string labelsOf(const std::vector<Tick>& ticks) {
  std::string labels;
  for (const Tick& tick : ticks) {
    labels += (labels.empty() ? "" : " ") + tick.label;
  }
  return labels;
}

TEST(ScaleTest, IsLinearInEitherDirection) {
  const Scale up(10, 20, 0, 100);
  const Scale down(10, 20, 100, 0);
  EXPECT_EQ(up(10), 0);
  EXPECT_EQ(up(12.5), 25);
  EXPECT_EQ(up(20), 100);
  EXPECT_EQ(down(10), 100);
  EXPECT_EQ(down(12.5), 75);
}

struct Values {
  double lowest;
  double highest;
  bool whole;
  const char* labels;
};

TEST(ScaleTest, ValuesHaveRoundTicksAroundThem) {
  for (const Values& values : std::vector<Values>{
           {0, 100, false, "0 20 40 60 80 100"},
           {0, 100.5, false, "0 50 100 150"},
           {-12, 37, false, "-20 -10 0 10 20 30 40"},
           {20.1, 20.4, false, "20.1 20.2 20.3 20.4"},
           {0.3, 0.7, false, "0.3 0.4 0.5 0.6 0.7"},
           {-5, -5, false, "-8 -7 -6 -5 -4 -3 -2"},
           {0, 0, false, "-1.0 -0.5 0.0 0.5 1.0"},
           {1e-300, 2e-300, false, "-1.0 -0.5 0.0 0.5 1.0"},
           {0, 1e-5, false, "0 0.2e-5 0.4e-5 0.6e-5 0.8e-5 1.0e-5"},
           {1e14, 9e14, false, "0 0.2e15 0.4e15 0.6e15 0.8e15 1.0e15"},
           {3, 4, false, "3.0 3.2 3.4 3.6 3.8 4.0"},
           {3, 4, true, "3 4"},
           {7, 7, true, "2 4 6 8 10 12"},
           {-32768, 32767, true, "-40000 -20000 0 20000 40000"},
           {-2147483648.0, 2147483647, true, "-3e9 -2e9 -1e9 0 1e9 2e9 3e9"},
           {2147483646, 2147483647, true, "2147483646 2147483647"},
       }) {
    const ValueAxis axis = valueAxisOf(values.lowest, values.highest, 5, values.whole);
    const double rounding = 1e-15 * std::abs(values.highest);
    EXPECT_EQ(labelsOf(axis.ticks), values.labels) << values.lowest << " to " << values.highest;
    EXPECT_LE(axis.low, values.lowest + rounding);
    EXPECT_GE(axis.high, values.highest - rounding);
    EXPECT_EQ(axis.ticks.front().at, axis.low);
    EXPECT_EQ(axis.ticks.back().at, axis.high);
  }
}

constexpr double hour = 3600;
/// Monday, 2024-01-01.
constexpr double newYear = 1704067200;

struct TimeCase {
  double begin;
  double end;
  double room;
  const char* labels;
};

TEST(ScaleTest, TimesHaveTicksAtRoundTimes) {
  for (const TimeCase& times : std::vector<TimeCase>{
           {newYear, newYear + 2, 60,
            "2024-01-01 00:00:00 2024-01-01 00:00:01 2024-01-01 00:00:02"},
           {newYear + 60, newYear + 9 * hour, 80,
            "2024-01-01 03:00 2024-01-01 06:00 2024-01-01 09:00"},
           {-day, day, 80,
            "1969-12-31 00:00 1969-12-31 12:00 1970-01-01 00:00 1970-01-01 12:00 "
            "1970-01-02 00:00"},
           {-day - 1, day, 30, "1969-12-31 1970-01-01 1970-01-02"},
           {newYear - hour, newYear + 3 * day, 50, "2024-01-01 2024-01-02 2024-01-03 2024-01-04"},
           {newYear - hour, newYear + 9 * day, 50,
            "2024-01-02 2024-01-04 2024-01-06 2024-01-08 2024-01-10"},
           {newYear - day, newYear + 30 * day, 60,
            "2024-01-01 2024-01-08 2024-01-15 2024-01-22 2024-01-29"},
           {newYear - day, newYear + 60 * day, 60, "2024-01-08 2024-01-22 2024-02-05 2024-02-19"},
           {newYear + day, newYear + 60 * day, 20, "2024-02 2024-03"},
           {newYear - 300 * day, newYear + 100 * day, 40,
            "2023-04 2023-07 2023-10 2024-01 2024-04"},
           {newYear - 3000 * day, newYear, 40, "2016 2018 2020 2022 2024"},
           {-2147483648.0, 2147483647, 50, "1920 1940 1960 1980 2000 2020"},
           {-2147483648.0, 2147483647, 1, "1950 2000"},
       }) {
    EXPECT_EQ(labelsOf(timeTicksOf(times.begin, times.end, times.room)), times.labels);
  }
}

TEST(ScaleTest, TimesStandWhereTheirLabelsSay) {
  for (const Tick& tick : timeTicksOf(newYear - 400 * day, newYear + 100 * day, 60)) {
    EXPECT_EQ(utcText(static_cast<std::int64_t>(tick.at)), tick.label + "-01 00:00:00");
  }
}

TEST(ScaleTest, LabelsThatWouldTouchOrLeaveTheRoomAreDropped) {
  const std::vector<Tick> ticks = {
      {0, "zero"}, {10, "ten"}, {14, "fourteen"}, {20, "twenty"}, {100, "hundred"}};
  const Scale scale(0, 100, 0, 100);
  EXPECT_EQ(labelsOf(labelsThatFit(ticks, scale, 1, -2, 103.5)), "zero ten twenty hundred");
  EXPECT_EQ(labelsOf(labelsThatFit(ticks, scale, 1, 0, 103)), "ten twenty");
  EXPECT_EQ(labelsOf(labelsThatFit(ticks, scale, 2, -10, 110)), "zero ten hundred");
  EXPECT_EQ(labelsOf(labelsThatFit({}, scale, 1, 0, 100)), "");
}

}  // namespace
