// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "tests/reliability/Trial.h"

namespace Reliability {

namespace {

using TestSupport::goldenFile;
using TestSupport::readFile;

/// What the program needs may be short or fail at any point: it tells so, or does without. It never
/// ends without a word, and never says that a conversion is complete that is not.
class ScarcityTest : public Trial {
 protected:
  ScarcityTest() { makeInfile(readFile(golden.path)); }

  /// Tells whether the run converted the file all the same.
  bool converts(const Mishap& mishap) {
    ::unlink(outfile.c_str());
    return expectTruth(convert(mishap), golden);
  }

  static Mishap limit(int resource, rlim_t value) {
    // Where a sanitizer looks for leaks it takes a thread and descriptors to do so.
    return {{"TRIAL_LIMIT", std::to_string(resource) + "," + std::to_string(value)},
            {"LSAN_OPTIONS", "detect_leaks=0"}};
  }

  /// Raises a limit by `step` until the conversion succeeds; gives how often it failed.
  int raise(int resource, int step, rlim_t from = 0) {
    int failed = 0;
    for (rlim_t value = from; !HasFailure(); value += static_cast<rlim_t>(step)) {
      SCOPED_TRACE("limited to " + std::to_string(value));
      if (converts(limit(resource, value))) {
        break;
      }
      ++failed;
    }
    count("runs with a limit", failed + 1);
    return failed;
  }

  const GoldenFile& golden = goldenFile("typical.mk");
};

TEST_F(ScarcityTest, TooFewDescriptors) {
  EXPECT_GT(raise(RLIMIT_NOFILE, 1), 4);
}

TEST_F(ScarcityTest, NoDescriptorForInfile) {
  const Outcome outcome = convert(limit(RLIMIT_NOFILE, 3));
  EXPECT_EQ(outcome.status, 0) << outcome;
  EXPECT_NE(outcome.standardError.find("Accessing INFILE argument \"" + infile +
                                       "\", produced the error: " + std::strerror(EMFILE)),
            std::string::npos)
      << outcome;
}

TEST_F(ScarcityTest, TooSmallFiles) {
  // There has to be room for the record.
  EXPECT_GT(raise(RLIMIT_FSIZE, trials(2500, 100), 1000), 10);
}

TEST_F(ScarcityTest, NoRoomForTheRecord) {
  const Outcome outcome = convert(limit(RLIMIT_FSIZE, 0));
  EXPECT_EQ(outcome, (Outcome{255, "", ""}));
  expectNothingElseTouched();
}

TEST_F(ScarcityTest, TooLittleStack) {
  EXPECT_EQ(raise(RLIMIT_STACK, 4096), 0);
}

TEST_F(ScarcityTest, TooFewThreads) {
  rlimit most = {};
  ::getrlimit(RLIMIT_NPROC, &most);
  int failed = 0;
  for (const rlim_t threads : {rlim_t{0}, rlim_t{1}, rlim_t{2}, rlim_t{3}, most.rlim_max}) {
    SCOPED_TRACE(threads);
    const Outcome outcome =
        runAsNobody({HISTORY_CONVERT, infile, "0", outfile, "1"}, limit(RLIMIT_NPROC, threads));
    const bool converted = expectTruth(outcome, golden);
    if (!converted) {
      ++failed;
      EXPECT_EQ(outcome.standardError,
                "@@ FATAL ERROR: PosixThread::PosixThread: pthread_create failed.\n");
    }
    EXPECT_TRUE(converted || threads < most.rlim_max);
    ::unlink(outfile.c_str());
  }
  EXPECT_GE(failed, 3);
}

/// Counts what a conversion asks of the system, and lets each of that fail.
class FaultTest : public ScarcityTest {
 protected:
  struct Calls {
    int files = 0;
    int allocations = 0;
  };

  Calls callsOfAConversion() {
    const std::string path = folder.path("calls");
    otherEntries.emplace_back("calls");
    EXPECT_TRUE(converts({{"TRIAL_COUNT", path}}));
    Calls calls;
    std::istringstream(TestSupport::readFile(path)) >> calls.files >> calls.allocations;
    return calls;
  }

  /// Has a conversion for each of the first calls, and for every `step`th up to `last`: with that
  /// call failing alone, and with all behind it failing, too. `mishap` makes that of the number of
  /// the first one and of the one where all goes well again.
  template <class MakeMishap>
  void failEach(int last, int step, const MakeMishap& mishap) {
    int faults = 0;
    int failed = 0;
    // The first calls open both files.
    for (int call = 1; call <= last && !HasFailure(); call += call < 30 ? 1 : step) {
      for (const int to : {call + 1, last + 1000}) {
        const std::string calls = std::to_string(call) + "," + std::to_string(to);
        SCOPED_TRACE("failing calls " + calls);
        ++faults;
        failed += converts(mishap(calls)) ? 0 : 1;
      }
    }
    EXPECT_GT(failed, 0);
    count("faults", faults);
    count("faults that ended a conversion", failed);
  }
};

TEST_F(FaultTest, FailingFileCalls) {
  const int last = callsOfAConversion().files;
  ASSERT_GT(last, 100);
  for (const int error : {ENOSPC, EIO}) {
    failEach(last, trials(3, 1), [error](const std::string& calls) -> Mishap {
      return {{"TRIAL_FAIL", calls + "," + std::to_string(error)}};
    });
  }
}

TEST_F(FaultTest, AWriteThatFailsOnceIsRepeated) {
  const int last = callsOfAConversion().files;
  // The last two calls open and flush OUTFILE.
  for (int call = last - 10; call < last - 1; ++call) {
    const std::string calls = std::to_string(call) + "," + std::to_string(call + 1);
    EXPECT_TRUE(converts({{"TRIAL_FAIL", calls + "," + std::to_string(ENOSPC)}})) << calls;
  }
}

// A sanitizer has an allocator of its own.
#ifdef FAILING_ALLOCATIONS

TEST_F(FaultTest, FailingAllocations) {
  const int last = callsOfAConversion().allocations;
  ASSERT_GT(last, 100);
  failEach(last, trials(7, 1), [](const std::string& calls) -> Mishap {
    return {{"TRIAL_NO_MEMORY", calls}};
  });
}

TEST_F(ScarcityTest, TooLittleMemory) {
  EXPECT_GT(raise(RLIMIT_AS, trials(16, 4) * 1024), 10);
}

#endif

}  // namespace

}  // namespace Reliability
