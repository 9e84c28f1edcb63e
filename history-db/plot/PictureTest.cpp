// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/plot/Picture.h"

#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "history-db/testing/PlotTesting.h"

namespace {

using HistoryDb::Panel;
using HistoryDb::Picture;
using HistoryDb::Tick;
using PlotTesting::day;
using PlotTesting::now;
using PlotTesting::Record;

/// A day with 3 of everything, a day with 4, a month with 40.
Record record() {
  Record record;
  const auto fill = [&](const HistoryDb::Ring& ring, int index, double value) {
    record.setTimes(ring, index, now - index * day, now - index * day + day);
    for (const char* name : {"minA", "maxA", "realValue1", "intValue1"}) {
      record.set(ring, index, name, value);
    }
  };
  fill(record.days(), 0, 3);
  fill(record.days(), 1, 4);
  fill(record.months(), 0, 40);
  return record;
}

/// The lowest and highest label of each panel.
std::string axes(const std::string& field) {
  std::string text;
  const Picture picture =
      record().picture(field.empty() ? std::vector<std::string>() : std::vector{field});
  for (const Panel& panel : picture.rows.at(0).panels) {
    const std::vector<Tick>& ticks = panel.axis.ticks;
    text += panel.title + ": " + ticks.front().label + " to " + ticks.back().label + "\n";
  }
  return text;
}

TEST(PictureTest, OnlyBandsHaveACommonScale) {
  EXPECT_EQ(axes(""), "minA to maxA, days: 0 to 40\nminA to maxA, months: 0 to 40\n");
  EXPECT_EQ(axes("minA"), "minA, days: 3.0 to 4.0\nminA, months: 20 to 60\n");
  EXPECT_EQ(axes("realValue1"), "realValue1, days: 3.0 to 4.0\nrealValue1, months: 20 to 60\n");
}

TEST(PictureTest, WholeNumbersHaveWholeTicks) {
  EXPECT_EQ(axes("intValue1"), "intValue1, days: 3 to 4\nintValue1, months: 20 to 60\n");
}

TEST(PictureTest, NotesTellWhatIsLeftOut) {
  Record damaged = record();
  damaged.set(damaged.days(), 0, "minA", std::nan(""));
  damaged.set(damaged.days(), 1, "maxA", HUGE_VAL);
  damaged.set(damaged.months(), 0, "maxA", 1e300);
  EXPECT_EQ(damaged.picture().notes,
            (std::vector<std::string>{
                "days: 7 of 9 are unused.", "months: 13 of 14 are unused.",
                "minA to maxA, days: 2 values are left out, being no finite number or past 1e15.",
                "minA to maxA, months: 1 value is left out, being no finite number or past "
                "1e15."}));
  EXPECT_TRUE(damaged.picture({"intValue1"}).rows[0].panels[0].axis.ticks.size() > 1);
  EXPECT_TRUE(damaged.picture().rows[0].panels[0].axis.ticks.empty());
}

TEST(PictureTest, LegendsTellWhatIsShown) {
  const auto shown = [](const Picture& picture) {
    const HistoryDb::Shown all = shownIn(picture);
    return std::string(all.band ? "band " : "") + (all.line ? "line " : "") +
           (all.nothing ? "nothing" : "");
  };
  EXPECT_EQ(shown(record().picture()), "band ");
  EXPECT_EQ(shown(record().picture({"minA", "maxA", "intValue1"})), "band line ");
  EXPECT_EQ(shown(Record().picture()), "nothing");
}

}  // namespace
