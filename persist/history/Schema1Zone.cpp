// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "persist/history/Schema1Zone.h"

#include <algorithm>
#include <iterator>

namespace Pvn::Persist::History::Kiv::Schema1::Bramal::Zone {

namespace {

void startMinMax(Period& period) {
  period.minA = 127.99;
  period.maxA = 0.0;
}

}  // namespace

Period::Period(const Pvn::Persist::History::Kiv::Schema0::Bramal::Zone::Period& old)
    : time0(old.time0),
      time1(old.time1),
      intValue1(old.intValue1),
      intValue2(old.intValue2),
      realValue1(old.realValue1),
      intValue3(old.intValue3),
      minA(old.minA),
      maxA(old.maxA),
      realValue2(old.realValue2),
      realValue3(old.realValue3),
      intValue4(old.intValue4),
      shortValue1(old.shortValue1),
      intValue5(old.intValue5) {
  std::copy(std::begin(old.shortArray), std::end(old.shortArray), shortArray);
}

Record::Record() {
  clearHistory();
}

Record::Record(int zoneNumber, long t) : zone(zoneNumber) {
  clearHistory();
  initializeCurrentDayTime(t);
  initializeCurrentMonthTime(t);
}

Record::Record(const Pvn::Persist::History::Kiv::Schema0::Bramal::Zone::Record& old)
    : zone(old.zone), headerWord1(old.headerWord1), headerWord2(old.headerWord2) {
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

}  // namespace Pvn::Persist::History::Kiv::Schema1::Bramal::Zone
