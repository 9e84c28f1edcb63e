// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "history-db/plot/Scale.h"
#include "history-db/plot/Series.h"
#include "history-db/records/Layout.h"

namespace HistoryDb {

/// Days or months of one quantity.
struct Panel {
  /// Such as "minA to maxA, days".
  std::string title;
  /// In the order of the timeline's spans.
  std::vector<Reading> readings;
  /// Without a value to be drawn it is empty.
  ValueAxis axis;
};

/// One quantity: a panel for each of the timelines.
struct PanelRow {
  Quantity quantity;
  std::vector<Panel> panels;
};

/// What is drawn of a record, whatever it is drawn with. Valid as long as the layout.
struct Picture {
  std::string title;
  std::string subtitle;
  std::vector<Timeline> timelines;
  std::vector<PanelRow> rows;
  /// In sentences.
  std::vector<std::string> notes;
};

/// REQUIRES: the record is laid out so, and the quantities are of that layout.
Picture pictureOf(std::string_view record, const Layout& layout,
                  const std::vector<Quantity>& quantities);

/// What a picture shows somewhere, for its legend.
struct Shown {
  bool band = false;
  bool line = false;
  bool nothing = false;
};
Shown shownIn(const Picture& picture);

/// What stands at the axis of a timeline: times, or indices of the ring.
std::vector<Tick> ticksOf(const Timeline& timeline, double room);
/// "value over time in UTC", or over the index in the ring.
std::string axisTitleOf(const Timeline& timeline);

}  // namespace HistoryDb
