// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "metakit/Codec.h"
#include "metakit/Commit.h"
#include "metakit/Space.h"

namespace {

using Metakit::Bytes;
using Metakit::Commit;
using Metakit::Extent;
using Metakit::Growable;
using Metakit::Space;

/// Where a commit puts the bytes of blocks that grow: a file of 1000 bytes with a block at 100 that
/// has 40, and gaps from 8 to 100 and from 140 to 900.
class PlacementTest : public ::testing::Test {
 protected:
  PlacementTest() { EXPECT_TRUE(space.reset(1000, {{100, 40}, {900, 84}})); }

  static Bytes bytes(std::size_t size, std::uint8_t value = 'n') { return Bytes(size, value); }

  Space space;
  const Bytes old = bytes(40, 'o');
  const Growable block = {{100, 40}, 0};
};

TEST_F(PlacementTest, AppendsBehindABlockAndKeepsRoomForMore) {
  Commit commit(space);
  const Growable grown = commit.append(block, old.data(), bytes(8));
  EXPECT_EQ(grown.block.position, 100);
  EXPECT_EQ(grown.block.size, 48);
  EXPECT_EQ(grown.slack, 12) << "a quarter";
  ASSERT_EQ(commit.blocks().size(), 1U) << "what stands there is not written again";
  EXPECT_EQ(commit.blocks()[0].block.position, 140);
  EXPECT_EQ(commit.blocks()[0].block.size, 8);
  EXPECT_EQ(commit.blocks()[0].bytes[0], 'n');
  EXPECT_EQ(space.freeAt(160), 740);
  EXPECT_TRUE(commit.finish().empty());
  Commit next(space);
  EXPECT_EQ(next.append(grown, old.data(), bytes(12)).slack, 0);
  EXPECT_EQ(space.freeAt(160), 740) << "there was room";
}

TEST_F(PlacementTest, TakesWhatRoomThereIs) {
  Extent other = space.takeAt(140, 10);
  Commit commit(space);
  space.give(other);
  other = space.takeAt(140, 760);
  space.give({140, 9});
  EXPECT_EQ(commit.append(block, old.data(), bytes(8)).slack, 1);
}

TEST_F(PlacementTest, MovesABlockWithoutRoomBehindIt) {
  space.takeAt(140, 1);
  Commit commit(space);
  const Growable grown = commit.append(block, old.data(), bytes(8));
  EXPECT_EQ(grown.block.position, 8) << "the smallest gap";
  EXPECT_EQ(grown.block.size, 48);
  EXPECT_EQ(grown.slack, 12);
  ASSERT_EQ(commit.blocks().size(), 1U);
  EXPECT_EQ(commit.blocks()[0].block.size, 48);
  EXPECT_EQ(commit.blocks()[0].bytes[39], 'o');
  EXPECT_EQ(commit.blocks()[0].bytes[40], 'n');
  const std::vector<Extent> released = commit.finish();
  ASSERT_EQ(released.size(), 1U);
  EXPECT_EQ(released[0].position, 100);
  EXPECT_EQ(released[0].size, 40);
}

TEST_F(PlacementTest, AFirstBlockGetsNoSlack) {
  Commit commit(space);
  const Growable placed = commit.append({}, nullptr, bytes(40));
  EXPECT_EQ(placed.block.size, 40);
  EXPECT_EQ(placed.slack, 0);
}

TEST_F(PlacementTest, ACommitThatIsGivenUpGivesEverythingBack) {
  {
    Commit commit(space);
    commit.append(block, old.data(), bytes(8));
    commit.replace({}, bytes(20));
    commit.placeWalk(bytes(10));
    commit.fillUpTo(1200);
  }
  EXPECT_EQ(space.freeAt(140), 760);
  EXPECT_EQ(space.freeAt(8), 92);
  EXPECT_EQ(space.end(), 1000);
}

TEST_F(PlacementTest, BytesThatCannotBeReadAreNotMoved) {
  space.takeAt(140, 1);
  Commit commit(space);
  commit.append(block, nullptr, bytes(8));
  EXPECT_TRUE(commit.failed());
}

TEST_F(PlacementTest, WalksFollowWhatMakesTheFileLonger) {
  Commit commit(space);
  EXPECT_EQ(commit.placeWalk(bytes(10)).position, 8) << "there is room";
  const Bytes body = bytes(2000);
  EXPECT_EQ(commit.place(body.data(), 2000).position, 1000);
  EXPECT_EQ(commit.placeWalk(bytes(10)).position, 3000);
  EXPECT_EQ(commit.placeWalk(bytes(20)).position, 3010);
  EXPECT_EQ(commit.placeWalk({}).size, 0);
  EXPECT_FALSE(commit.failed());
}

TEST_F(PlacementTest, WritesTheLastBytesAgain) {
  Commit commit(space);
  Growable grown;
  Bytes added = bytes(3);
  ASSERT_TRUE(commit.extend(block, 1, added, grown));
  EXPECT_EQ(grown.block.size, 42);
  EXPECT_EQ(commit.blocks()[0].block.position, 139);
  EXPECT_EQ(commit.blocks()[0].block.size, 3);
}

}  // namespace
