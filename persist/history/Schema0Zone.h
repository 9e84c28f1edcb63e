// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "persist/history/Ring.h"

namespace Pvn::Persist::History::Kiv::Schema0::Bramal::Zone {

/// One day or month of a zone's history in schema 0. It is a stored format: the record holds its 88
/// bytes as they lie here, padding spelled out and zero, so that equal values are equal bytes. The
/// meaning of the accumulated fields is their producer's; here they are only kept.
class Period {
 public:
  std::int32_t time0 = 0;
  std::int32_t time1 = 0;
  std::int16_t shortArray[4] = {};
  std::int32_t intValue1 = 0;
  std::int32_t intValue2 = 0;
  alignas(8) double realValue1 = 0.0;
  std::int32_t intValue3 = 0;
  std::uint8_t padding36[4] = {};
  alignas(8) double minA = 0.0;
  alignas(8) double maxA = 0.0;
  alignas(8) double realValue2 = 0.0;
  alignas(8) double realValue3 = 0.0;
  std::int32_t intValue4 = 0;
  std::int16_t shortValue1 = 0;
  std::uint8_t padding78[2] = {};
  std::int32_t intValue5 = 0;
  std::uint8_t padding84[4] = {};
};

static_assert(std::is_standard_layout_v<Period>);
static_assert(std::is_trivially_copyable_v<Period>);
static_assert(sizeof(Period) == 88);
static_assert(alignof(Period) == 8);
static_assert(offsetof(Period, time0) == 0);
static_assert(offsetof(Period, time1) == 4);
static_assert(offsetof(Period, shortArray) == 8);
static_assert(offsetof(Period, intValue1) == 16);
static_assert(offsetof(Period, intValue2) == 20);
static_assert(offsetof(Period, realValue1) == 24);
static_assert(offsetof(Period, intValue3) == 32);
static_assert(offsetof(Period, padding36) == 36);
static_assert(offsetof(Period, minA) == 40);
static_assert(offsetof(Period, maxA) == 48);
static_assert(offsetof(Period, realValue2) == 56);
static_assert(offsetof(Period, realValue3) == 64);
static_assert(offsetof(Period, intValue4) == 72);
static_assert(offsetof(Period, shortValue1) == 76);
static_assert(offsetof(Period, padding78) == 78);
static_assert(offsetof(Period, intValue5) == 80);
static_assert(offsetof(Period, padding84) == 84);

/// The history of one zone in schema 0: a ring of 9 days and one of 14 months. It is a stored
/// format, 2040 bytes written to the database as they lie here (docs/history-records.md tells it
/// byte by byte). A plain value: its holder owns it, and one thread at a time may use it. Other
/// than in a system's record, a cleared period is all zero: only the current day and month get the
/// start values of minimum and maximum, and only when the record is made with a time or shifted.
/// This is meant; records in the field are like that. Nothing is fatal; indices are not checked.
class Record {
 public:
  /// Zone 0, all periods cleared, all else zero.
  Record();

  /// The same for a given zone, with the current day and month begun at `t` and given their start
  /// values.
  Record(int zoneNumber, long t);

  /// Both times of the current period become `t`, cut to the 32 stored bits.
  void initializeCurrentDayTime(long t);
  void initializeCurrentMonthTime(long t);

  /// Writes start values that the first real value will replace: each minimum at the top of its
  /// range, each maximum at the bottom. REQUIRES: `d` is 0 to 8, `m` is 0 to 13.
  void initializeMinMaxDayFields(int d);
  void initializeMinMaxMonthFields(int m);

  /// Sets every byte of the period to zero; writes no start values.
  /// REQUIRES: `d` is 0 to 8, `m` is 0 to 13.
  void clearDayHistory(int d);
  void clearMonthHistory(int m);
  void clearAllDaysHistory();
  void clearAllMonthsHistory();

  /// Clears both rings and the header; `zone` stays.
  void clearHistory();

  /// Begins a new day or month at `t`: every period moves one place older, the oldest is lost, and
  /// the current one starts cleared, with start values. The other ring is untouched.
  void shiftDays(long t);
  void shiftMonths(long t);

  std::int32_t zone = 0;
  std::int32_t headerWord1 = 0;
  std::int32_t headerWord2 = 0;
  std::uint8_t padding12[4] = {};

  /// Index 0 is the current day.
  Period days[Ring::dayCount];
  /// Index 0 is the current month.
  Period months[Ring::monthCount];
};

static_assert(std::is_standard_layout_v<Record>);
static_assert(std::is_trivially_copyable_v<Record>);
static_assert(sizeof(Record) == 2040);
static_assert(alignof(Record) == 8);
static_assert(offsetof(Record, zone) == 0);
static_assert(offsetof(Record, headerWord1) == 4);
static_assert(offsetof(Record, headerWord2) == 8);
static_assert(offsetof(Record, padding12) == 12);
static_assert(offsetof(Record, days) == 16);
static_assert(offsetof(Record, months) == 808);

}  // namespace Pvn::Persist::History::Kiv::Schema0::Bramal::Zone
