// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "persist/history/Schema0System.h"

#include <algorithm>
#include <iterator>

namespace Pvn::Persist::History::Kiv::Schema0::Bramal::System {

namespace {

void startMinMax(Period& period) {
  period.minA = 140.0;
  period.maxA = -40.0;
  period.minB = 100.0;
  period.maxB = 0.0;
}

}  // namespace

Record::Record() {
  clearHistory();
}

Record::Record(long t) : Record() {
  initializeCurrentDayTime(t);
  initializeCurrentMonthTime(t);
}

void Record::initializeCurrentDayTime(long t) {
  days[0].time0 = static_cast<std::int32_t>(t);
  days[0].time1 = static_cast<std::int32_t>(t);
}

void Record::initializeCurrentMonthTime(long t) {
  months[0].time0 = static_cast<std::int32_t>(t);
  months[0].time1 = static_cast<std::int32_t>(t);
}

void Record::initializeMinMaxDayFields(int d) {
  startMinMax(days[d]);
}

void Record::initializeMinMaxMonthFields(int m) {
  startMinMax(months[m]);
}

void Record::clearDayHistory(int d) {
  Ring::clear(days[d]);
  initializeMinMaxDayFields(d);
}

void Record::clearMonthHistory(int m) {
  Ring::clear(months[m]);
  initializeMinMaxMonthFields(m);
}

void Record::clearAllDaysHistory() {
  for (int d = 0; d < Ring::dayCount; ++d) {
    clearDayHistory(d);
  }
}

void Record::clearAllMonthsHistory() {
  for (int m = 0; m < Ring::monthCount; ++m) {
    clearMonthHistory(m);
  }
}

void Record::clearHistory() {
  clearAllDaysHistory();
  clearAllMonthsHistory();
  headerWord1 = 0;
  headerWord2 = 0;
  std::fill(std::begin(headerShortsA), std::end(headerShortsA), std::int16_t{0});
  std::fill(std::begin(headerShortsB), std::end(headerShortsB), std::int16_t{0});
}

void Record::shiftDays(long t) {
  Ring::shift(days);
  clearDayHistory(0);
  initializeCurrentDayTime(t);
}

void Record::shiftMonths(long t) {
  Ring::shift(months);
  clearMonthHistory(0);
  initializeCurrentMonthTime(t);
}

}  // namespace Pvn::Persist::History::Kiv::Schema0::Bramal::System
