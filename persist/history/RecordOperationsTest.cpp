// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "persist/history/Schema0System.h"
#include "persist/history/Schema0Zone.h"
#include "persist/history/Schema1System.h"
#include "persist/history/Schema1Zone.h"
#include "persist/history/testing/HistoryTesting.h"

// Every operation of the four records, run on a record of random bytes and on records just made,
// and compared byte by byte with an image that knows the layout only by its numbers.

namespace {

namespace Kiv = Pvn::Persist::History::Kiv;
using HistoryTesting::Image;

struct Value {
  std::size_t offset;
  std::uint64_t bits;
};

constexpr std::uint64_t top140 = 0x4061800000000000;
constexpr std::uint64_t bottom40 = 0xC044000000000000;
constexpr std::uint64_t top100 = 0x4059000000000000;

struct Schema0System {
  static constexpr const char* name = "Schema0System";
  using Record = Kiv::Schema0::Bramal::System::Record;
  static constexpr std::size_t periodSize = 200, copied = 196, recordSize = 4624;
  static constexpr std::size_t days = 24, months = 1824;
  static constexpr std::size_t clearedHeader = 0, clearedHeaderSize = 24;
  static constexpr bool clearedStarts = true;
  static std::vector<Value> startValues() {
    return {{48, top140}, {56, bottom40}, {64, top100}, {72, 0}};
  }
};

struct Schema1System {
  static constexpr const char* name = "Schema1System";
  using Record = Kiv::Schema1::Bramal::System::Record;
  static constexpr std::size_t periodSize = 272, copied = 268, recordSize = 6280;
  static constexpr std::size_t days = 24, months = 2472;
  static constexpr std::size_t clearedHeader = 0, clearedHeaderSize = 24;
  static constexpr bool clearedStarts = true;
  static std::vector<Value> startValues() {
    return {{48, top140}, {56, bottom40}, {64, top100}, {72, 0}, {232, top140}, {240, bottom40}};
  }
};

struct Schema0Zone {
  static constexpr const char* name = "Schema0Zone";
  using Record = Kiv::Schema0::Bramal::Zone::Record;
  static constexpr std::size_t periodSize = 88, copied = 84, recordSize = 2040;
  static constexpr std::size_t days = 16, months = 808;
  static constexpr std::size_t clearedHeader = 4, clearedHeaderSize = 8;
  static constexpr bool clearedStarts = false;
  static std::vector<Value> startValues() { return {{40, HistoryTesting::bitsOf12799}, {48, 0}}; }
};

struct Schema1Zone : Schema0Zone {
  static constexpr const char* name = "Schema1Zone";
  using Record = Kiv::Schema1::Bramal::Zone::Record;
  static constexpr bool clearedStarts = true;
};

template <class Kind>
class RecordOperationsTest : public ::testing::Test {
 protected:
  using Record = typename Kind::Record;

  static std::size_t day(int d) {
    return Kind::days + static_cast<std::size_t>(d) * Kind::periodSize;
  }
  static std::size_t month(int m) {
    return Kind::months + static_cast<std::size_t>(m) * Kind::periodSize;
  }

  void putTimes(std::size_t period, std::uint32_t time) {
    expected.put(period, 4, time).put(period + 4, 4, time);
  }
  void putStartValues(std::size_t period) {
    for (const Value& value : Kind::startValues()) {
      expected.put(period + value.offset, 8, value.bits);
    }
  }
  void putCleared(std::size_t period) {
    expected.clear(period, Kind::periodSize);
    if (Kind::clearedStarts) {
      putStartValues(period);
    }
  }
  /// Moves each of the `count` periods from `current` on by one, but for its trailing padding.
  void putShifted(std::size_t current, std::size_t count) {
    const Image before = expected;
    for (std::size_t i = 1; i < count; ++i) {
      const std::size_t older = current + i * Kind::periodSize;
      expected.copy(before, older - Kind::periodSize, older, Kind::copied);
    }
  }
  void expectImage() { EXPECT_EQ(Image::of(record).difference(expected), ""); }

  Image expected = Image::random(Kind::recordSize);
  Record record = expected.template as<Record>();
};

using Kinds = ::testing::Types<Schema0System, Schema1System, Schema0Zone, Schema1Zone>;

struct KindName {
  template <class Kind>
  static std::string GetName(int /*index*/) {
    return Kind::name;
  }
};
TYPED_TEST_SUITE(RecordOperationsTest, Kinds, KindName);

TYPED_TEST(RecordOperationsTest, InitializeCurrentDayTimeSetsBothTimesOfTheFirstDay) {
  this->record.initializeCurrentDayTime(0x01020304);
  this->putTimes(this->day(0), 0x01020304);
  this->expectImage();
}

TYPED_TEST(RecordOperationsTest, InitializeCurrentMonthTimeSetsBothTimesOfTheFirstMonth) {
  this->record.initializeCurrentMonthTime(-2);
  this->putTimes(this->month(0), 0xFFFFFFFE);
  this->expectImage();
}

TYPED_TEST(RecordOperationsTest, InitializeMinMaxDayFieldsWritesTheStartValuesAlone) {
  for (int d = 0; d < 9; ++d) {
    SCOPED_TRACE(d);
    this->record.initializeMinMaxDayFields(d);
    this->putStartValues(this->day(d));
    this->expectImage();
  }
}

TYPED_TEST(RecordOperationsTest, InitializeMinMaxMonthFieldsWritesTheStartValuesAlone) {
  for (int m = 0; m < 14; ++m) {
    SCOPED_TRACE(m);
    this->record.initializeMinMaxMonthFields(m);
    this->putStartValues(this->month(m));
    this->expectImage();
  }
}

TYPED_TEST(RecordOperationsTest, ClearDayHistoryClearsThatDayAlone) {
  for (int d = 0; d < 9; ++d) {
    SCOPED_TRACE(d);
    this->record.clearDayHistory(d);
    this->putCleared(this->day(d));
    this->expectImage();
  }
}

TYPED_TEST(RecordOperationsTest, ClearMonthHistoryClearsThatMonthAlone) {
  for (int m = 0; m < 14; ++m) {
    SCOPED_TRACE(m);
    this->record.clearMonthHistory(m);
    this->putCleared(this->month(m));
    this->expectImage();
  }
}

TYPED_TEST(RecordOperationsTest, ClearAllDaysHistoryLeavesTheMonths) {
  this->record.clearAllDaysHistory();
  for (int d = 0; d < 9; ++d) {
    this->putCleared(this->day(d));
  }
  this->expectImage();
}

TYPED_TEST(RecordOperationsTest, ClearAllMonthsHistoryLeavesTheDays) {
  this->record.clearAllMonthsHistory();
  for (int m = 0; m < 14; ++m) {
    this->putCleared(this->month(m));
  }
  this->expectImage();
}

TYPED_TEST(RecordOperationsTest, ClearHistoryClearsBothRingsAndTheHeader) {
  this->record.clearHistory();
  for (int d = 0; d < 9; ++d) {
    this->putCleared(this->day(d));
  }
  for (int m = 0; m < 14; ++m) {
    this->putCleared(this->month(m));
  }
  this->expected.clear(TypeParam::clearedHeader, TypeParam::clearedHeaderSize);
  this->expectImage();
}

TYPED_TEST(RecordOperationsTest, ShiftDaysMovesTheDaysAndBeginsACurrentOneWithStartValues) {
  this->record.shiftDays(0x7FFFFFFF);
  this->putShifted(this->day(0), 9);
  this->putCleared(this->day(0));
  this->putStartValues(this->day(0));
  this->putTimes(this->day(0), 0x7FFFFFFF);
  this->expectImage();
}

TYPED_TEST(RecordOperationsTest, ShiftMonthsMovesTheMonthsAndBeginsACurrentOneWithStartValues) {
  this->record.shiftMonths(77);
  this->putShifted(this->month(0), 14);
  this->putCleared(this->month(0));
  this->putStartValues(this->month(0));
  this->putTimes(this->month(0), 77);
  this->expectImage();
}

TYPED_TEST(RecordOperationsTest, ShiftLeavesTheTrailingPaddingInItsPlace) {
  this->record.shiftDays(1);
  const Image shifted = Image::of(this->record);
  for (int d = 1; d < 9; ++d) {
    const std::size_t padding = this->day(d) + TypeParam::copied;
    EXPECT_EQ(shifted.get(padding, 4), this->expected.get(padding, 4)) << d;
  }
}

TYPED_TEST(RecordOperationsTest, DefaultRecordIsClearedThroughout) {
  this->expected = Image(TypeParam::recordSize);
  for (int d = 0; d < 9; ++d) {
    this->putCleared(this->day(d));
  }
  for (int m = 0; m < 14; ++m) {
    this->putCleared(this->month(m));
  }
  EXPECT_EQ(Image::ofNew<typename TypeParam::Record>().difference(this->expected), "");
}

}  // namespace
