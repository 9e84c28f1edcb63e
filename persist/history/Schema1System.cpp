// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "persist/history/Schema1System.h"

#include <algorithm>
#include <iterator>

namespace Pvn::Persist::History::Kiv::Schema1::Bramal::System {

namespace {

void startMinMax(Period& period) {
  period.minA = 140.0;
  period.maxA = -40.0;
  period.minB = 100.0;
  period.maxB = 0.0;
  period.minC = 140.0;
  period.maxC = -40.0;
}

}  // namespace

// The new fields, and all padding, keep the zeros that the class gives them.
Period::Period(const Pvn::Persist::History::Kiv::Schema0::Bramal::System::Period& old)
    : time0(old.time0),
      time1(old.time1),
      shortValue1(old.shortValue1),
      realValue1(old.realValue1),
      intValue1(old.intValue1),
      realValue2(old.realValue2),
      intValue2(old.intValue2),
      minA(old.minA),
      maxA(old.maxA),
      minB(old.minB),
      maxB(old.maxB),
      realValue3(old.realValue3),
      realValue4(old.realValue4),
      intValue3(old.intValue3),
      realValue5(old.realValue5),
      realValue6(old.realValue6),
      intValue4(old.intValue4) {
  std::copy(std::begin(old.shortArray), std::end(old.shortArray), shortArray);
  // One element fewer than here: the 11th stays zero.
  std::copy(std::begin(old.intArray), std::end(old.intArray), intArray);
}

Record::Record() {
  clearHistory();
}

Record::Record(long t) : Record() {
  initializeCurrentDayTime(t);
  initializeCurrentMonthTime(t);
}

Record::Record(const Pvn::Persist::History::Kiv::Schema0::Bramal::System::Record& old)
    : headerWord1(old.headerWord1), headerWord2(old.headerWord2) {
  std::copy(std::begin(old.headerShortsA), std::end(old.headerShortsA), headerShortsA);
  std::copy(std::begin(old.headerShortsB), std::end(old.headerShortsB), headerShortsB);
  std::copy(std::begin(old.days), std::end(old.days), days);
  std::copy(std::begin(old.months), std::end(old.months), months);
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

}  // namespace Pvn::Persist::History::Kiv::Schema1::Bramal::System
