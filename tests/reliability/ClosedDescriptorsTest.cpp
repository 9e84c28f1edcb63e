// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <unistd.h>

#include <cerrno>
#include <regex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/reliability/Trial.h"

namespace Reliability {

namespace {

using TestSupport::goldenFile;
using TestSupport::readFile;
using TestSupport::readTables;

/// Standard descriptors that were closed when the program started: nothing that it prints may be
/// written into its files. The parameter is the set of closed ones, a bit each.
class ClosedDescriptorsTest : public Trial, public ::testing::WithParamInterface<unsigned> {
 protected:
  /// Compares a run with one that has all descriptors. `mishap` applies to both.
  void expectSameResult(const std::string& converted, const Mishap& mishap, bool isQuiet) {
    Outcome expected = runWithout(0, mishap, isQuiet);
    EXPECT_TRUE(takeOutfile() == converted);
    if ((GetParam() >> 1 & 1U) != 0) {
      expected.standardOutput.clear();
    }
    if ((GetParam() >> 2 & 1U) != 0) {
      expected.standardError.clear();
    }
    EXPECT_EQ(runWithout(GetParam(), mishap, isQuiet), expected);
    expectNothingElseTouched();
    EXPECT_TRUE(takeOutfile() == converted);
  }

  /// For INFILE with these bytes, which converts to `tables`, or to no OUTFILE if there are none.
  void expectSameResults(const std::string& bytes, int status, const std::vector<Table>& tables) {
    makeInfile(bytes);
    EXPECT_EQ(convert().status, status);
    if (!tables.empty()) {
      EXPECT_EQ(readTables(outfile, tables), tables);
    }
    const std::string converted = takeOutfile();
    EXPECT_EQ(converted == absent, tables.empty());
    for (const bool isQuiet : {false, true}) {
      expectSameResult(converted, {}, isQuiet);
      expectSameResult(converted, {{"TRIAL_NO_DEVICES", "1"}}, isQuiet);
    }
  }

  void expectSameResults(const GoldenFile& golden) {
    expectSameResults(readFile(golden.path), 0, golden.converted);
  }

  /// Leaves out the thread's id, which differs from run to run.
  Outcome runWithout(unsigned closed, Mishap mishap, bool isQuiet) {
    std::vector<std::string> arguments = {HISTORY_CONVERT, infile, "0", outfile, "1"};
    if (isQuiet) {
      arguments.insert(arguments.begin() + 1, "-q");
    }
    mishap.emplace_back("TRIAL_CLOSED", std::to_string(closed));
    Outcome outcome = run(arguments, mishap);
    outcome.standardError =
        std::regex_replace(outcome.standardError, std::regex("\\([0-9A-F]+\\)"), "()");
    return outcome;
  }

  static constexpr char absent[] = "absent";

  /// Removes OUTFILE, and returns its bytes.
  std::string takeOutfile() {
    const bool exists = ::access(outfile.c_str(), F_OK) == 0;
    std::string bytes = exists ? readFile(outfile) : absent;
    ::unlink(outfile.c_str());
    return bytes;
  }
};

TEST_P(ClosedDescriptorsTest, DoNotChangeAConversion) {
  expectSameResults(goldenFile("zones-only.mk"));
}

TEST_P(ClosedDescriptorsTest, DoNotChangeAConversionWithWarnings) {
  expectSameResults(goldenFile("duplicate-keys.mk"));
}

TEST_P(ClosedDescriptorsTest, DoNotChangeAFatalError) {
  expectSameResults("no database", 255, {});
}

TEST_P(ClosedDescriptorsTest, EndTheProgramWhenTheyCannotBeReplaced) {
  makeInfile(readFile(goldenFile("zones-only.mk").path));
  TestSupport::writeFile(outfile, "old");
  const Mishap mishap = {{"TRIAL_FAIL", "1,1000," + std::to_string(ENFILE)}};
  const Outcome outcome = runWithout(GetParam(), mishap, true);
  EXPECT_EQ(outcome, (Outcome{GetParam() == 0 ? 1 : 255, "", ""}));
  expectNothingElseTouched();
  EXPECT_EQ(readFile(outfile), "old");
}

INSTANTIATE_TEST_SUITE_P(Sets, ClosedDescriptorsTest, ::testing::Range(0U, 8U));

}  // namespace

}  // namespace Reliability
