// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "history-db/testing/AccessControlTesting.h"
#include "history-db/testing/MigrateTesting.h"

namespace {

using TestSupport::Outcome;
using TestSupport::readFile;
using TestSupport::writeFile;

namespace fs = std::filesystem;

/// What migrate() does in folders where other users can write, and to the attributes of files.
class MigrateSafetyTest : public HistoryDbTesting::MigrateFixture {
 protected:
  static struct stat statusOf(const std::string& path) {
    struct stat status = {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status;
  }

  /// How many file calls a run makes.
  int calls() const {
    const std::string path = scripts.path("calls");
    EXPECT_EQ(migrate({"-q"}, {{"TRIAL_COUNT", path}}), (Outcome{0, "", ""}));
    return std::atoi(readFile(path).c_str());
  }

  void begin() const {
    for (const auto& entry : fs::directory_iterator(folder.path(""))) {
      fs::remove_all(entry);
    }
    writeFile(file, old);
  }
};

class ExchangedFilesTest : public MigrateSafetyTest {};

/// The owner of the folder exchanges whatever is hidden in it, at any moment, for links to a file
/// of somebody else and to one that does not exist.
TEST_F(ExchangedFilesTest, AnExchangedTemporaryFileHarmsNobody) {
  const std::string victim = scripts.path("victim");
  const std::string created = scripts.path("created");
  writeFile(victim, "secret");
  ASSERT_EQ(::chmod(victim.c_str(), 0600), 0);
  const struct stat before = statusOf(victim);
  const int count = calls();
  const auto attackFor = [this](const std::string& target) {
    return script("cd '" + folder.path("") +
                  "' || exit 1\n"
                  "for f in .[!.]*; do\n"
                  "  case $f in *.stolen) continue;; esac\n"
                  "  [ -e \"$f\" ] || continue\n"
                  "  if [ -d \"$f\" ]; then\n"
                  "    mv \"$f\" \"$f.stolen\"; mkdir \"$f\"\n"
                  "    for n in old.mk original older; do ln -s '" +
                  target +
                  "' \"$f/$n\"; done\n"
                  "  else\n"
                  "    rm \"$f\"; ln -s '" +
                  target + "' \"$f\"\n  fi\ndone\ntrue");
  };
  for (const std::string& target : {victim, created}) {
    const std::string attack = attackFor(target);
    for (int call = count; call > 0 && !HasFailure(); --call) {
      SCOPED_TRACE("exchanged at call " + std::to_string(call));
      begin();
      ASSERT_EQ(::chmod(file.c_str(), 0666), 0);
      const Outcome outcome = migrate({"-q"}, {{"TRIAL_ACT", std::to_string(call) + "," + attack}});
      EXPECT_EQ(readFile(victim), "secret") << outcome;
      const struct stat after = statusOf(victim);
      EXPECT_EQ(after.st_mode, before.st_mode) << outcome;
      EXPECT_EQ(after.st_uid, before.st_uid);
      EXPECT_FALSE(fs::exists(created)) << outcome;
      if (!fs::is_symlink(file)) {
        EXPECT_EQ(readFile(file), outcome.status == 0 ? converted : old) << outcome;
      }
      for (const auto& entry : fs::recursive_directory_iterator(folder.path(""))) {
        const bool isStolen = entry.path().string().find(".stolen/") != std::string::npos;
        EXPECT_FALSE(isStolen && entry.is_regular_file() && !entry.is_symlink()) << entry;
      }
    }
  }
}

/// The owner of the folder puts one that everybody can enter in the place of the private one.
TEST_F(ExchangedFilesTest, AFolderOfOthersIsNotUsed) {
  const std::string attack =
      script("cd '" + folder.path("") +
             "' || exit 1\n"
             "for f in .history-db.*; do\n"
             "  rmdir \"$f\" 2>/dev/null && mkdir -m 777 \"$f\"\ndone\ntrue");
  const int count = calls();
  int refusals = 0;
  for (int call = count; call > 0 && !HasFailure(); --call) {
    SCOPED_TRACE("exchanged at call " + std::to_string(call));
    begin();
    ASSERT_EQ(::chmod(folder.path("").c_str(), 0777), 0);
    const Outcome outcome = migrate({"-q"}, {{"TRIAL_ACT", std::to_string(call) + "," + attack}});
    const bool isRefused = outcome.standardError.find(
                               ": Its folder can be written by other users, and no private folder "
                               "can be made in it. ") != std::string::npos;
    refusals += isRefused ? 1 : 0;
    EXPECT_EQ(readFile(file), outcome.status == 0 ? converted : old) << outcome;
  }
  EXPECT_GT(refusals, 0);
}

/// The owner of the folder puts an older private folder of the same user in the place of the new
/// one.
TEST_F(ExchangedFilesTest, AFolderWithFilesIsNotUsed) {
  const std::string older = folder.path("older");
  const std::string attack = script("cd '" + folder.path("") +
                                    "' || exit 1\n"
                                    "for f in .history-db.*; do\n"
                                    "  rmdir \"$f\" 2>/dev/null && mv older \"$f\"\ndone\ntrue");
  int refusals = 0;
  for (int call = calls(); call > 0 && !HasFailure(); --call) {
    SCOPED_TRACE("exchanged at call " + std::to_string(call));
    begin();
    fs::create_directory(older);
    ASSERT_EQ(::chmod(older.c_str(), 0700), 0);
    writeFile(older + "/kept", "kept");
    const Outcome outcome = migrate({"-q"}, {{"TRIAL_ACT", std::to_string(call) + "," + attack}});
    refusals += outcome.standardError.find("has exchanged the private folder.") != std::string::npos
                    ? 1
                    : 0;
    bool isKept = false;
    for (const auto& entry : fs::recursive_directory_iterator(folder.path(""))) {
      isKept = isKept || entry.path().filename() == "kept";
    }
    EXPECT_TRUE(isKept) << outcome;
  }
  EXPECT_GT(refusals, 0);
}

/// Somebody puts another file in the place of the one that is converted, at any moment.
TEST_F(ExchangedFilesTest, AnotherFileIsNotReplaced) {
  const std::string other = scripts.path("other");
  const std::string attack =
      "cp '" + other + "' '" + file + ".x'; mv '" + file + ".x' '" + file + "'";
  writeFile(other, "another file");
  for (int call = calls(); call > 0 && !HasFailure(); --call) {
    SCOPED_TRACE("replaced at call " + std::to_string(call));
    begin();
    const Outcome outcome = migrate({"-q"}, {{"TRIAL_ACT", std::to_string(call) + "," + attack}});
    EXPECT_EQ(readFile(file), "another file") << outcome;
    EXPECT_TRUE(outcome.status != 0 || readFile(kept) == old) << outcome;
  }
}

/// The owner of the file makes it longer at any moment, so that a copy of it would fill the disk.
TEST_F(ExchangedFilesTest, AGrowingFileIsNotReadToItsEnd) {
  const std::string attack = "truncate -s 4G '" + file + "'";
  int refusals = 0;
  for (int call = calls(); call > 0 && !HasFailure(); --call) {
    SCOPED_TRACE("longer at call " + std::to_string(call));
    begin();
    const Outcome outcome =
        migrate({"-q", "-n"}, {{"TRIAL_ACT", std::to_string(call) + "," + attack},
                               {"TRIAL_LIMIT", std::to_string(RLIMIT_CPU) + ",5"}});
    EXPECT_TRUE(outcome.status == 0 || outcome.status == 2) << outcome;
    refusals +=
        outcome.standardError.find(": Somebody has changed it meanwhile. ") != std::string::npos
            ? 1
            : 0;
  }
  EXPECT_GT(refusals, 0);
}

/// Another process removes the kept original. A run can see that until shortly before its end.
TEST_F(ExchangedFilesTest, ARemovedOriginalIsNotReportedAsKept) {
  const std::string attack = "rm -f '" + kept + "'";
  bool isSeen = false;
  for (int call = calls(); call > 0 && !HasFailure(); --call) {
    SCOPED_TRACE("removed at call " + std::to_string(call));
    begin();
    const Outcome outcome = migrate({"-q"}, {{"TRIAL_ACT", std::to_string(call) + "," + attack}});
    isSeen = isSeen || outcome.standardError == "history-db: " + kept +
                                                    ": Somebody has changed it meanwhile. " + file +
                                                    " is as it was.\n";
    if (outcome.status == 0 && isSeen) {
      expectMigrated();
    } else if (outcome.status != 0) {
      expectAsItWas();
    }
  }
  EXPECT_TRUE(isSeen);
}

TEST_F(MigrateSafetyTest, ResultsOfAPrivateFileArePrivate) {
  ASSERT_EQ(::chmod(file.c_str(), 0600), 0);
  const std::string converted = folder.path("converted.mk");
  const std::vector<std::vector<std::string>> commands = {
      {"copy", file, folder.path("copy.mk")},
      {"migrate", "-q", "--output", converted, file},
      {"verify", "-q", "--receipt", folder.path("receipt"), file, converted},
      {"plot", "--output", folder.path("plot.svg"), converted}};
  const mode_t before = ::umask(0);
  for (std::vector<std::string> command : commands) {
    command.insert(command.begin(), HISTORY_DB);
    EXPECT_EQ(TestSupport::run(command), (Outcome{0, "", ""})) << command[1];
  }
  ::umask(before);
  for (const auto& entry : fs::directory_iterator(folder.path(""))) {
    EXPECT_EQ(statusOf(entry.path()).st_mode & 07777U, 0600U) << entry;
  }
}

TEST_F(MigrateSafetyTest, TheNewFileIsPrivateUntilItIsProved) {
  ASSERT_EQ(::chmod(file.c_str(), 0600), 0);
  const std::string modes = scripts.path("modes");
  const mode_t before = ::umask(0);
  EXPECT_EQ(migrate({"-q", "--converter",
                     script(HISTORY_CONVERT " \"$@\" && stat -c %a \"$(dirname \"$4\")\" \"$4\" >" +
                            modes)}),
            (Outcome{0, "", ""}));
  ::umask(before);
  EXPECT_EQ(readFile(modes), "700\n600\n");
  EXPECT_EQ(statusOf(file).st_mode & 07777U, 0600U);
}

// ---- Attributes ----

/// The extended attributes of a file, access control lists among them.
std::map<std::string, std::string> attributesOf(const std::string& path) {
  std::map<std::string, std::string> all;
  std::string names(4096, '\0');
  const ssize_t size = ::listxattr(path.c_str(), names.data(), names.size());
  for (ssize_t at = 0; at < size;) {
    const std::string name = names.c_str() + at;
    std::string value(4096, '\0');
    const ssize_t length = ::getxattr(path.c_str(), name.c_str(), value.data(), value.size());
    all[name] = value.substr(0, static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    at += static_cast<ssize_t>(name.size()) + 1;
  }
  return all;
}

bool setAttribute(const std::string& path, const char* name, const std::string& value) {
  return ::setxattr(path.c_str(), name, value.data(), value.size(), 0) == 0;
}

TEST_F(MigrateSafetyTest, KeepsAccessControlListsAndAttributes) {
  // A file system in memory may have access control lists alone.
  setAttribute(file, "user.plant", "north");
  ASSERT_TRUE(setAttribute(file, "system.posix_acl_access", HistoryDbTesting::accessControlList()));
  const auto before = attributesOf(file);
  const mode_t mode = statusOf(file).st_mode;
  for (const bool hasLinks : {true, false}) {
    EXPECT_EQ(migrate({"-q"}, hasLinks ? HistoryDbTesting::Mishap{}
                                       : HistoryDbTesting::Mishap{{"TRIAL_NO_LINKS", "1"}}),
              (Outcome{0, "", ""}));
    EXPECT_EQ(attributesOf(file), before);
    EXPECT_EQ(attributesOf(kept), before);
    EXPECT_EQ(statusOf(file).st_mode, mode);
    fs::rename(kept, file);
  }
}

TEST_F(MigrateSafetyTest, ADefaultListOfTheFolderAddsNoAccess) {
  ASSERT_EQ(::chmod(file.c_str(), 0640), 0);
  ASSERT_TRUE(setAttribute(folder.path(""), "system.posix_acl_default",
                           HistoryDbTesting::accessControlList()));
  EXPECT_EQ(migrate({"-q"}), (Outcome{0, "", ""}));
  EXPECT_EQ(attributesOf(file).count("system.posix_acl_access"), 0U);
  EXPECT_EQ(statusOf(file).st_mode & 07777U, 0640U);
}

// ---- The original ----

TEST_F(MigrateSafetyTest, AnEqualOriginalThatGoesMeanwhileIsKeptNevertheless) {
  writeFile(kept, old);
  EXPECT_EQ(
      migrate({"-q", "--converter", script("rm '" + kept + "'; exec " HISTORY_CONVERT " \"$@\"")})
          .status,
      2);
  expectAsItWas();
  writeFile(kept, old);
  const ino_t inode = statusOf(file).st_ino;
  EXPECT_EQ(migrate({"-q"}), (Outcome{0, "", ""}));
  expectMigrated();
  EXPECT_EQ(statusOf(kept).st_ino, inode);
}

TEST_F(MigrateSafetyTest, OnlyARegularFileIsReplacedByTheOriginal) {
  for (const bool isFolder : {true, false}) {
    if (isFolder) {
      ASSERT_TRUE(fs::create_directory(kept));
    } else {
      fs::create_symlink("old.mk", kept);
    }
    EXPECT_EQ(migrate({"-q", "--force"}),
              (Outcome{2, "",
                       "history-db: " + kept + ": It is not a regular file and is not replaced. " +
                           file + " is as it was.\n"}));
    fs::remove(kept);
    expectAsItWas();
  }
}

TEST_F(MigrateSafetyTest, AFileMayHaveAnyName) {
  const std::string suffix = ".schema0";
  std::vector<std::string> names = {"original", "original.mk", "-q"};
  for (const std::size_t size : {245U, 246U, 247U, 248U, 255U}) {
    names.emplace_back(size, 'x');
  }
  names.push_back(std::string(247, 'y') + suffix);
  // Its name is cut between characters.
  names.push_back("ab" + std::string(1, 'z') + std::string(244, 'z') + "\u00e4\u00e4\u00e4\u00e4");
  for (const std::string& name : names) {
    SCOPED_TRACE(name);
    const std::string path = folder.path(name);
    writeFile(path, old);
    const Outcome outcome = TestSupport::run({HISTORY_DB, "migrate", path});
    EXPECT_EQ(outcome.status, 0) << outcome;
    EXPECT_EQ(readFile(path), converted);
    const std::string told = "The original is kept as ";
    const std::size_t at = outcome.standardOutput.find(told);
    ASSERT_NE(at, std::string::npos) << outcome;
    const std::string original = outcome.standardOutput.substr(
        at + told.size(), outcome.standardOutput.find(".\n", at) - at - told.size());
    EXPECT_EQ(readFile(original), old) << original;
    EXPECT_NE(original, path);
    fs::remove(original);
  }
}

// ---- Signals ----

/// Which processes hold an end of a pipe that all of them inherit.
class Holders {
 public:
  Holders() {
    if (::pipe(_ends) != 0) {
      std::abort();
    }
  }
  ~Holders() { ::close(_ends[0]); }
  Holders(const Holders&) = delete;
  Holders& operator=(const Holders&) = delete;

  /// Whether all of them end without being waited for. To be called once.
  bool areGone() {
    ::close(_ends[1]);
    pollfd end = {_ends[0], POLLIN, 0};
    constexpr int patience = 10000;
    return ::poll(&end, 1, patience) == 1;
  }

 private:
  int _ends[2] = {};
};

class SignalledMigrationTest : public MigrateSafetyTest,
                               public ::testing::WithParamInterface<int> {};

/// The converter has left files of several names when the signal comes, and has started a program.
TEST_P(SignalledMigrationTest, EndsTheConverterAndLeavesNothing) {
  const rlimit none = {0, 0};
  ::setrlimit(RLIMIT_CORE, &none);
  Holders holders;
  const std::string number = std::to_string(GetParam());
  EXPECT_EQ(migrate({"-q", "--converter",
                     script("rm \"$4\"; touch one two; mkdir three; sleep 60 & kill -" + number +
                            " $PPID; wait")})
                .status,
            128 + GetParam());
  EXPECT_TRUE(holders.areGone());
  expectAsItWas();
}

INSTANTIATE_TEST_SUITE_P(Each, SignalledMigrationTest,
                         ::testing::Values(SIGHUP, SIGINT, SIGQUIT, SIGALRM, SIGTERM, SIGXCPU));

TEST_F(MigrateSafetyTest, AKilledRunLeavesNoConverter) {
  Holders holders;
  EXPECT_EQ(migrate({"-q", "--converter", script("kill -KILL $PPID; exec sleep 60")}).status,
            128 + SIGKILL);
  EXPECT_TRUE(holders.areGone());
  EXPECT_EQ(readFile(file), old);
}

}  // namespace
