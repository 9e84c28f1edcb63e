// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/plot/Scale.h"

#include <time.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>

#include <fmt/format.h>

namespace HistoryDb {

namespace {

/// The power of ten that a number, not 0, has as its first digit.
int exponentOf(double value) {
  // A power of ten must not come out as one less.
  return static_cast<int>(std::floor(std::log10(std::abs(value)) + 1e-9));
}

/// The least of 1, 2 or 5 times a power of ten that is not below `atLeast`.
double niceStep(double atLeast) {
  const double power = std::pow(10.0, exponentOf(atLeast));
  for (const double factor : {1.0, 2.0, 5.0}) {
    if (factor * power >= atLeast * (1 - 1e-9)) {
      return factor * power;
    }
  }
  return 10 * power;
}

std::string inDigits(double value, int stepExponent) {
  return fmt::format("{:.{}f}", value, std::max(0, -stepExponent));
}

std::string withExponent(double value, int exponent, int stepExponent) {
  if (value == 0) {
    return "0";
  }
  return fmt::format("{:.{}f}e{}", value / std::pow(10.0, exponent),
                     std::max(0, exponent - stepExponent), exponent);
}

std::size_t longest(const std::vector<std::string>& texts) {
  std::size_t size = 0;
  for (const std::string& text : texts) {
    size = std::max(size, text.size());
  }
  return size;
}

enum class Unit { Second, Day, Month, Year };

struct TimeStep {
  int count;
  Unit unit;
  /// What the labels show of "2024-03-01 12:00:00".
  int characters;
};

constexpr std::int64_t day = 86400;

/// Each one longer than the one before.
constexpr TimeStep timeSteps[] = {{1, Unit::Second, 19},        {5, Unit::Second, 19},
                                  {15, Unit::Second, 19},       {60, Unit::Second, 16},
                                  {300, Unit::Second, 16},      {900, Unit::Second, 16},
                                  {3600, Unit::Second, 16},     {3 * 3600, Unit::Second, 16},
                                  {6 * 3600, Unit::Second, 16}, {12 * 3600, Unit::Second, 16},
                                  {1, Unit::Day, 10},           {2, Unit::Day, 10},
                                  {3, Unit::Day, 10},           {7, Unit::Day, 10},
                                  {14, Unit::Day, 10},          {1, Unit::Month, 7},
                                  {2, Unit::Month, 7},          {3, Unit::Month, 7},
                                  {6, Unit::Month, 7},          {1, Unit::Year, 4},
                                  {2, Unit::Year, 4},           {5, Unit::Year, 4},
                                  {10, Unit::Year, 4},          {20, Unit::Year, 4},
                                  {50, Unit::Year, 4}};

/// The least length of a step.
std::int64_t secondsOf(const TimeStep& step) {
  switch (step.unit) {
    case Unit::Second:
      return step.count;
    case Unit::Day:
      return step.count * day;
    case Unit::Month:
      return (30 * step.count - 2) * day;
    default:
      return 365 * step.count * day;
  }
}

tm utcOf(std::int64_t time) {
  const time_t seconds = time;
  tm parts = {};
  ::gmtime_r(&seconds, &parts);
  return parts;
}

/// The last tick that is not behind `time`, or the first one that is not before it; with `next`,
/// the one after it.
std::int64_t tickAt(const TimeStep& step, std::int64_t time, int next) {
  if (step.unit == Unit::Second || step.unit == Unit::Day) {
    // Weeks begin on Mondays; the first one was the fifth day of 1970.
    const std::int64_t length = secondsOf(step);
    const std::int64_t origin = step.unit == Unit::Day && step.count % 7 == 0 ? 4 * day : 0;
    return time - (time - origin) % length + next * length;
  }
  tm parts = utcOf(time);
  tm begin = {};
  const int months = step.unit == Unit::Month ? parts.tm_mon / step.count * step.count : 0;
  const int years =
      step.unit == Unit::Year ? parts.tm_year - (parts.tm_year + 1900) % step.count : parts.tm_year;
  begin.tm_mday = 1;
  begin.tm_mon = months + (step.unit == Unit::Month ? next * step.count : 0);
  begin.tm_year = years + (step.unit == Unit::Year ? next * step.count : 0);
  return ::timegm(&begin);
}

std::vector<Tick> ticksOf(const TimeStep& step, double begin, double end) {
  std::vector<Tick> ticks;
  std::int64_t time = tickAt(step, static_cast<std::int64_t>(std::floor(begin)), 0);
  for (; static_cast<double>(time) <= end; time = tickAt(step, time, 1)) {
    if (static_cast<double>(time) >= begin) {
      ticks.push_back({static_cast<double>(time),
                       utcText(time).substr(0, static_cast<std::size_t>(step.characters))});
    }
  }
  return ticks;
}

}  // namespace

ValueAxis valueAxisOf(double lowest, double highest, int most, bool whole) {
  const double largest = std::max(std::abs(lowest), std::abs(highest));
  // Closer to each other, or to 0, than labels could tell.
  if (largest < 1e-12) {
    lowest = -1;
    highest = 1;
  } else if (highest - lowest < (whole ? 1 : largest * 1e-9)) {
    lowest -= largest / 2;
    highest += largest / 2;
  }
  double step = niceStep((highest - lowest) / most);
  if (whole) {
    step = std::max(step, 1.0);
  }
  const int stepExponent = exponentOf(step);
  const auto first = static_cast<std::int64_t>(std::floor(lowest / step + 1e-9));
  const auto last = static_cast<std::int64_t>(std::ceil(highest / step - 1e-9));

  ValueAxis axis;
  axis.low = static_cast<double>(first) * step;
  axis.high = static_cast<double>(last) * step;
  const int exponent = exponentOf(std::max(std::abs(axis.low), std::abs(axis.high)));
  std::vector<std::string> digits;
  std::vector<std::string> exponents;
  for (std::int64_t i = first; i <= last; ++i) {
    const double at = static_cast<double>(i) * step;
    axis.ticks.push_back({at, ""});
    digits.push_back(inDigits(at, stepExponent));
    exponents.push_back(withExponent(at, exponent, stepExponent));
  }
  constexpr std::size_t readable = 7;
  const bool isLong = longest(digits) > readable && longest(exponents) < longest(digits);
  for (std::size_t i = 0; i < axis.ticks.size(); ++i) {
    axis.ticks[i].label = isLong ? exponents[i] : digits[i];
  }
  return axis;
}

std::string utcText(std::int64_t time) {
  const tm parts = utcOf(time);
  return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02}", parts.tm_year + 1900, parts.tm_mon + 1,
                     parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec);
}

std::vector<Tick> timeTicksOf(double begin, double end, double room) {
  for (const TimeStep& step : timeSteps) {
    const double charactersPerStep = room * static_cast<double>(secondsOf(step)) / (end - begin);
    if (charactersPerStep >= step.characters + 1) {
      return ticksOf(step, begin, end);
    }
  }
  return ticksOf(*std::prev(std::end(timeSteps)), begin, end);
}

std::vector<Tick> labelsThatFit(const std::vector<Tick>& ticks, const Scale& scale,
                                double characterWidth, double from, double to) {
  std::vector<Tick> fitting;
  double taken = from - characterWidth;
  for (const Tick& tick : ticks) {
    const double at = scale(tick.at);
    const double half = static_cast<double>(tick.label.size()) * characterWidth / 2;
    if (at - half >= taken + characterWidth && at + half <= to) {
      fitting.push_back({at, tick.label});
      taken = at + half;
    }
  }
  return fitting;
}

}  // namespace HistoryDb
