// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/error/LoggingMedia.h"

#include <gtest/gtest.h>

namespace {

TEST(LoggingMediaTest, GivesTheOneLockWhichIsRecursive) {
  Rtk::Mutex& mutex = Rtk::LoggingMedia::getMutex();
  EXPECT_EQ(&mutex, &Rtk::LoggingMedia::getMutex());
  EXPECT_EQ(mutex.lock(), 0);
  EXPECT_EQ(mutex.lock(), 0);
  EXPECT_EQ(mutex.unlock(), 0);
  EXPECT_EQ(mutex.unlock(), 0);
}

}  // namespace
