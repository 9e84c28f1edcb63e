// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include "history-db/testing/MigrateTesting.h"

namespace {

using TestSupport::Outcome;
using TestSupport::readFile;
using TestSupport::writeFile;

struct Converter {
  const char* name;
  std::string commands;
  int status;
  std::string message;
};

std::ostream& operator<<(std::ostream& stream, const Converter& converter) {
  return stream << converter.name;
}

class BadConverterTest : public HistoryDbTesting::MigrateFixture,
                         public ::testing::WithParamInterface<Converter> {};

TEST_P(BadConverterTest, LeavesAllAsItWas) {
  const std::string path = script(GetParam().commands);
  const Outcome outcome = migrate({"-q", "--converter", path});
  EXPECT_EQ(outcome.status, GetParam().status) << outcome;
  EXPECT_EQ(outcome.standardOutput, "");
  EXPECT_NE(outcome.standardError.find(GetParam().message), std::string::npos) << outcome;
  EXPECT_NE(outcome.standardError.find(" is as it was"), std::string::npos) << outcome;
  expectAsItWas();
}

INSTANTIATE_TEST_SUITE_P(
    Each, BadConverterTest,
    ::testing::Values(
        Converter{"fails", "echo told >&2; exit 255", 2, "told\nhistory-db: "},
        Converter{"failsBehindItsWork", HISTORY_CONVERT " \"$@\"; exit 1", 2,
                  ": It failed, with status 1. "},
        Converter{"isKilled", "kill -KILL $$", 2, ": It was ended by signal 9. "},
        Converter{"doesNothing", "exit 0", 1, "something else of it, differences 1; "},
        Converter{"removesTheFile", "rm \"$4\"", 2, ": It wrote no file. "},
        Converter{"makesALink", "rm \"$4\"; ln -s \"$2\" \"$4\"", 2, ": It wrote no file. "},
        Converter{"makesAnotherName", "rm \"$4\"; ln \"$2\" \"$4\"", 2, ": It wrote no file. "},
        Converter{"copies", "cp \"$2\" \"$4\"", 1, "something else of it, differences 2; "},
        Converter{"writesNonsense", "echo nonsense >\"$4\"", 2, ": It is no database, or damaged"},
        Converter{
            "changesAValue",
            HISTORY_CONVERT
            " \"$@\" && printf '\\377\\377' | dd of=\"$4\" bs=1 seek=200 conv=notrunc 2>/dev/null",
            1, "something else of it, differences "}),
    [](const auto& converter) { return std::string(converter.param.name); });

class ConverterTest : public HistoryDbTesting::MigrateFixture {
 protected:
  /// A history-convert that anybody may have put into the folder where the program is called.
  void plantConverter() const {
    const std::string planted = scripts.path("history-convert");
    writeFile(planted, "#!/bin/sh\necho planted >'" + scripts.path("marker") + "'\nexit 1\n");
    std::filesystem::permissions(planted, std::filesystem::perms::all);
  }

  bool isPlantedOneRun() const { return std::filesystem::exists(scripts.path("marker")); }

  /// Runs the program where the other one was planted.
  Outcome migrateThere(const std::string& program, const std::string& path,
                       const HistoryDbTesting::Mishap& mishap = {}) const {
    return TestSupport::inChild([&] {
      if (::chdir(scripts.path("").c_str()) != 0) {
        std::_Exit(3);
      }
      ::setenv("PATH", path.c_str(), 1);
      for (const auto& [name, value] : mishap) {
        ::setenv(name.c_str(), value.c_str(), 1);
      }
      TestSupport::execute({program, "migrate", "-q", file});
    });
  }
};

TEST_F(ConverterTest, IsNotTakenFromTheCurrentFolderWithoutProc) {
  plantConverter();
  const HistoryDbTesting::Mishap mishap = {{"LD_PRELOAD", PRELOAD}, {"TRIAL_NO_PROC", "1"}};
  migrateThere(HISTORY_DB, "/nowhere", mishap);
  EXPECT_FALSE(isPlantedOneRun());
}

TEST_F(ConverterTest, IsNotTakenFromRelativeFoldersInThePath) {
  plantConverter();
  const TestSupport::TemporaryFolder elsewhere;
  const std::string alone = elsewhere.path("history-db");
  std::filesystem::copy(HISTORY_DB, alone);
  EXPECT_EQ(migrateThere(alone, ":.::./:"),
            (Outcome{2, "",
                     "history-db: history-convert is neither beside history-db nor in PATH; "
                     "--converter names it. " +
                         file + " is as it was.\n"}));
  EXPECT_FALSE(isPlantedOneRun());
}

/// Descriptors of the program's files could be written to by any converter.
TEST_F(ConverterTest, InheritsNoFiles) {
  const std::string list = scripts.path("list");
  EXPECT_EQ(
      migrate({"-q", "--converter",
               script("readlink /proc/$$/fd/* >" + list + "; exec " HISTORY_CONVERT " \"$@\"")}),
      (Outcome{0, "", ""}));
  EXPECT_EQ(readFile(list).find(folder.path("")), std::string::npos) << readFile(list);
}

TEST_F(ConverterTest, PrintsNothingOnStandardOutputWithoutDevices) {
  EXPECT_EQ(
      migrate({"-q", "--converter", script("cat; echo text; exec " HISTORY_CONVERT " \"$@\"")},
              {{"TRIAL_NO_DEVICES", "1"}}),
      (Outcome{0, "", ""}));
}

/// history-convert creates a missing INFILE.
TEST_F(ConverterTest, CreatesNoFileThroughAnExchangedLink) {
  const std::string created = scripts.path("created");
  EXPECT_EQ(
      migrate({"-q", "--converter",
               script("ln -sf '" + created + "' '" + file + "'; exec " HISTORY_CONVERT " \"$@\"")}),
      (Outcome{2, "",
               "history-db: " + file + ": Somebody has changed it meanwhile. " + file +
                   " is as it was.\n"}));
  EXPECT_FALSE(std::filesystem::exists(created));
}

TEST_F(ConverterTest, ReadsWhatWasChecked) {
  const std::string arguments = scripts.path("arguments");
  EXPECT_EQ(migrate({"-q", "--converter",
                     script("echo \"$@\" >'" + arguments + "'; rm '" + file +
                            "'; exec " HISTORY_CONVERT " \"$@\"")})
                .status,
            2);
  EXPECT_EQ(readFile(arguments), "-q original 0 old.mk 1\n");
}

TEST_F(ConverterTest, IsFoundByARelativePath) {
  script("exec " HISTORY_CONVERT " \"$@\"");
  EXPECT_EQ(
      TestSupport::inChild([&] {
        if (::chdir(scripts.path("").c_str()) == 0) {
          TestSupport::execute({HISTORY_DB, "migrate", "-q", "--converter", "./script", file});
        }
      }),
      (Outcome{0, "", ""}));
  expectMigrated();
}

TEST_F(ConverterTest, ItsMessagesAreEscaped) {
  EXPECT_EQ(migrate({"-q", "--converter", script("printf 'a\\033[2Jb\\nc' >&2; exit 1")})
                .standardError.rfind("a\\x1b[2Jb\nc\nhistory-db: ", 0),
            0U);
}

TEST_F(ConverterTest, IsNeeded) {
  EXPECT_EQ(migrate({"-q", "--converter", "no-such-program"}),
            (Outcome{2, "",
                     "history-db: no-such-program: There is no such program. " + file +
                         " is as it was.\n"}));
  const std::string alone = scripts.path("history-db");
  std::filesystem::copy(HISTORY_DB, alone);
  const auto migrateAlone = [&](const std::string& path) {
    return TestSupport::inChild([&] {
      ::setenv("PATH", path.c_str(), 1);
      TestSupport::execute({alone, "migrate", "-q", file});
    });
  };
  EXPECT_EQ(migrateAlone("/nowhere"),
            (Outcome{2, "",
                     "history-db: history-convert is neither beside history-db nor in PATH; "
                     "--converter names it. " +
                         file + " is as it was.\n"}));
  // In PATH.
  const std::string folderOfConverter = std::filesystem::path(HISTORY_CONVERT).parent_path();
  EXPECT_EQ(migrateAlone("/nowhere::" + folderOfConverter), (Outcome{0, "", ""}));
  expectMigrated();
}

}  // namespace
