// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <unistd.h>

#include <filesystem>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/Child.h"
#include "tests/support/Golden.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using TestSupport::Outcome;

struct Writer {
  const char* name;
  /// The arguments; "FILE" is a database, "JSON" a document, "NEW" the file to be written.
  std::vector<std::string> arguments;
};

std::ostream& operator<<(std::ostream& stream, const Writer& writer) {
  return stream << writer.name;
}

/// The program without some of the standard descriptors, as init systems and daemons may start it.
class ClosedDescriptorsTest : public ::testing::TestWithParam<Writer> {
 protected:
  /// Runs the program in a new folder, with each standard descriptor closed whose bit is set.
  /// Returns the names and bytes of all that is in the folder then.
  static std::map<std::string, std::string> filesAfter(unsigned closed) {
    const TestSupport::TemporaryFolder folder;
    const std::string bytes = TestSupport::readFile(TestSupport::goldenFile("typical.mk").path);
    TestSupport::writeFile(folder.path("FILE"), bytes);
    const std::string document =
        TestSupport::run({HISTORY_DB, "dump", folder.path("FILE")}).standardOutput;
    TestSupport::writeFile(folder.path("JSON"), document);
    const Outcome outcome = TestSupport::inChild([&] {
      if (::chdir(folder.path("").c_str()) != 0) {
        ::_exit(3);
      }
      std::vector<std::string> arguments = {HISTORY_DB};
      arguments.insert(arguments.end(), GetParam().arguments.begin(), GetParam().arguments.end());
      for (int descriptor = 0; descriptor <= 2; ++descriptor) {
        if ((closed >> static_cast<unsigned>(descriptor) & 1U) != 0) {
          ::close(descriptor);
        }
      }
      TestSupport::execute(arguments);
    });
    EXPECT_EQ(outcome.status, 0) << outcome;
    EXPECT_EQ(outcome.standardError, "");
    std::map<std::string, std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path(""))) {
      files[entry.path().filename()] = TestSupport::readFile(entry.path());
    }
    EXPECT_EQ(files["JSON"], document);
    EXPECT_EQ(files.count("FILE.schema0") == 0 ? files["FILE"] : files["FILE.schema0"], bytes);
    return files;
  }
};

TEST_P(ClosedDescriptorsTest, MakeNoDifferenceToFiles) {
  const auto expected = filesAfter(0);
  EXPECT_EQ(expected.size(), 3U);
  for (unsigned closed = 1; closed < 8; ++closed) {
    SCOPED_TRACE("closed " + std::to_string(closed));
    EXPECT_EQ(filesAfter(closed), expected);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Each, ClosedDescriptorsTest,
    ::testing::Values(Writer{"copy", {"copy", "FILE", "NEW"}},
                      Writer{"load", {"load", "JSON", "NEW"}}, Writer{"sample", {"sample", "NEW"}},
                      Writer{"plot", {"plot", "FILE", "--output", "NEW"}},
                      Writer{"migrate", {"migrate", "FILE"}},
                      Writer{"migrateTo", {"migrate", "--output", "NEW", "FILE"}}),
    [](const auto& writer) { return std::string(writer.param.name); });

}  // namespace
