// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace HistoryDb {

/// Where values stand in a picture: linear, `begin` at `from` and `end` at `to`. Constant.
/// REQUIRES: all are finite, `begin` is below `end`.
class Scale {
 public:
  Scale(double begin, double end, double from, double to)
      : _begin(begin), _end(end), _from(from), _to(to) {}

  double operator()(double value) const {
    return _from + (value - _begin) / (_end - _begin) * (_to - _from);
  }

 private:
  double _begin;
  double _end;
  double _from;
  double _to;
};

/// A place on an axis and what is written there.
struct Tick {
  double at;
  std::string label;
};

/// An axis of values, which begins and ends with a tick.
struct ValueAxis {
  double low = 0;
  double high = 0;
  std::vector<Tick> ticks;
};

/// The axis for values from `lowest` to `highest`: some `most` ticks in steps of 1, 2 or 5, of 1 at
/// least when the values are `whole` numbers. Values that are all but equal stand in the middle.
/// REQUIRES: both are finite and within 1e15 of 0, `lowest` is not above `highest`.
ValueAxis valueAxisOf(double lowest, double highest, int most, bool whole);

/// "2024-03-01 12:00:00", in UTC, of seconds since 1970.
std::string utcText(std::int64_t time);

/// Ticks at round times, in UTC, between two times in seconds since 1970: the closest ones whose
/// labels do not touch where `room` characters fit between `begin` and `end`.
/// REQUIRES: both are times of 32 bits, give or take some days; `begin` is below `end`.
std::vector<Tick> timeTicksOf(double begin, double end, double room);

/// Those ticks, now `at` their place in the picture, whose labels stand between `from` and `to` and
/// a character away from the label before. A label stands in the middle below its place.
std::vector<Tick> labelsThatFit(const std::vector<Tick>& ticks, const Scale& scale,
                                double characterWidth, double from, double to);

}  // namespace HistoryDb
