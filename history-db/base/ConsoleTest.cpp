// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/base/Console.h"

#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "history-db/base/Trouble.h"
#include "history-db/testing/ConsoleTesting.h"

namespace {

using HistoryDb::Console;

class ConsoleTest : public ::testing::Test {
 protected:
  HistoryDbTesting::HeardConsole heard;
  Console& console = heard.console;
};

TEST_F(ConsoleTest, KeepsResultsAndMessagesApart) {
  console.print("result\n");
  console.tell("Something is odd.");
  console.finish();
  EXPECT_EQ(heard.output(), "result\n");
  EXPECT_EQ(heard.messages(), "history-db: Something is odd.\n");
}

TEST_F(ConsoleTest, EscapesLinesAndMessages) {
  console.printLine("a\x1b[2J\nb");
  console.tell("c\nd\u202e", "Run with --help");
  console.finish();
  EXPECT_EQ(heard.output(), "a\\x1b[2J\\x0ab\n");
  EXPECT_EQ(heard.messages(), "history-db: c\\x0ad\\xe2\\x80\\xae\nRun with --help\n");
}

TEST_F(ConsoleTest, HasNothingToTellWithoutWords) {
  console.tell("");
  EXPECT_EQ(heard.messages(), "");
}

TEST_F(ConsoleTest, ShowsNoProgressInAFile) {
  console.progress("1 of 2");
  console.finish();
  EXPECT_EQ(heard.messages(), "");
}

TEST_F(ConsoleTest, NoticesThatOutputIsLost) {
  std::FILE* const full = std::fopen("/dev/full", "w");
  ASSERT_NE(full, nullptr);
  Console lost(full, stderr);
  lost.print("kept in memory");
  EXPECT_THROW(lost.finish(), HistoryDb::Trouble);
  const std::string much(100000, '.');
  EXPECT_THROW(lost.print(much), HistoryDb::Trouble);
  std::fclose(full);
}

}  // namespace
