// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <cstdint>

#include <gtest/gtest.h>

#include "persist/history/RowLimit.h"

namespace {

using Pvn::Persist::History::areRowsPlausible;

constexpr std::int64_t mebi = 1024 * 1024;

TEST(RowLimitTest, AcceptsRowsWithCompleteBodiesInAFileOfAnySize) {
  for (const std::int64_t rows : {0, 1, 13, 10000, 1000000}) {
    EXPECT_TRUE(areRowsPlausible(rows, 0, rows * 4624));
    EXPECT_TRUE(areRowsPlausible(0, rows, rows * 2040));
    EXPECT_TRUE(areRowsPlausible(rows, rows, rows * (4624 + 2040)));
  }
}

TEST(RowLimitTest, RejectsMoreRowsThanSixteenMebibytesAndTheFileJustify) {
  EXPECT_TRUE(areRowsPlausible(16 * mebi / 4624, 0, 63));
  EXPECT_FALSE(areRowsPlausible(16 * mebi / 4624 + 1, 0, 63));
  EXPECT_TRUE(areRowsPlausible(0, 16 * mebi / 2040, 63));
  EXPECT_FALSE(areRowsPlausible(0, 16 * mebi / 2040 + 1, 63));
  EXPECT_FALSE(areRowsPlausible(16 * mebi / 4624, 16 * mebi / 2040, 63));
  EXPECT_TRUE(areRowsPlausible(0, 20 * mebi / 2040, 4 * mebi));
  EXPECT_FALSE(areRowsPlausible(0, 20 * mebi / 2040 + 1, 4 * mebi));
  EXPECT_TRUE(areRowsPlausible(10000, 0, 10000 * 4624 - 16 * mebi));
  EXPECT_FALSE(areRowsPlausible(10000, 0, 10000 * 4624 - 16 * mebi - 1));
  EXPECT_FALSE(areRowsPlausible(INT32_MAX, INT32_MAX, INT32_MAX));
}

}  // namespace
