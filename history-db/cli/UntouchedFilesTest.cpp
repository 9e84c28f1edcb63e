// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "history-db/files/Sha256.h"
#include "tests/support/Child.h"
#include "tests/support/Golden.h"
#include "tests/support/TemporaryFolder.h"

namespace {

/// What changes of a file that is written, renamed or replaced.
auto stateOf(const std::string& path) {
  struct stat status = {};
  EXPECT_EQ(::stat(path.c_str(), &status), 0);
  return std::make_tuple(HistoryDb::sha256OfFile(HistoryDb::InputFile(path)), status.st_ino,
                         status.st_mtim.tv_sec, status.st_mtim.tv_nsec, status.st_ctim.tv_sec,
                         status.st_ctim.tv_nsec);
}

struct Reader {
  const char* name;
  /// The arguments; "FILE" is the file to read, "NEW" one to be written.
  std::vector<std::string> arguments;
};

std::ostream& operator<<(std::ostream& stream, const Reader& reader) {
  return stream << reader.name;
}

class UntouchedFilesTest : public ::testing::TestWithParam<Reader> {};

// Sound, of two commits, torn, with a cut end, of another byte order, no database at all.
TEST_P(UntouchedFilesTest, AreWhatIsRead) {
  const TestSupport::TemporaryFolder folder;
  const std::string path = folder.path("file.mk");
  const std::string typical = TestSupport::readFile(TestSupport::goldenFile("typical.mk").path);
  std::vector<std::string> files = {typical, typical.substr(0, typical.size() - 3),
                                    typical.substr(0, typical.size() / 2), "no database", ""};
  for (const char* name : {"lived-in.mk", "torn-3.mk", "big-endian.mk"}) {
    files.push_back(TestSupport::readFile(TestSupport::goldenFile(name).path));
  }
  for (const std::string& bytes : files) {
    TestSupport::writeFile(path, bytes);
    const auto before = stateOf(path);
    std::vector<std::string> arguments = {HISTORY_DB};
    for (const std::string& argument : GetParam().arguments) {
      arguments.push_back(argument == "FILE"  ? path
                          : argument == "NEW" ? folder.path("new")
                                              : argument);
    }
    const TestSupport::Outcome outcome = TestSupport::run(arguments);
    EXPECT_LE(outcome.status, 2) << outcome;
    EXPECT_EQ(stateOf(path), before);
    std::filesystem::remove(folder.path("new"));
    // Nothing else is left in the folder.
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path("")), {}), 1);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Each, UntouchedFilesTest,
    ::testing::Values(Reader{"info", {"info", "FILE"}}, Reader{"check", {"check", "FILE"}},
                      Reader{"dump", {"dump", "FILE"}},
                      Reader{"verify", {"verify", "FILE", "FILE", "--receipt", "NEW"}},
                      Reader{"migrateDry", {"migrate", "--dry-run", "FILE"}},
                      Reader{"migrateOutput", {"migrate", "--output", "NEW", "FILE"}},
                      Reader{"plot", {"plot", "FILE", "--output", "NEW"}},
                      Reader{"plotTerminal", {"plot", "--terminal", "FILE"}},
                      Reader{"copy", {"copy", "FILE", "NEW"}},
                      Reader{"load", {"load", "FILE", "NEW"}}),
    [](const auto& reader) { return std::string(reader.param.name); });

}  // namespace
