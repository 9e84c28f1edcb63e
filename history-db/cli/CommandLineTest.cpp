// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "history-db/testing/ProgramTesting.h"
#include "tests/support/Child.h"
#include "tests/support/Golden.h"

namespace {

using HistoryDbTesting::historyDb;
using TestSupport::goldenFile;
using TestSupport::Outcome;

const std::vector<std::string> subcommands = {"info",    "check",  "dump", "load", "verify",
                                              "migrate", "sample", "plot", "copy"};

/// The program run by a shell with `redirection` behind it.
Outcome inShell(const std::string& arguments, const std::string& redirection) {
  return TestSupport::run({"/bin/sh", "-c", HISTORY_DB " " + arguments + " " + redirection});
}

TEST(CommandLineTest, TellsItsVersionAndHelp) {
  const Outcome version = historyDb({"--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.standardOutput.rfind("history-db ", 0), 0U);
  const Outcome help = historyDb({"--help"});
  EXPECT_EQ(help.status, 0);
  for (const std::string& subcommand : subcommands) {
    EXPECT_NE(help.standardOutput.find("  " + subcommand + " "), std::string::npos) << subcommand;
    const Outcome own = historyDb({subcommand, "--help"});
    EXPECT_EQ(own.status, 0);
    EXPECT_NE(own.standardOutput.find("Usage: history-db " + subcommand), std::string::npos);
    EXPECT_EQ(own.standardError, "");
  }
}

TEST(CommandLineTest, RefusesWhatMakesNoSense) {
  std::vector<std::vector<std::string>> senseless = {
      {},
      {"frobnicate"},
      {"--frobnicate"},
      {"info", "--jobs", "0", "file"},
      {"info", "--jobs", "many", "file"},
      {"dump", "--format", "xml", "file"},
      {"dump", "--key", "one", "file"},
      {"sample", "--schema", "2", "file"},
      {"sample", "--zones", "-1", "file"},
      {"plot", "--key", "4294967296", "file"},
  };
  for (const std::string& subcommand : subcommands) {
    senseless.push_back({subcommand});
    senseless.push_back({subcommand, "--frobnicate", "one", "two"});
  }
  for (const auto& arguments : senseless) {
    const Outcome outcome = historyDb(arguments);
    EXPECT_EQ(outcome.status, 2) << ::testing::PrintToString(arguments);
    EXPECT_EQ(outcome.standardOutput, "");
    EXPECT_EQ(outcome.standardError.rfind("history-db: ", 0), 0U) << outcome.standardError;
  }
}

TEST(CommandLineTest, TellsWhenItsOutputCannotBeWritten) {
  const std::string file = goldenFile("typical.mk").path;
  const std::string both = file + ' ' + file;
  for (const std::string& arguments :
       {std::string("--version"), std::string("--help"), "info " + file, "info --json " + file,
        "check --json " + file, "dump " + file, "dump --format csv " + file,
        "dump --format jsonl " + file, "plot " + file, "plot --terminal " + file,
        "verify --json " + both}) {
    EXPECT_EQ(inShell(arguments, ">/dev/full"),
              (Outcome{2, "",
                       "history-db: standard output: It cannot be written. No space left on "
                       "device.\n"}))
        << arguments;
  }
}

TEST(CommandLineTest, DiscardsOutputThatIsClosed) {
  EXPECT_EQ(inShell("--version", ">&- 2>&-"), (Outcome{0, "", ""}));
}

TEST(CommandLineTest, NobodyWhoReadsIsTroubleWithoutAWord) {
  const std::string file = goldenFile("many-rows.mk").path;
  EXPECT_EQ(TestSupport::run(
                {"/bin/bash", "-c", HISTORY_DB " dump " + file + " | true; echo ${PIPESTATUS[0]}"}),
            (Outcome{0, "2\n", ""}));
}

}  // namespace
