// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "history-db/base/Printable.h"
#include "tests/support/Child.h"
#include "tests/support/Golden.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using TestSupport::goldenFile;
using TestSupport::Outcome;
using TestSupport::readFile;
using TestSupport::writeFile;

/// Sets a window's title, moves to another line, and reverses the rest; one byte is not UTF-8.
const std::string hostile = "\x1b]0;x\x07\n\u202e\u061c\u2066\u200f\u009b\xff.mk";

class EscapedNamesTest : public ::testing::Test {
 protected:
  /// Runs the program on a file of a hostile name that holds `bytes`, in every manner that prints
  /// names, and checks what a terminal gets.
  void expectEscaped(const std::string& bytes) const {
    const std::string file = folder.path("file" + hostile);
    const std::string other = folder.path("other" + hostile);
    const std::string option = "--no-such-option" + hostile;
    writeFile(other, readFile(goldenFile("typical.mk").path));
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"info", file},
                                               {"info", file, other},
                                               {"info", "--json", file, other},
                                               {"check", file, other},
                                               {"check", "--json", file, other},
                                               {"dump", file},
                                               {"dump", "--table", hostile, file},
                                               {"load", file, other},
                                               {"load", file, folder.path("new" + hostile)},
                                               {"verify", file, other},
                                               {"verify", other, file},
                                               {"verify", "--json", other, file},
                                               {"verify", "--receipt", other, file, other},
                                               {"sample", other},
                                               {"plot", file},
                                               {"plot", "--terminal", file},
                                               {"plot", "--field", hostile, file},
                                               {"plot", "--output", other, file},
                                               {"copy", file, other},
                                               {"copy", file, file},
                                               {"copy", "-f", file, folder.path("new" + hostile)},
                                               {"migrate", "-n", file},
                                               {"migrate", "--output", other, file},
                                               {"migrate", "--converter", hostile, file},
                                               {"migrate", "--converter", "/bin/false", file},
                                               {"migrate", file},
                                               {"migrate", file},
                                               {"info", option},
                                               {hostile}}) {
      if (!bytes.empty()) {
        writeFile(file, bytes);
      }
      std::vector<std::string> all = {HISTORY_DB};
      all.insert(all.end(), arguments.begin(), arguments.end());
      const Outcome outcome = TestSupport::run(all);
      expectEscapedText(outcome.standardOutput);
      expectEscapedText(outcome.standardError);
    }
  }

  /// Lines that a terminal displays as they are.
  static void expectEscapedText(const std::string& text) {
    std::string lines = text;
    lines.erase(std::remove(lines.begin(), lines.end(), '\n'), lines.end());
    EXPECT_EQ(HistoryDb::escaped(lines), lines);
    // No name begins a line of its own.
    EXPECT_EQ(text.find("\n\u202e"), std::string::npos) << text;
    EXPECT_EQ(text.find("\n\\xe2\\x80\\xae"), std::string::npos) << text;
  }

  const TestSupport::TemporaryFolder folder;
};

TEST_F(EscapedNamesTest, OfMissingFiles) {
  expectEscaped("");
}

TEST_F(EscapedNamesTest, OfFilesThatAreNoDatabases) {
  expectEscaped("no database");
}

TEST_F(EscapedNamesTest, OfSoundFiles) {
  expectEscaped(readFile(goldenFile("typical.mk").path));
}

TEST_F(EscapedNamesTest, OfFilesWithOtherViews) {
  expectEscaped(readFile(goldenFile("other-views.mk").path));
}

TEST_F(EscapedNamesTest, OfDamagedFiles) {
  std::string bytes = readFile(goldenFile("typical.mk").path);
  expectEscaped(bytes.substr(0, bytes.size() / 2));
  expectEscaped(readFile(goldenFile("odd-sizes.mk").path));
}

}  // namespace
