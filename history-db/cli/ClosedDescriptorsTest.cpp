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
  struct Result {
    int status;
    /// The names and bytes of all that is in the folder.
    std::map<std::string, std::string> files;
    bool operator==(const Result& other) const {
      return status == other.status && files == other.files;
    }
  };

  /// Runs the program on a database and a document with these bytes, in a new folder, with each
  /// standard descriptor closed whose bit is set.
  static Result runWithout(unsigned closed, const std::string& database,
                           const std::string& document) {
    const TestSupport::TemporaryFolder folder;
    TestSupport::writeFile(folder.path("FILE"), database);
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
    Result result = {outcome.status, {}};
    for (const auto& entry : std::filesystem::directory_iterator(folder.path(""))) {
      result.files[entry.path().filename()] = TestSupport::readFile(entry.path());
    }
    EXPECT_EQ(result.files["JSON"], document);
    const bool isReplaced = result.files.count("FILE.schema0") > 0;
    EXPECT_EQ(result.files[isReplaced ? "FILE.schema0" : "FILE"], database);
    return result;
  }

  /// Compares runs without some descriptors with one that has all of them.
  static void expectSameResults(const std::string& database, const std::string& document,
                                int status, std::size_t files) {
    const Result expected = runWithout(0, database, document);
    EXPECT_EQ(expected.status, status);
    EXPECT_EQ(expected.files.size(), files);
    for (unsigned closed = 1; closed < 8; ++closed) {
      SCOPED_TRACE("closed " + std::to_string(closed));
      EXPECT_TRUE(runWithout(closed, database, document) == expected);
    }
  }

  static void expectNewFile(const char* golden) {
    const std::string path = TestSupport::goldenFile(golden).path;
    expectSameResults(TestSupport::readFile(path),
                      TestSupport::run({HISTORY_DB, "dump", path}).standardOutput, 0, 3);
  }
};

TEST_P(ClosedDescriptorsTest, MakeNoDifferenceToFiles) {
  expectNewFile("typical.mk");
}

TEST_P(ClosedDescriptorsTest, MakeNoDifferenceToFilesWithRepeatedKeys) {
  expectNewFile("duplicate-keys.mk");
}

TEST_P(ClosedDescriptorsTest, MakeNoDifferenceToAnError) {
  const bool isRead = GetParam().name != std::string("sample");
  expectSameResults("no database", "no document", isRead ? 2 : 0, isRead ? 2 : 3);
}

INSTANTIATE_TEST_SUITE_P(
    Each, ClosedDescriptorsTest,
    ::testing::Values(Writer{"copy", {"copy", "FILE", "NEW"}},
                      Writer{"load", {"load", "JSON", "NEW"}}, Writer{"sample", {"sample", "NEW"}},
                      Writer{"plot", {"plot", "FILE", "--output", "NEW"}},
                      Writer{"migrate", {"migrate", "FILE"}},
                      Writer{"migrateQuietly", {"migrate", "-q", "FILE"}},
                      Writer{"migrateTo", {"migrate", "--output", "NEW", "FILE"}}),
    [](const auto& writer) { return std::string(writer.param.name); });

}  // namespace
