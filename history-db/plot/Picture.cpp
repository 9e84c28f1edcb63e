// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/plot/Picture.h"

#include <algorithm>
#include <limits>

#include <fmt/format.h>

namespace HistoryDb {

namespace {

constexpr int valueTicks = 5;

/// The values that panels have to show.
class Range {
 public:
  void add(const Panel& panel) {
    for (const Reading& reading : panel.readings) {
      if (reading.kind == Reading::Kind::Drawn) {
        _lowest = std::min(_lowest, reading.lower);
        _highest = std::max(_highest, reading.upper);
      }
    }
  }

  ValueAxis axis(bool whole) const {
    return _lowest > _highest ? ValueAxis() : valueAxisOf(_lowest, _highest, valueTicks, whole);
  }

 private:
  double _lowest = std::numeric_limits<double>::infinity();
  double _highest = -std::numeric_limits<double>::infinity();
};

Panel panelOf(std::string_view record, const Layout& layout, const Timeline& timeline,
              const Quantity& quantity) {
  Panel panel = {fmt::format("{}, {}", quantity.name, timeline.ring->name), {}, {}};
  for (const Span& span : timeline.spans) {
    panel.readings.push_back(span.isUsed
                                 ? readingOf(record, layout, *timeline.ring, span.index, quantity)
                                 : Reading{Reading::Kind::None, 0, 0});
  }
  return panel;
}

void setAxes(PanelRow& row) {
  const bool isWhole = row.quantity.lower->type != Type::Double;
  Range common;
  for (Panel& panel : row.panels) {
    Range own;
    own.add(panel);
    panel.axis = own.axis(isWhole);
    common.add(panel);
  }
  // Extremes of days and months can be compared; what is summed up cannot.
  if (row.quantity.isBand()) {
    for (Panel& panel : row.panels) {
      panel.axis = common.axis(isWhole);
    }
  }
}

void noteWhatIsLeftOut(const Panel& panel, std::vector<std::string>& notes) {
  const auto count =
      std::count_if(panel.readings.begin(), panel.readings.end(),
                    [](const Reading& reading) { return reading.kind == Reading::Kind::LeftOut; });
  if (count > 0) {
    notes.push_back(fmt::format("{}: {} left out, being no finite number or past 1e15.",
                                panel.title,
                                count == 1 ? "1 value is" : fmt::format("{} values are", count)));
  }
}

}  // namespace

Picture pictureOf(std::string_view record, const Layout& layout,
                  const std::vector<Quantity>& quantities) {
  Picture picture;
  for (const Ring& ring : layout.rings) {
    picture.timelines.push_back(timelineOf(record, layout, ring));
    const std::vector<std::string>& notes = picture.timelines.back().notes;
    picture.notes.insert(picture.notes.end(), notes.begin(), notes.end());
  }
  for (const Quantity& quantity : quantities) {
    PanelRow row = {quantity, {}};
    for (const Timeline& timeline : picture.timelines) {
      row.panels.push_back(panelOf(record, layout, timeline, quantity));
      noteWhatIsLeftOut(row.panels.back(), picture.notes);
    }
    setAxes(row);
    picture.rows.push_back(row);
  }
  return picture;
}

Shown shownIn(const Picture& picture) {
  Shown shown;
  for (const PanelRow& row : picture.rows) {
    for (const Panel& panel : row.panels) {
      for (const Reading& reading : panel.readings) {
        const bool isDrawn = reading.kind == Reading::Kind::Drawn;
        shown.nothing = shown.nothing || !isDrawn;
        shown.band = shown.band || (isDrawn && row.quantity.isBand());
        shown.line = shown.line || (isDrawn && !row.quantity.isBand());
      }
    }
  }
  return shown;
}

std::vector<Tick> ticksOf(const Timeline& timeline, double room) {
  if (timeline.isTime) {
    return timeTicksOf(timeline.begin, timeline.end, room);
  }
  std::vector<Tick> ticks;
  for (const Span& span : timeline.spans) {
    ticks.push_back({(span.begin + span.end) / 2, std::to_string(span.index)});
  }
  return ticks;
}

std::string axisTitleOf(const Timeline& timeline) {
  return timeline.isTime ? "value over time in UTC" : "value over index, 0 is current";
}

}  // namespace HistoryDb
