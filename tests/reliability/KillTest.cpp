// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/reliability/Trial.h"

namespace Reliability {

namespace {

using TestSupport::goldenFile;
using TestSupport::readFile;

constexpr int killedStatus = 128 + SIGKILL;

/// A conversion that is killed leaves the old file as it was, and in the new one the first rows: it
/// can simply be run again.
class KillTest : public Trial {
 protected:
  /// Behind a run that may have been killed. Gives the rows that it had converted by then.
  int expectOnlyTimeLost(const GoldenFile& golden) {
    expectNothingElseTouched();
    const int rows = rowsConverted(golden);
    expectConvertsNow(golden);
    return rows;
  }

  /// The shortest of some runs.
  double secondsToConvert(const GoldenFile& golden) {
    double shortest = 1;
    for (int i = 0; i < 4; ++i) {
      const auto start = std::chrono::steady_clock::now();
      EXPECT_TRUE(expectTruth(convert(), golden));
      const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
      shortest = std::min(shortest, seconds.count());
    }
    return shortest;
  }

 private:
  void expectConvertsNow(const GoldenFile& golden) {
    // Nothing goes wrong: it only loads the library, which spares the flushes.
    const Outcome outcome = convert({{"TRIAL_OUTFILE", outfile}});
    EXPECT_TRUE(expectTruth(outcome, golden)) << outcome;
  }
};

TEST_F(KillTest, LosesOnlyTimeAtAnyFileCall) {
  std::vector<const char*> names = {"typical.mk"};
  if (isSoak()) {
    names = {"typical.mk",        "lived-in.mk",  "big-endian.mk",
             "duplicate-keys.mk", "odd-sizes.mk", "torn-5.mk"};
  }
  int kills = 0;
  for (const char* name : names) {
    const GoldenFile& golden = goldenFile(name);
    makeInfile(readFile(golden.path));
    int rows = 0;
    for (int call = 1;; call += trials(3, 1)) {
      SCOPED_TRACE(std::string(name) + ", killed at call " + std::to_string(call));
      ::unlink(outfile.c_str());
      const Outcome outcome =
          convert({{"TRIAL_KILL", std::to_string(call)}, {"TRIAL_OUTFILE", outfile}});
      if (outcome.status != killedStatus) {
        EXPECT_TRUE(expectTruth(outcome, golden)) << outcome;
        break;
      }
      ++kills;
      const int rowsNow = expectOnlyTimeLost(golden);
      EXPECT_GE(rowsNow, rows);
      rows = rowsNow;
      if (HasFailure()) {
        break;
      }
    }
    EXPECT_GT(rows, 0);
  }
  count("kills at a file call", kills);
}

TEST_F(KillTest, LosesOnlyTimeAtAnyMoment) {
  const GoldenFile& golden = goldenFile("lived-in.mk");
  makeInfile(readFile(golden.path));
  std::mt19937 random(seed(1));
  // Never 0, which would mean never.
  std::uniform_real_distribution<double> moment(0.0001, secondsToConvert(golden));
  int kills = 0;
  for (int i = 0; i < trials(30, 500); ++i) {
    const std::string seconds = std::to_string(moment(random));
    SCOPED_TRACE("killed after " + seconds);
    ::unlink(outfile.c_str());
    const Outcome outcome =
        convert({}, "timeout --foreground --preserve-status --signal=KILL " + seconds);
    if (outcome.status == killedStatus) {
      ++kills;
      expectOnlyTimeLost(golden);
    } else {
      EXPECT_TRUE(expectTruth(outcome, golden)) << outcome;
    }
    if (HasFailure()) {
      break;
    }
  }
  EXPECT_GT(kills, 0);
  count("kills at a random moment", kills);
}

}  // namespace

}  // namespace Reliability
