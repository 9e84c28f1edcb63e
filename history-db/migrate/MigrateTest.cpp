// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "history-db/records/NewDatabase.h"
#include "history-db/testing/MigrateTesting.h"
#include "tests/support/Nobody.h"

namespace {

using HistoryDbTesting::behindCheck;
using TestSupport::goldenFile;
using TestSupport::Outcome;
using TestSupport::readFile;
using TestSupport::writeFile;

class MigrateTest : public HistoryDbTesting::MigrateFixture {};

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

TEST_F(MigrateTest, FollowsLinksOfLinks) {
  std::filesystem::create_symlink("../" + folder.path("").substr(5) + "/old.mk",
                                  scripts.path("one"));
  std::filesystem::create_symlink("one", scripts.path("two"));
  EXPECT_EQ(TestSupport::run({HISTORY_DB, "migrate", "-q", scripts.path("two")}),
            (Outcome{0, "", ""}));
  expectMigrated();
  const std::string loop = scripts.path("loop");
  std::filesystem::create_symlink("loop", loop);
  EXPECT_EQ(TestSupport::run({HISTORY_DB, "migrate", "-q", loop}).standardError,
            "history-db: " + loop +
                ": The link cannot be followed. Too many levels of symbolic links.\n");
}

TEST_F(MigrateTest, FollowsNoLinkOfAnotherUser) {
  const std::string link = scripts.path("link");
  ASSERT_EQ(::symlink(file.c_str(), link.c_str()), 0);
  // Only root can give a link to somebody.
  const bool isRoot = ::geteuid() == 0;
  if (isRoot) {
    ASSERT_EQ(::lchown(link.c_str(), 61234, 61235), 0);
  }
  const Outcome outcome = TestSupport::run({HISTORY_DB, "migrate", "-q", link});
  if (isRoot) {
    EXPECT_EQ(outcome, (Outcome{2, "",
                                "history-db: " + link +
                                    ": It is a symbolic link of another user and is not "
                                    "followed.\n"}));
    expectAsItWas();
  }
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

/// A lock on all of a file, as long as this object lives.
class FileLock {
 public:
  FileLock(const std::string& path, int type) : _descriptor(::open(path.c_str(), O_RDWR)) {
    struct flock lock = {};
    lock.l_type = static_cast<short>(type);
    EXPECT_EQ(::fcntl(_descriptor, F_OFD_SETLK, &lock), 0);
  }
  ~FileLock() { ::close(_descriptor); }
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

 private:
  const int _descriptor;
};

TEST_F(MigrateTest, KeepsASecondRunOff) {
  {
    const FileLock lock(file, F_WRLCK);
    EXPECT_EQ(migrate({}), (Outcome{2, "",
                                    "history-db: " + file +
                                        ": Another run of \"history-db migrate\", or another "
                                        "program that writes to it, has locked it.\n"}));
  }
  EXPECT_EQ(migrate({"-q"}), (Outcome{0, "", ""}));
}

TEST_F(MigrateTest, LetsReadersLockTheFile) {
  const int reader = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_EQ(::flock(reader, LOCK_SH), 0);
  const FileLock lock(file, F_RDLCK);
  EXPECT_EQ(migrate({"-q"}), (Outcome{0, "", ""}));
  ::close(reader);
  expectMigrated();
}

TEST_F(MigrateTest, NoticesThatTheFileIsReplacedMeanwhile) {
  for (const std::string& change :
       {std::string("echo 1 >>$f"), std::string("cp $f $f.x; mv $f.x $f"),
        std::string("cp -p $f $f.x; mv $f.x $f")}) {
    writeFile(file, old);
    const Outcome outcome =
        migrate({"-q", "--converter",
                 script("f='" + file + "'\n" HISTORY_CONVERT " \"$@\" && { " + change + "; }")});
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
  EXPECT_EQ(migrate({}), (Outcome{2, "", "history-db: " + file + ": It is not a regular file.\n"}));
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
    HistoryDb::NewDatabase database(file);
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
                  ": There is too little space: 0 bytes are free, 78111 are needed. " + file +
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

}  // namespace
