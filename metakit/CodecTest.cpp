// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "metakit/Codec.h"

#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Metakit::appendInteger;
using Metakit::ByteOrder;
using Metakit::Bytes;
using Metakit::decodeMark;
using Metakit::encodeMark;
using Metakit::Mark;
using Metakit::packedGet;
using Metakit::packedPut;
using Metakit::packedSize;
using Metakit::packedWidth;
using Metakit::packedWidthOf;
using Metakit::WalkReader;

constexpr std::int32_t largest = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t smallest = std::numeric_limits<std::int32_t>::min();

class WalkTest : public ::testing::Test {
 protected:
  /// The integer that the bytes stand for, if they are just one.
  static bool read(const Bytes& bytes, std::int32_t& value) {
    WalkReader walk(bytes.data(), static_cast<std::int32_t>(bytes.size()));
    value = walk.integer();
    return !walk.failed() && walk.atEnd();
  }
};

TEST_F(WalkTest, WritesAndReadsIntegers) {
  const std::vector<std::pair<std::int32_t, Bytes>> integers = {
      {0, {0x80}},
      {5, {0x85}},
      {127, {0xFF}},
      {128, {0x01, 0x80}},
      {300, {0x02, 0xAC}},
      {16384, {0x01, 0x00, 0x80}},
      {largest, {0x07, 0x7F, 0x7F, 0x7F, 0xFF}},
      {-1, {0x00, 0x80}},
      {-2, {0x00, 0x81}},
      {-300, {0x00, 0x02, 0xAB}},
      {smallest, {0x00, 0x07, 0x7F, 0x7F, 0x7F, 0xFF}}};
  for (const auto& [value, bytes] : integers) {
    Bytes written;
    appendInteger(written, value);
    EXPECT_EQ(written, bytes) << value;
    std::int32_t back = 0;
    EXPECT_TRUE(read(bytes, back)) << value;
    EXPECT_EQ(back, value);
  }
}

TEST_F(WalkTest, RefusesWhatIsNoInteger) {
  const std::vector<Bytes> malformed = {
      {},
      {0x01},
      {0x00},
      {0x00, 0x00, 0x80},                          // a leading group of zero
      {0x08, 0x00, 0x00, 0x00, 0x80},              // 2^31
      {0x00, 0x08, 0x00, 0x00, 0x00, 0x80},        // below -2^31
      {0x01, 0x00, 0x00, 0x00, 0x00, 0x80},        // 2^35
      {0x7F, 0x7F, 0x7F, 0x7F, 0x7F, 0x7F, 0xFF},  // far beyond
  };
  for (const Bytes& bytes : malformed) {
    std::int32_t value = 0;
    EXPECT_FALSE(read(bytes, value)) << ::testing::PrintToString(bytes);
  }
}

TEST_F(WalkTest, FailsForGoodOnceAStepFailed) {
  const Bytes bytes = {0x00, 0x80, 0x85};
  WalkReader walk(bytes.data(), 3);
  EXPECT_EQ(walk.count(), 0) << "a count is not negative";
  EXPECT_TRUE(walk.failed());
  EXPECT_EQ(walk.integer(), 0);
  EXPECT_EQ(walk.text(1), "");
}

TEST_F(WalkTest, BoundsTextByWhatIsLeft) {
  const Bytes bytes = {0x85, 'a', 'b'};
  WalkReader walk(bytes.data(), 3);
  EXPECT_EQ(walk.count(), 5);
  EXPECT_EQ(walk.text(2), "ab");
  EXPECT_TRUE(walk.atEnd());
  EXPECT_FALSE(walk.failed());
  EXPECT_EQ(walk.text(1), "");
  EXPECT_TRUE(walk.failed());
}

TEST(MarkTest, AreEightBytesWithBigEndianNumbers) {
  const std::vector<std::pair<Mark, Bytes>> marks = {
      {{Mark::Kind::Header, ByteOrder::Little, 0, 0x47}, {'J', 'L', 0x1A, 0, 0, 0, 0, 0x47}},
      {{Mark::Kind::Header, ByteOrder::Big, 0, 0}, {'L', 'J', 0x1A, 0, 0, 0, 0, 0}},
      {{Mark::Kind::SkipTail, {}, 0, 0x12345678}, {0x80, 0, 0, 0, 0x12, 0x34, 0x56, 0x78}},
      {{Mark::Kind::CommitTail, {}, 0x16, 0x21}, {0x80, 0, 0, 0x16, 0, 0, 0, 0x21}}};
  for (const auto& [mark, bytes] : marks) {
    Bytes written(Metakit::markSize);
    encodeMark(mark, written.data());
    EXPECT_EQ(written, bytes);
    const Mark back = decodeMark(bytes.data());
    EXPECT_EQ(back.kind, mark.kind);
    EXPECT_EQ(back.order, mark.order);
    EXPECT_EQ(back.size, mark.size);
    EXPECT_EQ(back.value, mark.value);
  }
}

TEST(MarkTest, AreRecognisedByTheirFirstBytes) {
  const auto kind = [](const Bytes& bytes) { return decodeMark(bytes.data()).kind; };
  EXPECT_EQ(kind({0x9F, 0, 0, 0, 0, 0, 0, 1}), Mark::Kind::SkipTail);
  EXPECT_EQ(kind({0x90, 0, 0, 0, 0, 0, 0, 1}), Mark::Kind::SkipTail);
  EXPECT_EQ(kind({0xA0, 0, 0, 0, 0, 0, 0, 1}), Mark::Kind::None);
  EXPECT_EQ(kind({0x90, 0, 0, 1, 0, 0, 0, 1}), Mark::Kind::None);
  EXPECT_EQ(kind({0x80, 0, 0, 0, 0, 0, 0, 0}), Mark::Kind::None) << "no distance";
  EXPECT_EQ(kind({0x80, 0, 0, 1, 0, 0, 0, 0}), Mark::Kind::None) << "no position";
  EXPECT_EQ(kind({0x80, 0, 0, 1, 0x80, 0, 0, 0}), Mark::Kind::None) << "past 31 bits";
  EXPECT_EQ(kind({'J', 'L', 0x1A, 0x80, 0, 0, 0, 8}), Mark::Kind::None) << "the older format";
  EXPECT_EQ(kind({'J', 'L', 0x1A, 0x40, 0, 0, 0, 8}), Mark::Kind::None);
  EXPECT_EQ(kind({'J', 'J', 0x1A, 0, 0, 0, 0, 8}), Mark::Kind::None);
  EXPECT_EQ(kind({'J', 'L', 0x1B, 0, 0, 0, 0, 8}), Mark::Kind::None);
}

TEST(PackedTest, TakesTheLeastWidthThatHoldsAValue) {
  const std::vector<std::pair<std::int32_t, int>> widths = {
      {0, 0},    {1, 1},      {2, 2},      {3, 2},       {4, 4},       {15, 4},
      {16, 8},   {127, 8},    {128, 16},   {-1, 8},      {-128, 8},    {-129, 16},
      {255, 16}, {32767, 16}, {32768, 32}, {-32768, 16}, {-32769, 32}, {largest, 32}};
  for (const auto& [value, width] : widths) {
    EXPECT_EQ(packedWidth(value), width) << value;
  }
}

TEST(PackedTest, TellsTheWidthBySizeForEveryNumberOfRows) {
  for (std::int32_t rows = 1; rows <= 40; ++rows) {
    for (const int width : {1, 2, 4, 8, 16, 32}) {
      const auto size = static_cast<std::int32_t>(packedSize(rows, width));
      EXPECT_GE(size * 8, rows * width);
      EXPECT_EQ(packedWidthOf(rows, size), width) << rows << " rows in " << size << " bytes";
    }
    EXPECT_EQ(packedSize(rows, 0), 0);
    EXPECT_EQ(packedWidthOf(rows, 0), 0);
  }
}

TEST(PackedTest, StretchesTheShortestColumns) {
  EXPECT_EQ(packedSize(1, 4), 6);
  EXPECT_EQ(packedSize(1, 2), 5);
  EXPECT_EQ(packedSize(1, 1), 3);
  EXPECT_EQ(packedSize(2, 2), 5);
  EXPECT_EQ(packedSize(4, 1), 5);
  EXPECT_EQ(packedSize(5, 1), 1);
}

TEST(PackedTest, RefusesSizesThatFitNoWidth) {
  const std::vector<std::pair<std::int32_t, std::int32_t>> malformed = {
      {2, 6}, {3, 5}, {4, 3}, {4, 6}, {5, 4},   {5, 6}, {6, 4},
      {7, 3}, {7, 6}, {1, 7}, {1, 8}, {10, 13}, {8, 3}, {3, 24}};
  for (const auto& [rows, size] : malformed) {
    EXPECT_EQ(packedWidthOf(rows, size), -1) << rows << " rows in " << size << " bytes";
  }
}

TEST(PackedTest, PutsTheFirstValueIntoTheLowestBits) {
  Bytes column(2);
  for (std::int32_t i = 0; i < 4; ++i) {
    packedPut(column.data(), 4, i, 0xA + i, ByteOrder::Little);
  }
  EXPECT_EQ(column, (Bytes{0xBA, 0xDC}));
  EXPECT_EQ(packedGet(column.data(), 4, 2, ByteOrder::Little), 0xC);
  packedPut(column.data(), 4, 1, 0, ByteOrder::Little);
  EXPECT_EQ(column, (Bytes{0x0A, 0xDC})) << "the neighbours stay";
}

TEST(PackedTest, KeepsWideValuesInTheOrderOfTheFile) {
  Bytes column(8);
  packedPut(column.data(), 32, 1, -2, ByteOrder::Big);
  EXPECT_EQ(column, (Bytes{0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFE}));
  EXPECT_EQ(packedGet(column.data(), 32, 1, ByteOrder::Big), -2);
  packedPut(column.data(), 16, 0, 0x0102, ByteOrder::Little);
  EXPECT_EQ(column[0], 0x02);
  EXPECT_EQ(packedGet(column.data(), 16, 0, ByteOrder::Big), 0x0201);
}

TEST(PackedTest, ReadsBackEveryWidth) {
  for (const int width : {1, 2, 4, 8, 16, 32}) {
    const std::int32_t top = width < 8 ? (1 << width) - 1 : largest >> (32 - width);
    for (const ByteOrder order : {ByteOrder::Little, ByteOrder::Big}) {
      Bytes column(64);
      for (std::int32_t i = 0; i < 16; ++i) {
        packedPut(column.data(), width, i, i % 3 == 0 ? top : i % 2, order);
      }
      for (std::int32_t i = 0; i < 16; ++i) {
        EXPECT_EQ(packedGet(column.data(), width, i, order), i % 3 == 0 ? top : i % 2);
      }
    }
  }
}

}  // namespace
