// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/error/FatalError.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "rtk/error/LoggingMedia.h"
#include "rtk/testing/RecordedCalls.h"
#include "rtk/testing/WrittenPieces.h"
#include "tests/support/Child.h"
#include "tests/support/RtkThread.h"

namespace {

using Rtk::FatalError;
using TestSupport::inChild;
using TestSupport::onRtkThread;
using TestSupport::Outcome;
using TestSupport::piecesWrittenBy;
using TestSupport::RecordedCalls;

void* const anAddress = reinterpret_cast<void*>(0xbeef);

struct RecordCase {
  std::function<void()> log;
  const char* record;
};

const RecordCase rawRecords[] = {
    {[] { FatalError::logRawAndExit("disk gone"); }, "@@ FATAL ERROR: disk gone.\n"},
    {[] { FatalError::logRawAndExit("x", "because"); }, "@@ FATAL ERROR: x. because.\n"},
    {[] { FatalError::logRawAndExit("x", 255UL); }, "@@ FATAL ERROR: x. (0xff).\n"},
    {[] { FatalError::logRawAndExit("x", 0UL); }, "@@ FATAL ERROR: x. (0x0).\n"},
    {[] { FatalError::logRawAndExit("x", anAddress); }, "@@ FATAL ERROR: x. (p=0xbeef).\n"},
    {[] { FatalError::logRawAndExit("x", static_cast<void*>(nullptr)); },
     "@@ FATAL ERROR: x. (p=(nil)).\n"},
    {[] { FatalError::logRawAndExit("done.", "so.\n"); }, "@@ FATAL ERROR: done.. so.\n.\n"},
    {[] { FatalError::logRawAndExit("%s %d"); }, "@@ FATAL ERROR: %s %d.\n"},
};

const RecordCase namedRecords[] = {
    {[] { FatalError::logAndExit("m"); }, "@@ FATAL ERROR [creator (0002A)]: m.\n"},
    {[] { FatalError::logAndExit("m", "d"); }, "@@ FATAL ERROR [creator (0002A)]: m. d.\n"},
    {[] { FatalError::logAndExit("m", 0xabcUL); },
     "@@ FATAL ERROR [creator (0002A)]: m. (0xabc).\n"},
    {[] { FatalError::logAndExit("m!\n", anAddress); },
     "@@ FATAL ERROR [creator (0002A)]: m!\n. (p=0xbeef).\n"},
};

const char notAnRtkThread[] =
    "@@ FATAL ERROR: Thread::getCurrent().  Current thread is NOT a 'Rtk::Thread'..\n";

/// The shell's status of a process that crashed.
constexpr int crashed = 128 + SIGSEGV;

/// Leaves no core file behind, and no report of a sanitizer, which would handle the crash itself.
void crashQuietly() {
  const rlimit none = {0, 0};
  ::setrlimit(RLIMIT_CORE, &none);
  std::signal(SIGSEGV, SIG_DFL);
}

/// What the emulator tells of a crash, where there is one.
std::string reportOfCrash() {
  return TestSupport::emulated()
             ? "qemu: uncaught target signal 11 (Segmentation fault) - core dumped\n"
             : "";
}

TEST(FatalErrorDeathTest, WritesRawRecordsFromAnyThread) {
  for (const RecordCase& test : rawRecords) {
    EXPECT_EQ(inChild(test.log), (Outcome{255, "", test.record}));
  }
}

TEST(FatalErrorDeathTest, WritesTheThreadIntoTheOtherRecords) {
  for (const RecordCase& test : namedRecords) {
    EXPECT_EQ(inChild([&test] { onRtkThread(test.log, "creator", 0x2A); }),
              (Outcome{255, "", test.record}));
  }
}

TEST(FatalErrorDeathTest, HoldsTheLogForTheWholeRecordAndFreesItBeforeTheExit) {
  const auto logMarked = [](const RecordCase& test) {
    std::atexit([] { std::fputs("exit", stderr); });
    RecordedCalls calls;
    calls.before("pthread_mutex_lock", [] { std::fputs("(", stderr); });
    calls.before("pthread_mutex_unlock", [&calls] {
      std::fputs(")", stderr);
      calls.before("pthread_mutex_unlock", [] {});
    });
    test.log();
  };
  for (const RecordCase& test : rawRecords) {
    EXPECT_EQ(inChild([&] { logMarked(test); }),
              (Outcome{255, "", std::string("(") + test.record + ")exit"}));
  }
  for (const RecordCase& test : namedRecords) {
    EXPECT_EQ(inChild([&] { onRtkThread([&] { logMarked(test); }, "creator", 0x2A); }),
              (Outcome{255, "", std::string("(") + test.record + ")exit"}));
  }
}

TEST(FatalErrorDeathTest, AsksForTheThreadWithTheLogHeld) {
  for (const RecordCase& test : namedRecords) {
    const Outcome outcome = inChild([&test] {
      onRtkThread([] {});
      RecordedCalls calls;
      calls.before("pthread_mutex_lock", [] { std::fputs("(", stderr); });
      test.log();
    });
    EXPECT_EQ(outcome, (Outcome{255, "", std::string("((") + notAnRtkThread}));
  }
}

TEST(FatalErrorDeathTest, WritesEachRecordAtOnce) {
  for (const RecordCase& test : rawRecords) {
    EXPECT_EQ(piecesWrittenBy(test.log), std::vector<std::string>{test.record});
  }
  for (const RecordCase& test : namedRecords) {
    EXPECT_EQ(piecesWrittenBy([&test] { onRtkThread(test.log, "creator", 0x2A); }),
              std::vector<std::string>{test.record});
  }
}

TEST(FatalErrorDeathTest, ExitsWhenItCannotWrite) {
  const Outcome outcome = inChild([] {
    ::close(STDERR_FILENO);
    FatalError::logRawAndExit("x");
  });
  EXPECT_EQ(outcome, (Outcome{255, "", ""}));
}

TEST(FatalErrorDeathTest, WritesALongThreadIdWhole) {
  const Outcome outcome = inChild(
      [] { onRtkThread([] { FatalError::logAndExit("m"); }, "databaseServer", 0xabcdef1); });
  EXPECT_EQ(outcome, (Outcome{255, "", "@@ FATAL ERROR [databaseServer (ABCDEF1)]: m.\n"}));
}

TEST(FatalErrorDeathTest, ReportsThatNoThreadExistsYetInsteadOfTheMessage) {
  for (const RecordCase& test : namedRecords) {
    EXPECT_EQ(
        inChild(test.log),
        (Outcome{255, "",
                 "@@ FATAL ERROR: Thread::getCurrent().  Have not yet created 'TSD key'..\n"}));
  }
}

TEST(FatalErrorDeathTest, ReportsAForeignThreadInsteadOfTheMessage) {
  for (const RecordCase& test : namedRecords) {
    const Outcome outcome = inChild([&test] {
      onRtkThread([] {});
      test.log();
    });
    EXPECT_EQ(outcome, (Outcome{255, "", notAnRtkThread}));
  }
}

TEST(FatalErrorDeathTest, ReportsAgainWithTheLogHeldByTheSameThread) {
  const Outcome outcome = inChild([] {
    Rtk::LoggingMedia::getMutex().lock();
    FatalError::logRawAndExit("nested");
  });
  EXPECT_EQ(outcome, (Outcome{255, "", "@@ FATAL ERROR: nested.\n"}));
}

TEST(FatalErrorDeathTest, RunsTheExitHandlers) {
  const Outcome outcome = inChild([] {
    std::atexit([] { std::printf("handler"); });
    FatalError::logRawAndExit("x");
  });
  EXPECT_EQ(outcome, (Outcome{255, "handler", "@@ FATAL ERROR: x.\n"}));
}

TEST(FatalErrorDeathTest, EndsWithTheGivenStatusAndNoRecord) {
  EXPECT_EQ(inChild([] { FatalError::exit(0); }), (Outcome{0, "", ""}));
  EXPECT_EQ(inChild([] { FatalError::exit(3); }), (Outcome{3, "", ""}));
  EXPECT_EQ(inChild([] { FatalError::exit(-1); }), (Outcome{255, "", ""}));
}

TEST(FatalErrorDeathTest, PrintsTheCallStackOnStandardOutputWhenSwitchedOn) {
  const Outcome outcome = inChild([] {
    FatalError::forceBacktraceOnExit();
    FatalError::logRawAndExit("x");
  });
  EXPECT_EQ(outcome.status, 255);
  EXPECT_EQ(outcome.standardError, "@@ FATAL ERROR: x.\n");
  EXPECT_NE(outcome.standardOutput.find("[0x"), std::string::npos) << outcome;
}

/// `depth` calls, and then the end with a call stack. Through a pointer and not as the last thing,
/// so that no compiler makes a loop of them.
void endBelow(int depth);
void (*volatile call)(int) = endBelow;

void endBelow(int depth) {
  if (depth == 0) {
    FatalError::exit(3);
  }
  call(depth - 1);
  std::fputs("never here", stderr);
}

TEST(FatalErrorDeathTest, PrintsEveryCallOfTheStack) {
  const auto lines = [](int depth) {
    const Outcome outcome = inChild([depth] {
      FatalError::forceBacktraceOnExit();
      endBelow(depth);
    });
    return std::count(outcome.standardOutput.begin(), outcome.standardOutput.end(), '\n');
  };
  EXPECT_EQ(lines(30), lines(10) + 20);
}

TEST(FatalErrorDeathTest, PrintsTheCallStackAfterTheRecord) {
  const Outcome outcome = inChild([] {
    ASSERT_GE(::dup2(STDERR_FILENO, STDOUT_FILENO), 0);
    FatalError::forceBacktraceOnExit();
    FatalError::logRawAndExit("x");
  });
  EXPECT_EQ(outcome.standardError.find("@@ FATAL ERROR: x.\n"), 0U) << outcome;
  EXPECT_NE(outcome.standardError.find("[0x"), std::string::npos) << outcome;
}

TEST(FatalErrorDeathTest, KeepsTheStatusBehindTheCallStack) {
  EXPECT_EQ(inChild([] {
              FatalError::forceBacktraceOnExit();
              FatalError::exit(3);
            }).status,
            3);
}

TEST(FatalErrorDeathTest, LimitsTheCallStackByTheBytesOfItsSlots) {
  const Outcome outcome = inChild([] {
    RecordedCalls calls;
    calls.answer("backtrace", 0);
    std::atexit([] { std::fputs("exit", stderr); });
    calls.before("backtrace", [&calls] { std::fputs(calls.text().c_str(), stderr); });
    FatalError::forceBacktraceOnExit();
    FatalError::exit(1);
  });
  EXPECT_EQ(outcome, (Outcome{1, "", "backtrace(1024)\nexit"}));
}

TEST(FatalErrorDeathTest, CrashesInsteadOfExitingWhenSwitchedOn) {
  const Outcome outcome = inChild([] {
    crashQuietly();
    std::atexit([] { std::printf("handler"); });
    FatalError::forceCoreDumpOnExit();
    FatalError::logRawAndExit("x");
  });
  EXPECT_EQ(outcome, (Outcome{crashed, "", "@@ FATAL ERROR: x.\n" + reportOfCrash()}));
}

TEST(FatalErrorDeathTest, PrintsTheCallStackBeforeItCrashes) {
  const Outcome outcome = inChild([] {
    crashQuietly();
    FatalError::forceCoreDumpOnExit();
    FatalError::forceBacktraceOnExit();
    FatalError::exit(1);
  });
  EXPECT_EQ(outcome.status, crashed);
  EXPECT_EQ(outcome.standardError, reportOfCrash());
  EXPECT_NE(outcome.standardOutput.find("[0x"), std::string::npos) << outcome;
}

TEST(FatalErrorDeathTest, ExitsNormallyWithStatusZeroWhateverIsSwitchedOn) {
  const Outcome outcome = inChild([] {
    FatalError::forceBacktraceOnExit();
    FatalError::forceCoreDumpOnExit();
    FatalError::exit(0);
  });
  EXPECT_EQ(outcome, (Outcome{0, "", ""}));
}

}  // namespace
