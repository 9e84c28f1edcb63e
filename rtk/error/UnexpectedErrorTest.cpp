// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/error/UnexpectedError.h"

#include <unistd.h>

#include <cstdio>
#include <functional>
#include <list>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "rtk/testing/RecordedCalls.h"
#include "rtk/testing/WrittenPieces.h"
#include "tests/support/Child.h"
#include "tests/support/RtkThread.h"

namespace {

using Rtk::UnexpectedError;
using TestSupport::inChild;
using TestSupport::onRtkThread;
using TestSupport::Outcome;
using TestSupport::piecesWrittenBy;
using TestSupport::RecordedCalls;
using TestSupport::RtkThread;

TEST(UnexpectedErrorDeathTest, WritesARawRecordAndGoesOn) {
  const Outcome outcome = inChild([] {
    UnexpectedError::logRaw("%s is %d", "this", 5);
    std::printf("on");
  });
  EXPECT_EQ(outcome, (Outcome{0, "on", "@@ UNEXPECTED ERROR: this is 5\n"}));
}

TEST(UnexpectedErrorDeathTest, WritesTheThreadAndGoesOn) {
  const Outcome outcome = inChild([] {
    onRtkThread(
        [] {
          UnexpectedError::log("%s is %d", "this", 5);
          std::printf("on");
        },
        "creator", 0x2A);
  });
  EXPECT_EQ(outcome, (Outcome{0, "on", "@@ UNEXPECTED ERROR [creator (0002A)]: this is 5\n"}));
}

TEST(UnexpectedErrorDeathTest, LeavesAnEmptyLineBehindATextThatEndsItsLine) {
  const Outcome outcome = inChild([] {
    UnexpectedError::logRaw("a\n");
    onRtkThread([] { UnexpectedError::log("b\n"); }, "creator", 0xABCDEF);
  });
  EXPECT_EQ(outcome, (Outcome{0, "",
                              "@@ UNEXPECTED ERROR: a\n\n"
                              "@@ UNEXPECTED ERROR [creator (ABCDEF)]: b\n\n"}));
}

TEST(UnexpectedErrorDeathTest, WritesTextsOfAnyLength) {
  const std::string text(1 << 20, 'x');
  EXPECT_EQ(inChild([&text] { UnexpectedError::logRaw("%s", text.c_str()); }),
            (Outcome{0, "", "@@ UNEXPECTED ERROR: " + text + "\n"}));
}

TEST(UnexpectedErrorDeathTest, ReportsAForeignThreadAsFatal) {
  const Outcome outcome = inChild([] {
    onRtkThread([] {});
    UnexpectedError::log("lost");
  });
  EXPECT_EQ(
      outcome,
      (Outcome{
          255, "",
          "@@ FATAL ERROR: Thread::getCurrent().  Current thread is NOT a 'Rtk::Thread'..\n"}));
}

TEST(UnexpectedErrorDeathTest, ReportsThatNoThreadExistsYetAsFatal) {
  EXPECT_EQ(inChild([] { UnexpectedError::log("lost"); }),
            (Outcome{255, "",
                     "@@ FATAL ERROR: Thread::getCurrent().  Have not yet created 'TSD key'..\n"}));
}

TEST(UnexpectedErrorDeathTest, AsksForTheThreadWithTheLogHeld) {
  const Outcome outcome = inChild([] {
    RecordedCalls calls;
    calls.before("pthread_mutex_lock", [] { std::fputs("(", stderr); });
    UnexpectedError::log("lost");
  });
  EXPECT_EQ(outcome.standardError.rfind("((@@ FATAL ERROR", 0), 0U) << outcome;
}

TEST(UnexpectedErrorDeathTest, WritesThePrefixTheTextAndTheLineEndOneByOne) {
  using Pieces = std::vector<std::string>;
  EXPECT_EQ(piecesWrittenBy([] { UnexpectedError::logRaw("o%s", "ne"); }),
            (Pieces{"@@ UNEXPECTED ERROR: ", "one", "\n"}));
  EXPECT_EQ(piecesWrittenBy(
                [] { onRtkThread([] { UnexpectedError::log("t%s", "wo"); }, "creator", 0x2A); }),
            (Pieces{"@@ UNEXPECTED ERROR [creator (0002A)]: ", "two", "\n"}));
}

TEST(UnexpectedErrorDeathTest, GoesOnWhenItCannotWrite) {
  const Outcome outcome = inChild([] {
    ::close(STDERR_FILENO);
    UnexpectedError::logRaw("lost");
    onRtkThread([] { UnexpectedError::log("lost"); });
    std::printf("on");
  });
  EXPECT_EQ(outcome, (Outcome{0, "on", ""}));
}

TEST(UnexpectedErrorDeathTest, HoldsTheLogForTheWholeRecord) {
  const auto mark = [](const std::function<void()>& write) {
    RecordedCalls calls;
    calls.before("pthread_mutex_lock", [] { std::fputs("(", stderr); });
    calls.before("pthread_mutex_unlock", [] { std::fputs(")", stderr); });
    write();
  };
  const Outcome outcome = inChild([&mark] {
    mark([] { UnexpectedError::logRaw("o%s", "ne"); });
    onRtkThread([&mark] { mark([] { UnexpectedError::log("t%s", "wo"); }); }, "creator", 0x2A);
  });
  EXPECT_EQ(outcome, (Outcome{0, "",
                              "(@@ UNEXPECTED ERROR: one\n)"
                              "(@@ UNEXPECTED ERROR [creator (0002A)]: two\n)"}));
}

TEST(UnexpectedErrorDeathTest, FreesTheLogAfterEachRecord) {
  const Outcome outcome = inChild([] {
    UnexpectedError::logRaw("1");
    onRtkThread([] { UnexpectedError::log("2"); }, "creator", 0x2A);
    UnexpectedError::logRaw("3");
  });
  EXPECT_EQ(outcome, (Outcome{0, "",
                              "@@ UNEXPECTED ERROR: 1\n"
                              "@@ UNEXPECTED ERROR [creator (0002A)]: 2\n"
                              "@@ UNEXPECTED ERROR: 3\n"}));
}

TEST(UnexpectedErrorDeathTest, KeepsTheRecordsOfSeveralThreadsApart) {
  constexpr int rounds = 200;
  const std::map<std::string, std::function<void()>> writers = {
      {"@@ UNEXPECTED ERROR [a (0000A)]: one", [] { UnexpectedError::log("o%s", "ne"); }},
      {"@@ UNEXPECTED ERROR [b (0000B)]: two", [] { UnexpectedError::log("t%s", "wo"); }},
      {"@@ UNEXPECTED ERROR: raw", [] { UnexpectedError::logRaw("r%s", "aw"); }},
  };
  const Outcome outcome = inChild([&writers] {
    std::list<RtkThread> threads;
    const char* names[] = {"a", "b", "c"};
    for (const auto& [record, write] : writers) {
      const auto number = threads.size();
      threads.emplace_back(
          [&write = write] {
            for (int i = 0; i < rounds; ++i) {
              write();
            }
          },
          names[number], number + 0xA);
    }
  });
  std::map<std::string, int> counts;
  std::istringstream lines(outcome.standardError);
  for (std::string line; std::getline(lines, line);) {
    ++counts[line];
  }
  ASSERT_EQ(counts.size(), writers.size());
  for (const auto& [line, count] : counts) {
    EXPECT_EQ(writers.count(line), 1U) << line;
    EXPECT_EQ(count, rounds) << line;
  }
}

}  // namespace
