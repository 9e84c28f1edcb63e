// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/plot/Series.h"

#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "history-db/base/Trouble.h"
#include "history-db/testing/PlotTesting.h"

namespace {

using HistoryDb::Kind;
using HistoryDb::Layout;
using HistoryDb::layoutOf;
using HistoryDb::quantitiesOf;
using HistoryDb::Quantity;
using HistoryDb::Reading;
using HistoryDb::Span;
using HistoryDb::Timeline;
using PlotTesting::day;
using PlotTesting::now;
using PlotTesting::Record;

std::string quantities(const Layout& layout, const std::vector<std::string>& fields) {
  std::string names;
  for (const Quantity& quantity : quantitiesOf(layout, fields, "file")) {
    names += (names.empty() ? "" : ", ") + quantity.name;
  }
  return names;
}

TEST(SeriesTest, QuantitiesAreFieldsElementsAndBands) {
  const Layout& zone = layoutOf(Kind::Zone, 0);
  EXPECT_EQ(quantities(zone, {}), "minA to maxA");
  EXPECT_EQ(quantities(layoutOf(Kind::System, 0), {}), "minA to maxA, minB to maxB");
  EXPECT_EQ(quantities(layoutOf(Kind::System, 1), {}), "minA to maxA, minB to maxB, minC to maxC");
  EXPECT_EQ(quantities(zone, {"minA"}), "minA");
  EXPECT_EQ(quantities(zone, {"maxA", "intValue3", "minA"}), "minA to maxA, intValue3");
  EXPECT_EQ(quantities(zone, {"shortArray[2]"}), "shortArray[2]");
  EXPECT_EQ(quantities(zone, {"shortArray[2]", "shortArray", "shortArray"}),
            "shortArray[2], shortArray[0], shortArray[1], shortArray[3]");
}

TEST(SeriesTest, UnknownFieldsAreTroubleThatNamesTheOthers) {
  for (const char* name : {"minC", "", "zone", "minA[0]", "shortArray[4]", "shortArray[-1]",
                           "shortArray[", "shortArray[]", "shortArray[1", "shortArray[1]]",
                           "shortArray[99999999999]", "shortArray[ 1]"}) {
    try {
      quantitiesOf(layoutOf(Kind::Zone, 0), {name}, "file");
      ADD_FAILURE() << name;
    } catch (const HistoryDb::Trouble& trouble) {
      EXPECT_EQ(trouble.what(),
                std::string("file: The periods of this Zone record have no field \"") + name +
                    "\"; they have time0, time1, shortArray[0 to 3], intValue1, "
                    "intValue2, realValue1, intValue3, minA, maxA, realValue2, "
                    "realValue3, intValue4, shortValue1, intValue5.");
    }
  }
}

/// "index:begin-end", in days from `now` or in places of the ring; what is unused in parentheses.
std::string inWords(const Timeline& timeline) {
  std::string words = timeline.isTime ? "time" : "ring";
  for (const Span& span : timeline.spans) {
    const auto position = [&](double at) {
      return std::to_string(std::lround(timeline.isTime ? (at - now) / day * 10 : at * 10));
    };
    const std::string text =
        std::to_string(span.index) + ":" + position(span.begin) + "~" + position(span.end);
    words += span.isUsed ? " " + text : " (" + text + ")";
  }
  for (const std::string& note : timeline.notes) {
    words += "\n" + note;
  }
  return words;
}

struct Times {
  int index;
  /// In days from `now`.
  double time0;
  double time1;
};

std::string timeline(const std::vector<Times>& all) {
  Record record;
  for (const Times& times : all) {
    record.setTimes(record.days(), times.index, now + times.time0 * day, now + times.time1 * day);
  }
  return inWords(timelineOf(record.bytes, record.layout, record.days()));
}

TEST(SeriesTest, PeriodsStandAtTheirTimesTheOldestFirst) {
  EXPECT_EQ(timeline({{0, 0, 0.5}, {1, -1, 0}, {2, -2, -1.1}}),
            "time 2:-20~-11 1:-10~0 0:0~5\ndays: 6 of 9 are unused.");
  EXPECT_EQ(timeline({{0, 0, 0}}), "time 0:0~0\ndays: 8 of 9 are unused.");
}

TEST(SeriesTest, UnusedPeriodsBetweenOthersAreOne) {
  EXPECT_EQ(timeline({{0, 0, 1}, {3, -3, -2}, {5, -5, -3}}),
            "time 5:-50~-30 3:-30~-20 (1:-20~0) 0:0~10\ndays: 6 of 9 are unused.");
}

TEST(SeriesTest, PeriodsThatOverlapAreCut) {
  EXPECT_EQ(timeline({{0, 0, 1}, {1, -1, 0.5}}),
            "time 1:-10~0 0:0~10\ndays: 7 of 9 are unused.\n"
            "days: Some last until after the next began; they are drawn up to there.");
}

TEST(SeriesTest, TimesThatMakeNoSenseLeaveTheOrderOfTheRing) {
  const std::string ring =
      "ring (8:-89~-81) (7:-79~-71) (6:-69~-61) (5:-59~-51) (4:-49~-41) (3:-39~-31) (2:-29~-21) "
      "1:-19~-11 0:-9~-1\ndays: 7 of 9 are unused.\ndays: In the order of the ring, since ";
  const std::string disorder = ring + "their times do not run forward.";
  EXPECT_EQ(timeline({{0, 0, 1}, {1, 1, 2}}), disorder) << "backwards";
  EXPECT_EQ(timeline({{0, 0, 1}, {1, 0, 1}}), disorder) << "equal";
  EXPECT_EQ(timeline({{0, 0, -0.1}, {1, -1, 0}}), disorder) << "an end before its begin";
  const std::string distant = ring + "they are too short to be seen among their times.";
  EXPECT_EQ(timeline({{0, 0, 60}, {1, -1, 0}}), distant);
  EXPECT_EQ(timeline({{0, 0, 59}, {1, -1, 0}}), "time 1:-10~0 0:0~590\ndays: 7 of 9 are unused.");
}

TEST(SeriesTest, ARingWithoutTimesIsAllUnused) {
  EXPECT_EQ(timeline({}),
            "ring (8:-89~-81) (7:-79~-71) (6:-69~-61) (5:-59~-51) (4:-49~-41) (3:-39~-31) "
            "(2:-29~-21) (1:-19~-11) (0:-9~-1)\ndays: 9 of 9 are unused.");
}

TEST(SeriesTest, OnePeriodIsUnused) {
  const std::string words = timeline({{0, 0, 1},
                                      {1, -1, 0},
                                      {2, -2, -1},
                                      {3, -3, -2},
                                      {4, -4, -3},
                                      {5, -5, -4},
                                      {6, -6, -5},
                                      {7, -7, -6}});
  EXPECT_EQ(words.substr(words.find('\n')), "\ndays: 1 of 9 is unused.");
}

TEST(SeriesTest, OneTimeIsEnoughToBeUsed) {
  for (const bool isFirst : {false, true}) {
    Record record;
    record.setTimes(record.months(), 3, isFirst ? now : 0, isFirst ? 0 : now);
    EXPECT_EQ(timelineOf(record.bytes, record.layout, record.months()).notes.at(0),
              "months: 13 of 14 are unused.");
  }
}

TEST(SeriesTest, TheAxisLeavesRoomAtItsEnds) {
  Record record;
  record.setTimes(record.days(), 0, now, now);
  Timeline timeline = timelineOf(record.bytes, record.layout, record.days());
  EXPECT_EQ(timeline.begin, now - day / 2);
  EXPECT_EQ(timeline.end, now + day / 2);
  record.setTimes(record.days(), 0, now, now + 100 * day);
  timeline = timelineOf(record.bytes, record.layout, record.days());
  EXPECT_EQ(timeline.begin, now - 2 * day);
  EXPECT_EQ(timeline.end, now + 102 * day);
}

/// The current month of a record whose minimum and maximum are these.
std::string reading(double minimum, double maximum, const std::string& field) {
  Record record;
  record.set(record.months(), 0, "minA", minimum).set(record.months(), 0, "maxA", maximum);
  const std::vector<std::string> fields =
      field.empty() ? std::vector<std::string>() : std::vector<std::string>{field};
  const Reading reading = readingOf(record.bytes, record.layout, record.months(), 0,
                                    quantitiesOf(record.layout, fields, "file").front());
  return reading.kind == Reading::Kind::None ? "none"
         : reading.kind == Reading::Kind::LeftOut
             ? "left out"
             : std::to_string(std::lround(reading.lower)) + " " +
                   std::to_string(std::lround(reading.upper));
}

TEST(SeriesTest, StartValuesAreNoneAndWhatIsAbsurdIsLeftOut) {
  EXPECT_EQ(reading(10, 20, ""), "10 20");
  EXPECT_EQ(reading(10, 20, "minA"), "10 10");
  EXPECT_EQ(reading(10, 20, "maxA"), "20 20");
  EXPECT_EQ(reading(20, 20, ""), "20 20");
  for (const char* field : {"", "minA", "maxA"}) {
    EXPECT_EQ(reading(127.99, 0, field), "none") << field;
  }
  EXPECT_EQ(reading(-1e15, 1e15, ""), "-1000000000000000 1000000000000000");
  for (const double absurd : {1.1e15, 1e300, HUGE_VAL, std::nan("")}) {
    EXPECT_EQ(reading(0, absurd, ""), "left out") << absurd;
    EXPECT_EQ(reading(-absurd, 0, ""), "left out") << absurd;
    EXPECT_EQ(reading(-absurd, 0, "minA"), "left out") << absurd;
  }
  EXPECT_EQ(reading(5, std::nan(""), "minA"), "5 5");
}

TEST(SeriesTest, ElementsOfArraysAreReadWhereTheyStand) {
  Record record(Kind::System, 1);
  for (int i = 0; i < 11; ++i) {
    record.set(record.days(), 8, "intArray", 1000 - i, i);
  }
  record.set(record.days(), 8, "shortArray", -7, 14);
  const auto value = [&](const char* name) {
    return readingOf(record.bytes, record.layout, record.days(), 8,
                     quantitiesOf(record.layout, {name}, "file").front())
        .lower;
  };
  EXPECT_EQ(value("intArray[0]"), 1000);
  EXPECT_EQ(value("intArray[10]"), 990);
  EXPECT_EQ(value("shortArray[14]"), -7);
  EXPECT_EQ(value("shortArray[13]"), 0);
}

}  // namespace
