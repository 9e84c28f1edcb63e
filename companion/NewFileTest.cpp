// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "companion/NewFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "companion/Trouble.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using Companion::NewFile;
using Companion::Trouble;
using TestSupport::readFile;
using TestSupport::writeFile;

class NewFileTest : public ::testing::Test {
 protected:
  std::set<std::string> names() const {
    std::set<std::string> all;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path(""))) {
      all.insert(entry.path().filename());
    }
    return all;
  }

  /// What the constructor or the end of a file complains about.
  std::string troubleOf(const std::string& name, bool force = false) const {
    try {
      NewFile file(name, force);
      file.write("new");
      file.finish();
    } catch (const Trouble& trouble) {
      return trouble.what();
    }
    return "";
  }

  const TestSupport::TemporaryFolder folder;
  const std::string path = folder.path("file");
};

TEST_F(NewFileTest, AppearsWhenItIsFinished) {
  NewFile file(path, false);
  file.write("one, ");
  file.write("two");
  EXPECT_FALSE(std::filesystem::exists(path));
  file.finish();
  EXPECT_EQ(readFile(path), "one, two");
  EXPECT_EQ(names(), (std::set<std::string>{"file"}));
}

TEST_F(NewFileTest, LeavesNothingWhenItIsNotFinished) {
  {
    NewFile file(path, false);
    file.write("half");
    EXPECT_EQ(names().size(), 1U);
  }
  EXPECT_EQ(names(), (std::set<std::string>{}));
}

TEST_F(NewFileTest, KeepsWhatItReplacesUntilItIsFinished) {
  writeFile(path, "old");
  { const NewFile file(path, true); }
  EXPECT_EQ(readFile(path), "old");
  EXPECT_EQ(troubleOf(path, true), "");
  EXPECT_EQ(readFile(path), "new");
}

TEST_F(NewFileTest, DoesNotReplaceAnotherWithoutForce) {
  writeFile(path, "old");
  EXPECT_EQ(troubleOf(path), path + ": It exists; --force replaces it.");
  EXPECT_EQ(readFile(path), "old");
}

TEST_F(NewFileTest, DoesNotReplaceOneThatAppearedMeanwhile) {
  NewFile file(path, false);
  writeFile(path, "another's");
  EXPECT_THROW(file.finish(), Trouble);
  EXPECT_EQ(readFile(path), "another's");
}

TEST_F(NewFileTest, DoesNotFollowALink) {
  writeFile(folder.path("other"), "old");
  ASSERT_EQ(::symlink("other", path.c_str()), 0);
  EXPECT_NE(troubleOf(path), "");
  EXPECT_EQ(troubleOf(path, true), "");
  EXPECT_EQ(readFile(path), "new");
  EXPECT_EQ(readFile(folder.path("other")), "old");
}

TEST_F(NewFileTest, TakesOverWhatIsWrittenByName) {
  NewFile file(path, false);
  ASSERT_EQ(::unlink(file.temporaryPath().c_str()), 0);
  writeFile(file.temporaryPath(), "by name");
  file.finish();
  EXPECT_EQ(readFile(path), "by name");
}

TEST_F(NewFileTest, FailsWhenWhatWasWrittenIsGone) {
  NewFile file(path, false);
  ASSERT_EQ(::unlink(file.temporaryPath().c_str()), 0);
  EXPECT_THROW(file.finish(), Trouble);
  EXPECT_EQ(names(), (std::set<std::string>{}));
}

TEST_F(NewFileTest, MayBeReadByWhomTheUserAllowsIt) {
  for (const mode_t mask : {0022U, 0077U}) {
    const mode_t before = ::umask(mask);
    EXPECT_EQ(troubleOf(path, true), "");
    ::umask(before);
    struct stat status = {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0666U & ~mask);
  }
}

TEST_F(NewFileTest, TellsWhatKeepsItFromBeingMade) {
  EXPECT_EQ(troubleOf(folder.path("none/file")),
            folder.path("none/file") + ": It cannot be created. No such file or directory.");
  ASSERT_TRUE(std::filesystem::create_directory(path));
  EXPECT_EQ(troubleOf(path, true), path + ": It cannot be created. Is a directory.");
}

TEST(FolderOfTest, IsWhatStandsBeforeTheName) {
  EXPECT_EQ(Companion::folderOf("file"), ".");
  EXPECT_EQ(Companion::folderOf("/file"), "/");
  EXPECT_EQ(Companion::folderOf("a/b/file"), "a/b");
}

}  // namespace
