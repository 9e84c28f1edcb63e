// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "persist/history/Ring.h"

namespace Pvn::Persist::History::Kiv::Schema0::Bramal::System {

/// One day or month of a system's history in schema 0. It is a stored format: the record holds its
/// 200 bytes as they lie here, padding spelled out and zero, so that equal values are equal bytes.
/// The meaning of the accumulated fields is their producer's; here they are only kept.
class Period {
 public:
  std::int32_t time0 = 0;
  std::int32_t time1 = 0;
  std::int16_t shortValue1 = 0;
  std::uint8_t padding10[6] = {};
  alignas(8) double realValue1 = 0.0;
  std::int32_t intValue1 = 0;
  std::uint8_t padding28[4] = {};
  alignas(8) double realValue2 = 0.0;
  std::int32_t intValue2 = 0;
  std::uint8_t padding44[4] = {};
  alignas(8) double minA = 0.0;
  alignas(8) double maxA = 0.0;
  alignas(8) double minB = 0.0;
  alignas(8) double maxB = 0.0;
  alignas(8) double realValue3 = 0.0;
  alignas(8) double realValue4 = 0.0;
  std::int32_t intValue3 = 0;
  std::uint8_t padding100[4] = {};
  alignas(8) double realValue5 = 0.0;
  alignas(8) double realValue6 = 0.0;
  std::int32_t intValue4 = 0;
  std::int16_t shortArray[15] = {};
  std::uint8_t padding154[2] = {};
  std::int32_t intArray[10] = {};
  std::uint8_t padding196[4] = {};
};

static_assert(std::is_standard_layout_v<Period>);
static_assert(std::is_trivially_copyable_v<Period>);
static_assert(sizeof(Period) == 200);
static_assert(alignof(Period) == 8);
static_assert(offsetof(Period, time0) == 0);
static_assert(offsetof(Period, time1) == 4);
static_assert(offsetof(Period, shortValue1) == 8);
static_assert(offsetof(Period, padding10) == 10);
static_assert(offsetof(Period, realValue1) == 16);
static_assert(offsetof(Period, intValue1) == 24);
static_assert(offsetof(Period, padding28) == 28);
static_assert(offsetof(Period, realValue2) == 32);
static_assert(offsetof(Period, intValue2) == 40);
static_assert(offsetof(Period, padding44) == 44);
static_assert(offsetof(Period, minA) == 48);
static_assert(offsetof(Period, maxA) == 56);
static_assert(offsetof(Period, minB) == 64);
static_assert(offsetof(Period, maxB) == 72);
static_assert(offsetof(Period, realValue3) == 80);
static_assert(offsetof(Period, realValue4) == 88);
static_assert(offsetof(Period, intValue3) == 96);
static_assert(offsetof(Period, padding100) == 100);
static_assert(offsetof(Period, realValue5) == 104);
static_assert(offsetof(Period, realValue6) == 112);
static_assert(offsetof(Period, intValue4) == 120);
static_assert(offsetof(Period, shortArray) == 124);
static_assert(offsetof(Period, padding154) == 154);
static_assert(offsetof(Period, intArray) == 156);
static_assert(offsetof(Period, padding196) == 196);

/// The history of one system in schema 0: a ring of 9 days and one of 14 months. It is a stored
/// format, 4624 bytes written to the database as they lie here (docs/history-records.md tells it
/// byte by byte). A plain value: its holder owns it, and one thread at a time may use it. Cleared
/// periods always carry the start values of their minima and maxima; the zone's records differ.
/// Nothing is fatal; indices are not checked.
class Record {
 public:
  /// All periods cleared, all else zero.
  Record();

  /// The same, with the current day and month begun at `t`.
  explicit Record(long t);

  /// Both times of the current period become `t`, cut to the 32 stored bits.
  void initializeCurrentDayTime(long t);
  void initializeCurrentMonthTime(long t);

  /// Writes start values that the first real value will replace: each minimum at the top of its
  /// range, each maximum at the bottom. REQUIRES: `d` is 0 to 8, `m` is 0 to 13.
  void initializeMinMaxDayFields(int d);
  void initializeMinMaxMonthFields(int m);

  /// Sets every byte of the period to zero, then writes its start values.
  /// REQUIRES: `d` is 0 to 8, `m` is 0 to 13.
  void clearDayHistory(int d);
  void clearMonthHistory(int m);
  void clearAllDaysHistory();
  void clearAllMonthsHistory();

  /// Clears both rings and the header.
  void clearHistory();

  /// Begins a new day or month at `t`: every period moves one place older, the oldest is lost, and
  /// the current one starts cleared, with start values. The other ring is untouched.
  void shiftDays(long t);
  void shiftMonths(long t);

  std::int32_t headerWord1 = 0;
  std::int32_t headerWord2 = 0;
  std::int16_t headerShortsA[4] = {};
  std::int16_t headerShortsB[4] = {};

  /// Index 0 is the current day.
  Period days[Ring::dayCount];
  /// Index 0 is the current month.
  Period months[Ring::monthCount];
};

static_assert(std::is_standard_layout_v<Record>);
static_assert(std::is_trivially_copyable_v<Record>);
static_assert(sizeof(Record) == 4624);
static_assert(alignof(Record) == 8);
static_assert(offsetof(Record, headerWord1) == 0);
static_assert(offsetof(Record, headerWord2) == 4);
static_assert(offsetof(Record, headerShortsA) == 8);
static_assert(offsetof(Record, headerShortsB) == 16);
static_assert(offsetof(Record, days) == 24);
static_assert(offsetof(Record, months) == 1824);

}  // namespace Pvn::Persist::History::Kiv::Schema0::Bramal::System
