// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/plot/TerminalPlot.h"

#include <random>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "history-db/testing/PlotTesting.h"

namespace {

using HistoryDb::Picture;
using HistoryDb::terminalPictureOf;
using PlotTesting::day;
using PlotTesting::Record;

/// Columns of a line in UTF-8, at most: characters of more than two bytes that are no blocks or
/// lines take two.
int columnsOf(const std::string& line) {
  int columns = 0;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const auto byte = static_cast<unsigned char>(line[i]);
    const bool isBlock = byte == 0xE2 && (line[i + 1] == '\x94' || line[i + 1] == '\x96');
    columns += (byte & 0xC0U) == 0x80 ? 0 : byte < 0xE0 || isBlock ? 1 : 2;
  }
  return columns;
}

void expectNarrow(const std::string& picture) {
  std::istringstream lines(picture);
  for (std::string line; std::getline(lines, line);) {
    EXPECT_LE(columnsOf(line), 80) << line;
    EXPECT_TRUE(line.empty() || line.back() != ' ') << line;
  }
}

/// Friday, 2024-03-01.
constexpr double march = 1709251200;

Record smallRecord() {
  Record record;
  const double extremes[][2] = {{5, 25}, {127.99, 0}, {0, 20}, {10, 10}};
  for (int i = 0; i < 4; ++i) {
    record.setTimes(record.days(), i, march - i * day, march - (i - 1) * day)
        .set(record.days(), i, "minA", extremes[i][0])
        .set(record.days(), i, "maxA", extremes[i][1]);
  }
  return record;
}

TEST(TerminalPlotTest, DrawsBlocks) {
  EXPECT_EQ(terminalPictureOf(smallRecord().picture(), false), R"(title
subtitle
█ minimum to maximum  · no value  Values have no unit.

minA to maxA, days: value over time in UTC
25 ┤                                                        ▄▄▄▄▄▄▄▄▄▄▄▄▄▄▄▄▄▄
   │                                                        ██████████████████
20 ┤                    ▄▄▄▄▄▄▄▄▄▄▄▄▄▄▄▄▄                   ██████████████████
   │                    █████████████████                   ██████████████████
15 ┤                    █████████████████                   ██████████████████
   │                    █████████████████                   ██████████████████
10 ┤ ▄▄▄▄▄▄▄▄▄▄▄▄▄▄▄▄▄▄ █████████████████                   ██████████████████
   │                    █████████████████                   ██████████████████
 5 ┤                    █████████████████                   ██████████████████
   │                    █████████████████
 0 ┤                    █████████████████ ·················
   └─┬─────────────────┬──────────────────┬─────────────────┬─────────────────┬─
                   2024-02-28        2024-02-29        2024-03-01

minA to maxA, months: value over index, 0 is current
25 ┤
   │
20 ┤
   │
15 ┤
   │
10 ┤
   │
 5 ┤
   │
 0 ┤ ···  ···  ····  ···  ····  ···  ···   ···  ···  ····  ···  ····  ···  ···
   └──┬─────┬────┬─────┬────┬────┬─────┬────┬─────┬────┬─────┬────┬────┬─────┬──
      13   12    11   10    9    8     7    6     5    4     3    2    1     0

days: 5 of 9 are unused.
months: 14 of 14 are unused.
)");
}

TEST(TerminalPlotTest, DrawsAscii) {
  EXPECT_EQ(terminalPictureOf(smallRecord().picture({"minA"}), true), R"(title
subtitle
- value  . no value  Values have no unit.

minA, days: value over time in UTC
10 + ------------------
   |
 8 +
   |
 6 +
   |                                                        ------------------
 4 +
   |
 2 +
   |
 0 +                    ----------------- .................
   +-+-----------------+------------------+-----------------+-----------------+-
                   2024-02-28        2024-02-29        2024-03-01

minA, months: value over index, 0 is current
   |
   |
   |
   |
   |
   |
   |
   |
   | ...  ...  ....  ...  ....  ...  ...   ...  ...  ....  ...  ....  ...  ...
   +--+-----+----+-----+----+----+-----+----+-----+----+-----+----+----+-----+--
      13   12    11   10    9    8     7    6     5    4     3    2    1     0

days: 5 of 9 are unused.
months: 14 of 14 are unused.
)");
}

TEST(TerminalPlotTest, NamesAreCut) {
  Picture picture = smallRecord().picture();
  picture.title.clear();
  for (int i = 0; i < 60; ++i) {
    picture.title += "\xE6\xBC\xA2";
  }
  expectNarrow(terminalPictureOf(picture, false));
  const std::string ascii = terminalPictureOf(picture, true);
  EXPECT_EQ(ascii.substr(0, 61), std::string(60, '?') + "\n");
  for (const char byte : ascii) {
    EXPECT_LT(static_cast<unsigned char>(byte), 0x80);
  }
}

TEST(TerminalPlotTest, NoLineIsWiderThanATerminal) {
  std::mt19937 random(20240301);
  for (int i = 0; i < 100; ++i) {
    SCOPED_TRACE(i);
    const Picture picture =
        PlotTesting::hostileRecord(random).picture({"minA", "maxA", "realValue1", "intValue1"});
    expectNarrow(terminalPictureOf(picture, false));
    expectNarrow(terminalPictureOf(picture, true));
  }
}

}  // namespace
