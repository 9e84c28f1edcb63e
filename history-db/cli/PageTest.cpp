// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "history-db/testing/ProgramTesting.h"
#include "tests/support/TemporaryFolder.h"

namespace {

/// Runs the commands that a section of docs/history-db.md shows, the lines with a "$", one after
/// the other in a folder of its own, and expects what the page shows below each.
class PageTest : public ::testing::TestWithParam<const char*> {};

TEST_P(PageTest, ShowsWhatComesOut) {
  const std::string page = TestSupport::readFile(PROJECT_FOLDER "/docs/history-db.md");
  const std::size_t begin = page.find(std::string("\n## ") + GetParam() + "\n");
  ASSERT_NE(begin, std::string::npos);
  const std::string section = page.substr(begin, page.find("\n## ", begin + 1) - begin) + "\n";
  const TestSupport::TemporaryFolder folder;
  const std::string prompt = "\n    $ ";
  int commands = 0;
  for (std::size_t at = section.find(prompt); at != std::string::npos;
       at = section.find(prompt, at + 1)) {
    const std::size_t start = at + prompt.size();
    std::size_t end = section.find('\n', start);
    const std::string command = section.substr(start, end - start);
    std::string shown;
    const std::string indent = "\n    ";
    while (section.compare(end, indent.size(), indent) == 0 &&
           section.compare(end, prompt.size(), prompt) != 0) {
      const std::size_t line = end + indent.size();
      end = section.find('\n', line);
      shown += section.substr(line, end - line) + "\n";
    }
    const std::string shell = "cd " + folder.path("") +
                              " && history-db() { " HISTORY_DB " \"$@\"; } && { " + command +
                              "; } 2>&1";
    const TestSupport::Outcome outcome = TestSupport::run({"/bin/bash", "-c", shell});
    EXPECT_EQ(outcome.standardOutput, shown) << command;
    ++commands;
  }
  EXPECT_GT(commands, 0);
}

INSTANTIATE_TEST_SUITE_P(Section, PageTest,
                         ::testing::Values("info", "check", "copy", "dump", "load", "sample"),
                         [](const auto& section) { return std::string(section.param); });

}  // namespace
