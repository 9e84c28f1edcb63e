// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>

#include "companion/NewDatabase.h"
#include "tests/support/Child.h"
#include "tests/support/Golden.h"
#include "tests/support/Nobody.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using TestSupport::goldenFile;
using TestSupport::Outcome;
using TestSupport::readFile;
using TestSupport::writeFile;

/// What befalls the program: variables for tests/reliability/Preload.cpp.
using Mishap = std::map<std::string, std::string>;

/// What is told of a file behind the first line, which tells how many warnings there are.
std::string behindCheck(const std::string& output, const std::string& file) {
  EXPECT_EQ(output.rfind("Checked " + file + ": errors 0, repeated keys 0, warnings ", 0), 0U)
      << output;
  return output.substr(output.find('\n') + 1);
}

class MigrateTest : public ::testing::Test {
 protected:
  MigrateTest() {
    writeFile(file, old);
    const std::string other = folder.path("expected");
    EXPECT_EQ(TestSupport::run({HISTORY_CONVERT, "-q", file, "0", other, "1"}).status, 0);
    converted = readFile(other);
    std::filesystem::remove(other);
  }

  Outcome migrate(std::vector<std::string> arguments, Mishap mishap = {}) const {
    arguments.insert(arguments.begin(), {HISTORY_DB, "migrate", file});
    return TestSupport::inChild([&] {
      if (!mishap.empty()) {
        mishap["LD_PRELOAD"] = PRELOAD;
        mishap["TRIAL_PROGRAM"] = "history-db";
      }
      for (const auto& [name, value] : mishap) {
        ::setenv(name.c_str(), value.c_str(), 1);
      }
      TestSupport::execute(arguments);
    });
  }

  /// The names and bytes of all that is in the folder; those of temporary files without their end.
  std::map<std::string, std::string> entries() const {
    std::map<std::string, std::string> all;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path(""))) {
      std::string name = entry.path().filename();
      if (name.front() == '.') {
        name.erase(name.size() - 6);
      }
      all[name] = readFile(entry.path());
    }
    return all;
  }

  /// A script in the place of history-convert.
  std::string script(const std::string& commands) const {
    std::string path = scripts.path("script");
    writeFile(path, "#!/bin/sh\n" + commands + "\n");
    std::filesystem::permissions(path, std::filesystem::perms::all);
    return path;
  }

  void expectAsItWas() const {
    EXPECT_EQ(entries(), (std::map<std::string, std::string>{{"old.mk", old}}));
  }

  void expectMigrated() const {
    EXPECT_EQ(entries(),
              (std::map<std::string, std::string>{{"old.mk", converted}, {"old.mk.schema0", old}}));
  }

  const TestSupport::TemporaryFolder folder;
  const TestSupport::TemporaryFolder scripts;
  const std::string file = folder.path("old.mk");
  const std::string kept = file + ".schema0";
  std::string old = readFile(goldenFile("system-only.mk").path);
  std::string converted;
};

TEST_F(MigrateTest, PutsTheNewFileInThePlaceOfTheOldOne) {
  const Outcome outcome = migrate({"--converter", HISTORY_CONVERT});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.standardError, "");
  EXPECT_EQ(behindCheck(outcome.standardOutput, file),
            "Converting it with " HISTORY_CONVERT
            ".\n"
            "TormaQuilletHistory: rows 1, values 1229, differences 0\n"
            "nativeZoneHistory: rows 0, values 0, differences 0\n"
            "ZoneHistory: rows 0, values 0, differences 0\n"
            "The new file holds every value of the original.\n"
            "The original is kept as " +
                kept + ".\n" + file + " is of schema 1 now.\n");
  expectMigrated();
  EXPECT_EQ(migrate({}),
            (Outcome{0, file + " is of schema 1 already; there is nothing to do.\n", ""}));
  expectMigrated();
}

TEST_F(MigrateTest, IsSilentWhenAskedTo) {
  EXPECT_EQ(migrate({"-q"}), (Outcome{0, "", ""}));
  expectMigrated();
  EXPECT_EQ(migrate({"-q"}), (Outcome{0, "", ""}));
}

TEST_F(MigrateTest, KeepsModeAndOwner) {
  ASSERT_EQ(::chmod(file.c_str(), 0640), 0);
  const bool isRoot = ::geteuid() == 0;
  if (isRoot) {
    ASSERT_EQ(::chown(file.c_str(), 61234, 61235), 0);
  }
  struct stat before = {};
  ASSERT_EQ(::stat(file.c_str(), &before), 0);
  EXPECT_EQ(migrate({"-q"}).status, 0);
  for (const std::string& path : {file, kept}) {
    struct stat status = {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, before.st_mode);
    EXPECT_EQ(status.st_uid, before.st_uid);
    EXPECT_EQ(status.st_gid, before.st_gid);
  }
}

TEST_F(MigrateTest, WritesElsewhereOnDemand) {
  const std::string output = folder.path("new.mk");
  EXPECT_EQ(migrate({"-q", "--output", output}), (Outcome{0, "", ""}));
  EXPECT_EQ(entries(),
            (std::map<std::string, std::string>{{"old.mk", old}, {"new.mk", converted}}));
  EXPECT_EQ(migrate({"-q", "--output", output}),
            (Outcome{2, "",
                     "history-db: " + output + ": It exists; --force replaces it. " + file +
                         " is as it was.\n"}));
  EXPECT_EQ(migrate({"-q", "--force", "--output", output}), (Outcome{0, "", ""}));
  EXPECT_EQ(migrate({"-q", "--force", "--output", file}).status, 2);
  EXPECT_EQ(readFile(file), old);
}

TEST_F(MigrateTest, TriesAllOfItOnDemand) {
  for (const auto& arguments : {std::vector<std::string>{}, {"--output", folder.path("new.mk")}}) {
    std::vector<std::string> all = arguments;
    all.insert(all.end(), {"--dry-run"});
    const Outcome outcome = migrate(all);
    EXPECT_EQ(outcome.status, 0) << outcome;
    EXPECT_NE(
        outcome.standardOutput.find("\nThe new file holds every value of the original.\nIt was "
                                    "a trial: "),
        std::string::npos)
        << outcome;
    expectAsItWas();
  }
  EXPECT_EQ(migrate({"-n", "--converter", script("exit 255")}).status, 2);
}

TEST_F(MigrateTest, WorksOnWhatALinkLeadsTo) {
  const std::string link = scripts.path("link");
  ASSERT_EQ(::symlink(file.c_str(), link.c_str()), 0);
  EXPECT_EQ(TestSupport::run({HISTORY_DB, "migrate", "-q", link}), (Outcome{0, "", ""}));
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  expectMigrated();
}

TEST_F(MigrateTest, ReplacesNoOlderOriginal) {
  writeFile(kept, "older");
  EXPECT_EQ(migrate({"-q"}),
            (Outcome{2, "",
                     "history-db: " + kept + ": It exists, and is no copy of " + file +
                         "; --force replaces it. " + file + " is as it was.\n"}));
  EXPECT_EQ(readFile(file), old);
  EXPECT_EQ(readFile(kept), "older");
  EXPECT_EQ(migrate({"-q", "--force"}), (Outcome{0, "", ""}));
  expectMigrated();
}

TEST_F(MigrateTest, GoesOnFromAnOriginalThatIsKeptAlready) {
  writeFile(kept, old);
  EXPECT_EQ(migrate({"-q"}), (Outcome{0, "", ""}));
  expectMigrated();
}

TEST_F(MigrateTest, KeepsACopyWhereAFileHasOneName) {
  ASSERT_EQ(::chmod(file.c_str(), 0600), 0);
  EXPECT_EQ(migrate({"-q"}, {{"TRIAL_NO_LINKS", "1"}}), (Outcome{0, "", ""}));
  expectMigrated();
  EXPECT_EQ(std::filesystem::status(kept).permissions(), std::filesystem::perms(0600));
}

TEST_F(MigrateTest, HasNothingToDoWithoutSystems) {
  writeFile(file, readFile(goldenFile("zones-only.mk").path));
  const Outcome outcome = migrate({});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_NE(
      outcome.standardOutput.find(
          file + " has no System records, and so is of schema 1 as it is; there is nothing to "
                 "do.\n"),
      std::string::npos)
      << outcome;
  EXPECT_EQ(entries().size(), 1U);
  // What was asked for by name is written.
  EXPECT_EQ(migrate({"-q", "--output", folder.path("new.mk")}).status, 0);
  EXPECT_EQ(entries().count("new.mk"), 1U);
}

TEST_F(MigrateTest, KeepsASecondRunOff) {
  const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_EQ(::flock(descriptor, LOCK_EX), 0);
  EXPECT_EQ(migrate({}), (Outcome{2, "",
                                  "history-db: " + file +
                                      ": Another run of \"history-db migrate\" is at work on "
                                      "it.\n"}));
  ::close(descriptor);
  EXPECT_EQ(migrate({"-q"}), (Outcome{0, "", ""}));
}

TEST_F(MigrateTest, NoticesThatTheFileIsReplacedMeanwhile) {
  for (const std::string& change :
       {std::string("echo 1 >>\"$2\""), std::string("cp \"$2\" \"$2.x\"; mv \"$2.x\" \"$2\"")}) {
    writeFile(file, old);
    const Outcome outcome =
        migrate({"-q", "--converter", script(HISTORY_CONVERT " \"$@\" && { " + change + "; }")});
    EXPECT_EQ(outcome.status, 2) << outcome;
    EXPECT_EQ(entries().size(), 1U);
    EXPECT_EQ(readFile(file).substr(0, old.size()), old);
  }
}

TEST_F(MigrateTest, TellsWhatKeepsItFromTheFile) {
  writeFile(file, "no database");
  EXPECT_EQ(migrate({}).status, 2);
  std::filesystem::remove(file);
  EXPECT_EQ(migrate({}), (Outcome{2, "",
                                  "history-db: " + file +
                                      ": It cannot be opened. No such file or directory.\n"}));
  ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
  EXPECT_EQ(migrate({}), (Outcome{2, "", "history-db: " + file + ": It is no regular file.\n"}));
}

TEST_F(MigrateTest, RefusesAFileWithErrors) {
  old = readFile(goldenFile("odd-sizes.mk").path);
  writeFile(file, old);
  const Outcome outcome = migrate({});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.standardOutput.rfind(file + ": error: ZoneHistory key 2: ", 0), 0U) << outcome;
  EXPECT_EQ(outcome.standardError,
            "history-db: " + file +
                ": Its errors keep it from being converted; it is as it was. \"history-db check\" "
                "tells them.\n");
  EXPECT_EQ(migrate({"-q"}), (Outcome{1, "", outcome.standardError}));
  expectAsItWas();
}

TEST_F(MigrateTest, KeepsRepeatedKeys) {
  writeFile(file, readFile(goldenFile("duplicate-keys.mk").path));
  const Outcome outcome = migrate({});
  EXPECT_EQ(outcome.status, 0) << outcome;
  EXPECT_EQ(outcome.standardError, "");
  EXPECT_NE(outcome.standardOutput.find(": errors 0, repeated keys 4, warnings "),
            std::string::npos)
      << outcome;
  EXPECT_EQ(TestSupport::readTables(file, goldenFile("duplicate-keys.mk").converted),
            goldenFile("duplicate-keys.mk").converted);
}

TEST_F(MigrateTest, RefusesSystemsOfSeveralSchemas) {
  std::filesystem::remove(file);
  {
    Companion::NewDatabase database(file);
    database.addTable("TormaQuilletHistory");
    database.addRow(1, std::string(4624, '\0'));
    database.addRow(2, std::string(6280, '\0'));
    database.commit();
  }
  old = readFile(file);
  EXPECT_EQ(migrate({}),
            (Outcome{1, "",
                     "history-db: " + file +
                         ": It has System records of several schemas or of none; that cannot be "
                         "converted. \"history-db check\" tells more.\n"}));
  expectAsItWas();
}

TEST_F(MigrateTest, NeedsSpace) {
  for (const auto& arguments :
       {std::vector<std::string>{"-q"}, {"-q", "-n"}, {"-q", "--output", folder.path("new.mk")}}) {
    const Outcome outcome = migrate(arguments, {{"TRIAL_NO_SPACE", "1"}});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_NE(outcome.standardError.find(
                  ": There is too little space: 0 bytes are free, 73406 are needed. " + file +
                  " is as it was.\n"),
              std::string::npos)
        << outcome;
    expectAsItWas();
  }
}

/// A user who has no rights but those that the modes of files give.
TEST_F(MigrateTest, TellsThatTheFolderCannotBeWritten) {
  ASSERT_EQ(::chmod(folder.path("").c_str(), 0555), 0);
  TestSupport::Reachable reachable;
  const std::string program = reachable.copy(HISTORY_DB);
  // It stands beside that.
  reachable.copy(HISTORY_CONVERT);
  const Outcome outcome = TestSupport::inChild([&] {
    TestSupport::becomeNobody();
    TestSupport::execute({program, "migrate", "-q", file});
  });
  EXPECT_EQ(outcome,
            (Outcome{2, "",
                     "history-db: " + file + ": It cannot be created. Permission denied. " + file +
                         " is as it was.\n"}));
  ::chmod(folder.path("").c_str(), 0777);
  expectAsItWas();
}

struct Converter {
  const char* name;
  std::string commands;
  int status;
  std::string message;
};

std::ostream& operator<<(std::ostream& stream, const Converter& converter) {
  return stream << converter.name;
}

class BadConverterTest : public MigrateTest, public ::testing::WithParamInterface<Converter> {};

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

TEST_F(MigrateTest, NeedsAConverter) {
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

/// Interrupts a run at each of its file calls: as it is on a usual file system, on one where a file
/// has one name, and with an older original that is to be replaced.
class InterruptedMigrationTest : public MigrateTest,
                                 public ::testing::WithParamInterface<std::string> {
 protected:
  void begin() const {
    for (const auto& entry : std::filesystem::directory_iterator(folder.path(""))) {
      std::filesystem::remove(entry);
    }
    writeFile(file, old);
    if (GetParam() == "force") {
      writeFile(kept, "older");
    }
  }

  Outcome interrupted(const std::string& name, const std::string& value) const {
    Mishap mishap = {{name, value}};
    if (GetParam() == "copy") {
      mishap["TRIAL_NO_LINKS"] = "1";
    }
    return migrate(arguments, mishap);
  }

  /// How many file calls a run makes.
  int calls() const {
    begin();
    const std::string path = scripts.path("calls");
    EXPECT_EQ(interrupted("TRIAL_COUNT", path), (Outcome{0, "", ""}));
    expectMigrated();
    const int count = std::atoi(readFile(path).c_str());
    EXPECT_GT(count, 30);
    return count;
  }

  /// The file is the whole old one or the whole new one, and the old one is there.
  void expectNothingLost() const {
    const auto all = entries();
    for (const auto& [name, bytes] : all) {
      EXPECT_TRUE(name == "old.mk" || name == "old.mk.schema0" || name == ".old.mk." ||
                  name == ".old.mk.schema0.")
          << name;
    }
    if (all.at("old.mk") == converted) {
      EXPECT_EQ(all.at("old.mk.schema0"), old);
    } else {
      EXPECT_EQ(all.at("old.mk"), old);
      const bool isOlder = GetParam() == "force";
      const bool isThere = all.count("old.mk.schema0") != 0;
      EXPECT_TRUE(!isThere || all.at("old.mk.schema0") == old ||
                  (isOlder && all.at("old.mk.schema0") == "older"));
    }
  }

  void expectWorksNow() const {
    EXPECT_EQ(migrate(arguments), (Outcome{0, "", ""}));
    EXPECT_EQ(readFile(file), converted);
    EXPECT_EQ(readFile(kept), old);
  }

  const std::vector<std::string> arguments = GetParam() == "force"
                                                 ? std::vector<std::string>{"-q", "--force"}
                                                 : std::vector<std::string>{"-q"};
};

TEST_P(InterruptedMigrationTest, KilledAnywhereItLosesNothing) {
  for (int call = calls(); call > 0 && !HasFailure(); --call) {
    SCOPED_TRACE("killed at call " + std::to_string(call));
    begin();
    EXPECT_EQ(interrupted("TRIAL_KILL", std::to_string(call)).status, 128 + SIGKILL);
    expectNothingLost();
    expectWorksNow();
  }
}

TEST_P(InterruptedMigrationTest, AFailingCallLeavesAllAsItWas) {
  const int error = GetParam() == "copy" ? ENOSPC : EIO;
  int failures = 0;
  for (int call = calls(); call > 0 && !HasFailure(); --call) {
    SCOPED_TRACE("failing call " + std::to_string(call));
    begin();
    const auto before = entries();
    const Outcome outcome =
        interrupted("TRIAL_FAIL", std::to_string(call) + "," + std::to_string(call + 1) + "," +
                                      std::to_string(error));
    expectNothingLost();
    if (outcome.status == 0) {
      EXPECT_EQ(readFile(file), converted);
      EXPECT_EQ(readFile(kept), old);
    } else {
      ++failures;
      EXPECT_EQ(outcome.status, 2) << outcome;
      EXPECT_EQ(outcome.standardError.rfind("history-db: ", 0), 0U) << outcome;
      EXPECT_EQ(entries(), before) << outcome;
    }
  }
  EXPECT_GT(failures, 20);
}

TEST_P(InterruptedMigrationTest, ADeviceThatFailsForGoodLosesNothing) {
  for (int call = calls(); call > 0 && !HasFailure(); --call) {
    SCOPED_TRACE("failing from call " + std::to_string(call));
    begin();
    const Outcome outcome = interrupted("TRIAL_FAIL", std::to_string(call) + ",100000,5");
    expectNothingLost();
    if (outcome.status != 0) {
      EXPECT_EQ(outcome.status, 2) << outcome;
      EXPECT_EQ(outcome.standardError.rfind("history-db: ", 0), 0U) << outcome;
    }
    expectWorksNow();
  }
}

INSTANTIATE_TEST_SUITE_P(Each, InterruptedMigrationTest, ::testing::Values("link", "copy", "force"),
                         [](const auto& how) { return how.param; });

}  // namespace
