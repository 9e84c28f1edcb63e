// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "metakit/PackedInts.h"

#include <cstddef>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Metakit::ByteOrder;
using Metakit::Bytes;
using Metakit::PackedInts;

std::vector<std::int32_t> valuesOf(const PackedInts& list) {
  std::vector<std::int32_t> values(static_cast<std::size_t>(list.size()));
  for (std::int32_t i = 0; i < list.size(); ++i) {
    values[static_cast<std::size_t>(i)] = list.at(i);
  }
  return values;
}

TEST(PackedIntsTest, WidensWithItsValues) {
  PackedInts list(ByteOrder::Little);
  std::vector<std::int32_t> values;
  for (const std::int32_t value : {0, 1, 3, 2, 15, -1, 200, -40000, 7, 0}) {
    list.append(value);
    values.push_back(value);
    EXPECT_EQ(valuesOf(list), values);
  }
}

TEST(PackedIntsTest, PacksIntoTheLeastWidth) {
  PackedInts list(ByteOrder::Little);
  for (const std::int32_t value : {3, 1, 300}) {
    list.append(value);
  }
  EXPECT_EQ(list.packed(), (Bytes{3, 0, 1, 0, 0x2C, 1}));
  list.set(2, 5);
  EXPECT_EQ(list.packed(), (Bytes{0x13, 0x05})) << "4 bits will do now";
  EXPECT_EQ(valuesOf(list), (std::vector<std::int32_t>{3, 1, 5}));
  list.set(0, 0);
  list.set(1, 0);
  list.set(2, 0);
  EXPECT_EQ(list.packed(), Bytes{});
}

TEST(PackedIntsTest, RemovesRanges) {
  PackedInts list(ByteOrder::Big);
  for (std::int32_t i = 0; i < 10; ++i) {
    list.append(i);
  }
  list.remove(3, 4);
  EXPECT_EQ(valuesOf(list), (std::vector<std::int32_t>{0, 1, 2, 7, 8, 9}));
  list.remove(5, 1);
  EXPECT_EQ(list.packed(), (Bytes{0x10, 0x72, 0x08})) << "nothing is left of removed values";
  list.remove(0, 5);
  EXPECT_EQ(list.packed(), Bytes{});
}

TEST(PackedIntsTest, StartsFromAStoredColumn) {
  const Bytes stored = {0x21, 0x03, 0xEE};
  PackedInts list(stored.data(), 4, 3, ByteOrder::Little);
  EXPECT_EQ(valuesOf(list), (std::vector<std::int32_t>{1, 2, 3}));
  EXPECT_EQ(list.packed(), Bytes{0x39}) << "2 bits will do";
  list.append(100);
  EXPECT_EQ(list.packed(), (Bytes{1, 2, 3, 100}));
}

}  // namespace
