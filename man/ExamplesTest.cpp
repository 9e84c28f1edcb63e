// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "man/PageTesting.h"
#include "tests/support/Child.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using PageTesting::startsWith;

/// A command that a page shows, and what it shows below.
struct Example {
  std::string command;
  std::string output;
};

std::vector<Example> examplesOf(const std::string& page) {
  std::vector<Example> examples;
  bool isInside = false;
  for (const std::string& source : PageTesting::sectionOf(page, "EXAMPLES")) {
    const std::string line = PageTesting::unescaped(source);
    if (startsWith(line, ".Bd ") || startsWith(line, ".Ed")) {
      isInside = startsWith(line, ".Bd ");
    } else if (isInside && startsWith(line, "$ ")) {
      examples.push_back({line.substr(2), ""});
    } else if (isInside && !examples.empty()) {
      examples.back().output += line + "\n";
    }
  }
  return examples;
}

/// Runs the commands of a page's examples one after the other in a folder of its own.
class ExamplesTest : public ::testing::TestWithParam<const char*> {};

TEST_P(ExamplesTest, ShowWhatComesOut) {
  const std::vector<Example> examples = examplesOf(GetParam());
  EXPECT_FALSE(examples.empty());
  const TestSupport::TemporaryFolder folder;
  for (const Example& example : examples) {
    const std::string shell = "cd " + folder.path("") + " && PATH=" PROGRAM_FOLDER ":$PATH && { " +
                              example.command + "; } 2>&1";
    const TestSupport::Outcome outcome = TestSupport::run({"/bin/bash", "-c", shell});
    EXPECT_EQ(outcome.standardOutput, example.output) << example.command;
  }
}

std::string nameOf(const char* page) {
  std::string name = page;
  const auto isNoLetter = [](char c) { return c < 'a' || c > 'z'; };
  std::replace_if(name.begin(), name.end(), isNoLetter, '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(Page, ExamplesTest,
                         ::testing::Values("history-convert.1", "history-database.5",
                                           "history-db.1", "history-db-check.1",
                                           "history-db-copy.1", "history-db-dump.1",
                                           "history-db-info.1", "history-db-load.1",
                                           "history-db-migrate.1", "history-db-plot.1",
                                           "history-db-sample.1", "history-db-verify.1"),
                         [](const auto& page) { return nameOf(page.param); });

}  // namespace
