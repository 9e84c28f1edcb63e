// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/plot/Series.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>
#include <optional>
#include <utility>

#include <fmt/format.h>

#include "history-db/base/Printable.h"
#include "history-db/base/Trouble.h"
#include "history-db/records/Value.h"

namespace HistoryDb {

namespace {

/// The maximum that belongs to a minimum, or the other way round; null when there is none.
const Field* partnerOf(const Layout& layout, const Field& field) {
  const std::string_view name = field.name;
  for (const auto& [own, other] : {std::pair("min", "max"), std::pair("max", "min")}) {
    if (name.substr(0, 3) == own) {
      return layout.periodField((other + std::string(name.substr(3))).c_str());
    }
  }
  return nullptr;
}

bool isMinimum(const Field& field) {
  return std::string_view(field.name).substr(0, 3) == "min";
}

Quantity bandOf(const Field& minimum, const Field& maximum) {
  return {fmt::format("{} to {}", minimum.name, maximum.name), &minimum, &maximum, 0};
}

[[noreturn]] void refuse(const Layout& layout, const std::string& name, const std::string& file) {
  std::string names;
  for (const Field& field : layout.period) {
    names += fmt::format("{}{}{}", names.empty() ? "" : ", ", field.name,
                         field.count > 1 ? fmt::format("[0 to {}]", field.count - 1) : "");
  }
  throw Trouble(fmt::format("{}: The periods of this {} record have no field \"{}\"; they have {}.",
                            file, nameOf(layout.kind), printable(name), names));
}

/// A field as it was asked for.
struct Wanted {
  const Field* field;
  /// None when all of an array is meant.
  std::optional<int> element;
};

Wanted wantedOf(const Layout& layout, const std::string& name, const std::string& file) {
  const std::size_t bracket = name.find('[');
  const Field* const field = layout.periodField(name.substr(0, bracket).c_str());
  if (field == nullptr) {
    refuse(layout, name, file);
  }
  if (bracket == std::string::npos) {
    return {field, field->count > 1 ? std::nullopt : std::optional(0)};
  }
  int element = -1;
  const char* const end = name.data() + name.size();
  const auto [last, error] = std::from_chars(name.data() + bracket + 1, end, element);
  if (error != std::errc() || end - last != 1 || *last != ']' || field->count == 1 || element < 0 ||
      element >= field->count) {
    refuse(layout, name, file);
  }
  return {field, element};
}

bool isUnfit(double value) {
  // Past it numbers have no room for ones, and no device counts as far.
  constexpr double absurd = 1e15;
  return !(std::abs(value) <= absurd);
}

double valueAt(std::string_view record, int offset, const Field& field, int element) {
  const int at = offset + field.offset + element * sizeOf(field.type);
  return field.type == Type::Double ? realAt(record, at) : integerAt(record, at, field.type);
}

/// The times of a ring's periods, by index.
std::vector<Span> timesOf(std::string_view record, const Layout& layout, const Ring& ring) {
  const Field& time0 = *layout.periodField("time0");
  const Field& time1 = *layout.periodField("time1");
  std::vector<Span> spans;
  for (int i = 0; i < ring.count; ++i) {
    const int offset = ring.offset + i * layout.periodSize;
    const double begin = valueAt(record, offset, time0, 0);
    const double end = valueAt(record, offset, time1, 0);
    spans.push_back({i, begin, end, begin != 0 || end != 0});
  }
  return spans;
}

/// Why used periods, the oldest first, cannot be drawn to their times; empty when they can.
std::string whyNotByTime(const std::vector<Span>& used) {
  double closest = std::numeric_limits<double>::infinity();
  for (std::size_t i = 0; i < used.size(); ++i) {
    if (used[i].end < used[i].begin || (i > 0 && used[i].begin <= used[i - 1].begin)) {
      return "their times do not run forward";
    }
    if (i > 0) {
      closest = std::min(closest, used[i].begin - used[i - 1].begin);
    }
  }
  // On a narrower one its bar could not be told from the next.
  constexpr double most = 60;
  if (used.back().end - used.front().begin > most * closest) {
    return "they are too short to be seen among their times";
  }
  return "";
}

/// A bit of room at both ends, so that what happens at them is seen.
void setRange(Timeline& timeline, double begin, double end) {
  constexpr double least = 86400;
  constexpr double share = 0.02;
  const double room = std::max((end - begin) * share, (least - (end - begin)) / 2);
  timeline.begin = begin - room;
  timeline.end = end + room;
}

void setByRing(Timeline& timeline, const std::vector<Span>& times) {
  timeline.isTime = false;
  timeline.begin = -timeline.ring->count;
  timeline.end = 0;
  for (auto span = times.rbegin(); span != times.rend(); ++span) {
    // With gaps, since it is not known how long they were.
    constexpr double gap = 0.1;
    timeline.spans.push_back(
        {span->index, -span->index - 1 + gap, -span->index - gap, span->isUsed});
  }
}

/// `used`, and between them what lies there unused.
void setByTime(Timeline& timeline, std::vector<Span> used) {
  bool overlap = false;
  for (std::size_t i = 0; i < used.size(); ++i) {
    if (i + 1 < used.size()) {
      overlap = overlap || used[i].end > used[i + 1].begin;
      used[i].end = std::min(used[i].end, used[i + 1].begin);
    }
    if (i > 0 && used[i].index + 1 < used[i - 1].index && used[i - 1].end < used[i].begin) {
      timeline.spans.push_back({used[i].index + 1, used[i - 1].end, used[i].begin, false});
    }
    timeline.spans.push_back(used[i]);
  }
  timeline.isTime = true;
  setRange(timeline, used.front().begin, used.back().end);
  if (overlap) {
    timeline.notes.push_back(
        fmt::format("{}: Some last until after the next began; they are drawn "
                    "up to there.",
                    timeline.ring->name));
  }
}

}  // namespace

std::vector<Quantity> quantitiesOf(const Layout& layout, const std::vector<std::string>& names,
                                   const std::string& file) {
  std::vector<Wanted> wanted;
  std::transform(names.begin(), names.end(), std::back_inserter(wanted),
                 [&](const std::string& name) { return wantedOf(layout, name, file); });
  if (names.empty()) {
    for (const Field& field : layout.period) {
      if (partnerOf(layout, field) != nullptr) {
        wanted.push_back({&field, 0});
      }
    }
  }
  const auto isWanted = [&](const Field* field) {
    return std::any_of(wanted.begin(), wanted.end(),
                       [&](const Wanted& one) { return one.field == field; });
  };
  std::vector<Quantity> quantities;
  const auto add = [&](const Quantity& quantity) {
    const auto isIt = [&](const Quantity& other) { return other.name == quantity.name; };
    if (std::none_of(quantities.begin(), quantities.end(), isIt)) {
      quantities.push_back(quantity);
    }
  };
  for (const auto& [field, element] : wanted) {
    const Field* const partner = partnerOf(layout, *field);
    if (partner != nullptr && isWanted(partner)) {
      add(isMinimum(*field) ? bandOf(*field, *partner) : bandOf(*partner, *field));
    } else if (field->count == 1) {
      add({field->name, field, field, 0});
    } else {
      for (int i = element.value_or(0); i <= element.value_or(field->count - 1); ++i) {
        add({fmt::format("{}[{}]", field->name, i), field, field, i});
      }
    }
  }
  return quantities;
}

Timeline timelineOf(std::string_view record, const Layout& layout, const Ring& ring) {
  Timeline timeline = {&ring, false, 0, 0, {}, {}};
  const std::vector<Span> times = timesOf(record, layout, ring);
  std::vector<Span> used;
  std::copy_if(times.rbegin(), times.rend(), std::back_inserter(used),
               [](const Span& span) { return span.isUsed; });
  const std::size_t unused = times.size() - used.size();
  if (unused > 0) {
    timeline.notes.push_back(fmt::format("{}: {} of {} {} unused.", ring.name, unused, times.size(),
                                         unused == 1 ? "is" : "are"));
  }
  if (used.empty()) {
    setByRing(timeline, times);
    return timeline;
  }
  const std::string why = whyNotByTime(used);
  if (why.empty()) {
    setByTime(timeline, used);
  } else {
    setByRing(timeline, times);
    timeline.notes.push_back(
        fmt::format("{}: In the order of the ring, since {}.", ring.name, why));
  }
  return timeline;
}

Reading readingOf(std::string_view record, const Layout& layout, const Ring& ring, int index,
                  const Quantity& quantity) {
  const int offset = ring.offset + index * layout.periodSize;
  const auto value = [&](const Field& field) {
    return valueAt(record, offset, field, quantity.element);
  };
  const Reading reading = {Reading::Kind::Drawn, value(*quantity.lower), value(*quantity.upper)};
  if (isUnfit(reading.lower) || isUnfit(reading.upper)) {
    return {Reading::Kind::LeftOut, 0, 0};
  }
  // A minimum or maximum that is drawn alone has a start value as well.
  const Field* const partner = partnerOf(layout, *quantity.lower);
  if (partner != nullptr) {
    const double own = value(*quantity.lower);
    const double other = value(*partner);
    if (isMinimum(*quantity.lower) ? own > other : other > own) {
      return {Reading::Kind::None, 0, 0};
    }
  }
  return reading;
}

}  // namespace HistoryDb
