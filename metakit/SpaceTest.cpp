// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "metakit/Space.h"

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Metakit::Extent;
using Metakit::Space;

class SpaceTest : public ::testing::Test {
 protected:
  /// Where a block of that size goes; -1 for nowhere.
  std::int32_t take(std::int32_t size) {
    Extent block;
    return space.take(size, block) ? block.position : -1;
  }

  Space space;
};

TEST_F(SpaceTest, AFreshFileIsFreeBehindItsHeader) {
  ASSERT_TRUE(space.reset(0, {}));
  EXPECT_EQ(take(10), 8);
  EXPECT_EQ(take(5), 18);
  EXPECT_EQ(space.end(), 23);
}

TEST_F(SpaceTest, FillsTheSmallestGapThatIsLargeEnough) {
  ASSERT_TRUE(space.reset(100, {{20, 10}, {10, 5}, {40, 20}}));
  EXPECT_EQ(take(5), 15) << "a gap of just that size";
  EXPECT_EQ(take(3), 30) << "not the large one at 60";
  EXPECT_EQ(take(2), 8);
  EXPECT_EQ(take(8), 60) << "what is left of the gap at 30 is too small";
  EXPECT_EQ(take(17), 100) << "the tail, 84 to 99, is in use";
  EXPECT_EQ(space.end(), 117);
}

TEST_F(SpaceTest, GivesTheBytesBehindABlock) {
  ASSERT_TRUE(space.reset(100, {{10, 10}, {50, 34}}));
  EXPECT_EQ(space.freeAt(20), 30);
  EXPECT_EQ(space.freeAt(30), 0) << "within a gap";
  EXPECT_EQ(space.freeAt(84), 0) << "the tail";
  const Extent behind = space.takeAt(20, 12);
  EXPECT_EQ(behind.position, 20);
  EXPECT_EQ(behind.size, 12);
  EXPECT_EQ(space.freeAt(32), 18);
  EXPECT_EQ(take(18), 32);
  EXPECT_EQ(space.freeAt(32), 0);
  space.give(behind);
  EXPECT_EQ(space.freeAt(20), 12);
}

TEST_F(SpaceTest, KnowsDamageByBlocksThatOverlapOrReachOutside) {
  const std::vector<std::vector<Extent>> damaged = {
      {{10, 10}, {19, 5}}, {{10, 10}, {10, 10}}, {{7, 2}},           {{80, 5}},
      {{0, 100}},          {{10, 2147483647}},   {{2147483647, 10}}, {{10, 60}, {20, 5}}};
  for (const auto& used : damaged) {
    EXPECT_FALSE(space.reset(100, used)) << ::testing::PrintToString(used.size());
  }
  EXPECT_TRUE(space.reset(100, {{8, 76}, {0, 0}})) << "a block of size 0 is none";
}

TEST_F(SpaceTest, JoinsWhatIsGivenBackWithItsNeighbours) {
  ASSERT_TRUE(space.reset(100, {{8, 76}}));
  space.give({20, 10});
  space.give({40, 10});
  space.give({30, 10});
  EXPECT_EQ(take(30), 20);
  space.give({20, 30});
  space.give({8, 12});
  EXPECT_EQ(take(42), 8);
}

TEST_F(SpaceTest, TheEndComesBackWithTheLastBlock) {
  ASSERT_TRUE(space.reset(100, {{8, 76}}));
  take(10);
  take(20);
  space.give({100, 10});
  EXPECT_EQ(space.end(), 130);
  space.give({110, 20});
  EXPECT_EQ(space.end(), 100);
  EXPECT_EQ(take(1), 100);
}

TEST_F(SpaceTest, ExtendsTheEndOnRequest) {
  ASSERT_TRUE(space.reset(100, {{8, 76}}));
  Extent block;
  EXPECT_TRUE(space.extend(150, block));
  EXPECT_EQ(block.position, 100);
  EXPECT_EQ(block.size, 50);
  EXPECT_FALSE(space.extend(149, block));
}

TEST_F(SpaceTest, EndsAtTwoGibibytes) {
  ASSERT_TRUE(space.reset(100, {{8, 76}}));
  EXPECT_EQ(take(std::numeric_limits<std::int32_t>::max()), -1);
  EXPECT_EQ(take(std::numeric_limits<std::int32_t>::max() - 100), 100);
  EXPECT_EQ(take(1), -1);
}

}  // namespace
