// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "persist/history/Schema0Zone.h"

namespace Pvn::Persist::History::Kiv::Schema0::Bramal::Zone {

namespace {

void startMinMax(Period& period) {
  period.minA = 127.99;
  period.maxA = 0.0;
}

}  // namespace

Record::Record() {
  clearHistory();
}

Record::Record(int zoneNumber, long t) : zone(zoneNumber) {
  clearHistory();
  // The clear left the start values out, and only the current periods are meant to get them.
  initializeMinMaxDayFields(0);
  initializeMinMaxMonthFields(0);
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
  // No start values, on purpose: the devices hold cleared zone periods of schema 0 as all zero.
}

void Record::clearMonthHistory(int m) {
  Ring::clear(months[m]);
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
  // The clear left these out.
  initializeMinMaxDayFields(0);
  initializeCurrentDayTime(t);
}

void Record::shiftMonths(long t) {
  Ring::shift(months);
  clearMonthHistory(0);
  initializeMinMaxMonthFields(0);
  initializeCurrentMonthTime(t);
}

}  // namespace Pvn::Persist::History::Kiv::Schema0::Bramal::Zone
