// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include <gtest/gtest.h>

#include "tests/reliability/Trial.h"

namespace Reliability {

namespace {

using TestSupport::goldenFile;
using TestSupport::readFile;
using TestSupport::readTables;
using TestSupport::writeFile;

constexpr char changed[] = " cannot be opened. It was renamed, removed or replaced.\n";

/// Another process renames, removes or replaces INFILE between any two file calls of the program.
class MovedInfileTest : public Trial {
 protected:
  MovedInfileTest() { otherEntries = {"other.mk"}; }

  /// Restores both files, removes OUTFILE, and converts. INFILE, or the other file, is moved before
  /// file call `call`.
  void convertWithMove(int call, const std::string& from, const std::string& to) {
    ::unlink(outfile.c_str());
    ::unlink(other.c_str());
    makeInfile(original);
    if (from == other) {
      writeFile(other, replacement);
    }
    outcome = run({HISTORY_CONVERT, argument, "0", outfile, "1"},
                  {{"TRIAL_MOVE", std::to_string(call) + ',' + from + ',' + to}});
    EXPECT_NE(::access(from.c_str(), F_OK), 0) << "the program made fewer calls";
  }

  /// Whether the run reported the change. Otherwise, it converted all of INFILE.
  bool expectReportOrConversion() {
    if (outcome == complete) {
      EXPECT_EQ(readTables(outfile, golden.converted), golden.converted);
      return false;
    }
    const bool isRefused = outcome.standardError.find("Accessing INFILE") != std::string::npos;
    EXPECT_EQ(outcome.status, isRefused ? 0 : 255) << outcome;
    EXPECT_EQ(outcome.standardOutput, "") << outcome;
    const std::size_t at = outcome.standardError.find(changed);
    EXPECT_TRUE(isRefused || at != std::string::npos) << outcome;
    EXPECT_NE(::access(outfile.c_str(), F_OK), 0) << outcome;
    return at != std::string::npos;
  }

  const GoldenFile& golden = goldenFile("zones-only.mk");
  const std::string original = readFile(golden.path);
  const std::string other = folder.path("other.mk");
  /// Names INFILE.
  std::string argument = infile;
  std::string replacement;
  Outcome outcome;
};

/// The calls before INFILE is open are among these.
constexpr int calls = 20;

TEST_F(MovedInfileTest, IsReportedWhenItIsRenamed) {
  int reports = 0;
  for (int call = 1; call <= calls; ++call) {
    SCOPED_TRACE(call);
    convertWithMove(call, infile, other);
    reports += expectReportOrConversion() ? 1 : 0;
    EXPECT_NE(::access(infile.c_str(), F_OK), 0) << "no file is created in its place";
    EXPECT_TRUE(readFile(other) == original);
  }
  EXPECT_GT(reports, 2);
}

TEST_F(MovedInfileTest, IsReportedWhenItIsRenamedBehindALink) {
  argument = folder.path("link.mk");
  otherEntries.emplace_back("link.mk");
  ASSERT_EQ(::symlink(infile.c_str(), argument.c_str()), 0);
  int reports = 0;
  for (int call = 1; call <= calls; ++call) {
    SCOPED_TRACE(call);
    convertWithMove(call, infile, other);
    reports += expectReportOrConversion() ? 1 : 0;
    EXPECT_NE(::access(infile.c_str(), F_OK), 0) << "no file is created in its place";
    struct stat link = {};
    EXPECT_EQ(::lstat(argument.c_str(), &link), 0) << "the link is kept";
  }
  EXPECT_GT(reports, 2);
}

TEST_F(MovedInfileTest, IsReportedWhenAnotherFileIsOpenedMeanwhile) {
  int reports = 0;
  for (int call = 1; call <= calls; ++call) {
    SCOPED_TRACE(call);
    ::unlink(outfile.c_str());
    makeInfile(original);
    outcome = convert({{"TRIAL_MOVE", std::to_string(call) + ',' + infile + ',' + other},
                       {"TRIAL_MOVE_BACK", std::to_string(call + 1)}});
    reports += expectReportOrConversion() ? 1 : 0;
    // A run that ends at once does not move it back.
    const bool isBack = ::access(other.c_str(), F_OK) != 0;
    EXPECT_TRUE(readFile(isBack ? infile : other) == original);
    ::unlink(other.c_str());
  }
  EXPECT_GT(reports, 0);
}

TEST_F(MovedInfileTest, IsKeptWhenItIsMovedBackWhileTheProgramReportsIt) {
  // Among these calls, INFILE is opened.
  for (int call = 6; call <= 12; ++call) {
    for (int callBack = call + 1; callBack <= call + 10; ++callBack) {
      SCOPED_TRACE(std::to_string(call) + ", back before " + std::to_string(callBack));
      makeInfile(original);
      outcome = convert({{"TRIAL_MOVE", std::to_string(call) + ',' + infile + ',' + other},
                         {"TRIAL_MOVE_BACK", std::to_string(callBack)}});
      EXPECT_TRUE(readFile(::access(other.c_str(), F_OK) != 0 ? infile : other) == original);
      ::unlink(other.c_str());
    }
  }
}

TEST_F(MovedInfileTest, IsNotCreatedWhenItIsMissingBeforeItIsOpened) {
  ::unlink(outfile.c_str());
  makeInfile(original);
  // After the command line is checked. A file that is created now cannot be removed.
  outcome = convert({{"TRIAL_MOVE", "3," + infile + ',' + other}, {"TRIAL_NO_LINKS", "1"}});
  EXPECT_TRUE(expectReportOrConversion());
  EXPECT_NE(::access(infile.c_str(), F_OK), 0);
}

TEST_F(MovedInfileTest, IsReportedWhenItIsRemoved) {
  int reports = 0;
  for (int call = 1; call <= calls; ++call) {
    SCOPED_TRACE(call);
    convertWithMove(call, infile, "");
    reports += expectReportOrConversion() ? 1 : 0;
    EXPECT_NE(::access(infile.c_str(), F_OK), 0) << "no file is created in its place";
  }
  EXPECT_GT(reports, 2);
}

TEST_F(MovedInfileTest, IsReportedWhenItIsReplaced) {
  for (const std::string& bytes :
       {readFile(goldenFile("system-only.mk").path), std::string(), std::string("no database")}) {
    replacement = bytes;
    int reports = 0;
    // Before the first two calls the program has not opened INFILE yet: it converts the new one.
    for (int call = 3; call <= calls; ++call) {
      SCOPED_TRACE(call);
      convertWithMove(call, other, infile);
      reports += expectReportOrConversion() ? 1 : 0;
      EXPECT_EQ(::access(infile.c_str(), F_OK), 0) << "the new file is kept, even an empty one";
      EXPECT_TRUE(readFile(infile) == bytes);
    }
    EXPECT_GT(reports, 0);
  }
}

}  // namespace

}  // namespace Reliability
