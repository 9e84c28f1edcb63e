// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "posix/StoredSize.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/TemporaryFolder.h"

namespace {

class StoredSizeTest : public ::testing::Test {
 protected:
  std::int64_t storedSize(const std::string& name) {
    const int descriptor = ::open(name.c_str(), O_RDONLY | O_CLOEXEC);
    const std::int64_t size = StoredSize::of(descriptor);
    ::close(descriptor);
    return size;
  }

  TestSupport::TemporaryFolder folder;
  const std::string path = folder.path("file");
};

TEST_F(StoredSizeTest, IsTheLengthOfAFileWithoutHoles) {
  TestSupport::writeFile(path, std::string(100000, 'x'));
  EXPECT_EQ(storedSize(path), 100000);
  TestSupport::writeFile(path, "");
  EXPECT_EQ(storedSize(path), 0);
}

TEST_F(StoredSizeTest, LeavesOutHoles) {
  constexpr std::int64_t mebi = 1024 * 1024;
  TestSupport::writeFile(path, "x");
  ASSERT_EQ(::truncate(path.c_str(), 100 * mebi), 0);
  EXPECT_GT(storedSize(path), 0);
  EXPECT_LT(storedSize(path), mebi);
}

TEST_F(StoredSizeTest, IsZeroWithoutAFile) {
  EXPECT_EQ(StoredSize::of(-1), 0);
  EXPECT_EQ(storedSize("/dev/null"), 0);
}

}  // namespace
