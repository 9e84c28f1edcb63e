// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/files/NewFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <filesystem>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "history-db/base/Trouble.h"
#include "history-db/testing/AccessControlTesting.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using HistoryDb::NewFile;
using HistoryDb::Trouble;
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

TEST_F(NewFileTest, ReplacesOnlyARegularFile) {
  writeFile(folder.path("other"), "old");
  ASSERT_EQ(::symlink("other", folder.path("link").c_str()), 0);
  ASSERT_EQ(::symlink("none", folder.path("dangling").c_str()), 0);
  for (const char* name : {"link", "dangling"}) {
    for (const bool force : {false, true}) {
      EXPECT_EQ(troubleOf(folder.path(name), force),
                folder.path(name) + ": It is a symbolic link and is not replaced.");
      EXPECT_TRUE(std::filesystem::is_symlink(folder.path(name)));
    }
  }
  EXPECT_EQ(readFile(folder.path("other")), "old");
  EXPECT_FALSE(std::filesystem::exists(folder.path("none")));
  ASSERT_EQ(::mkfifo(folder.path("fifo").c_str(), 0600), 0);
  ASSERT_TRUE(std::filesystem::create_directory(folder.path("folder")));
  std::vector<std::string> others = {"fifo", "folder"};
  if (::geteuid() == 0 &&
      ::mknod(folder.path("device").c_str(), S_IFCHR | 0600, makedev(1, 7)) == 0) {
    others.emplace_back("device");
  }
  const std::set<std::string> before = names();
  for (const std::string& name : others) {
    EXPECT_EQ(troubleOf(folder.path(name), true),
              folder.path(name) + ": It is not a regular file and is not replaced.");
    EXPECT_FALSE(std::filesystem::is_regular_file(folder.path(name)));
  }
  EXPECT_EQ(names(), before);
}

TEST_F(NewFileTest, DoesNotReplaceALinkThatAppearedMeanwhile) {
  NewFile file(path, true);
  ASSERT_EQ(::symlink("other", path.c_str()), 0);
  EXPECT_THROW(file.finish(), Trouble);
  EXPECT_TRUE(std::filesystem::is_symlink(path));
}

TEST_F(NewFileTest, TakesOverWhatAnotherProgramWrote) {
  NewFile file(path, false);
  const std::string begun = folder.path(*names().begin()) + "/file";
  ASSERT_EQ(::unlink(begun.c_str()), 0);
  writeFile(begun, "by name");
  EXPECT_EQ(file.takeOver("its name", "none").name(), "its name");
  file.finish();
  EXPECT_EQ(readFile(path), "by name");
}

TEST_F(NewFileTest, TakesOverOnlyARegularFileWithOneName) {
  NewFile file(path, false);
  const std::string begun = folder.path(*names().begin()) + "/file";
  ASSERT_EQ(::unlink(begun.c_str()), 0);
  EXPECT_THROW(file.takeOver("", "none"), Trouble);
  writeFile(folder.path("other"), "other");
  ASSERT_EQ(::symlink(folder.path("other").c_str(), begun.c_str()), 0);
  EXPECT_THROW(file.takeOver("", "none"), Trouble);
  ASSERT_EQ(::unlink(begun.c_str()), 0);
  ASSERT_EQ(::link(folder.path("other").c_str(), begun.c_str()), 0);
  EXPECT_THROW(file.takeOver("", "none"), Trouble);
}

/// Until it is finished nobody else may read or write it, whatever the user allows for new files.
TEST_F(NewFileTest, IsPrivateUntilItIsFinished) {
  const mode_t before = ::umask(0);
  const NewFile file(path, false);
  ::umask(before);
  struct stat status = {};
  const std::string begun = folder.path(*names().begin());
  ASSERT_EQ(::stat(begun.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0700U);
  ASSERT_EQ(::stat((begun + "/file").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST_F(NewFileTest, MayHaveANameOfAnyLength) {
  for (const std::size_t size : {245U, 246U, 255U}) {
    const std::string name = folder.path(std::string(size, 'x'));
    EXPECT_EQ(troubleOf(name), "");
    EXPECT_EQ(readFile(name), "new");
  }
}

TEST_F(NewFileTest, FailsWhenWhatWasWrittenIsGone) {
  {
    NewFile file(path, false);
    ASSERT_EQ(::unlink((folder.path(*names().begin()) + "/file").c_str()), 0);
    EXPECT_THROW(file.finish(), Trouble);
  }
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

TEST_F(NewFileTest, GetsThePermissionsThatItsFolderGivesToNewFiles) {
  const std::string list = HistoryDbTesting::accessControlList();
  ASSERT_EQ(
      ::setxattr(folder.path("").c_str(), "system.posix_acl_default", list.data(), list.size(), 0),
      0);
  const std::string other = folder.path("other");
  writeFile(other, "");
  EXPECT_EQ(troubleOf(path), "");
  const auto permissions = [](const std::string& name) {
    struct stat status = {};
    char value[256] = {};
    const ssize_t size = ::getxattr(name.c_str(), "system.posix_acl_access", value, sizeof value);
    EXPECT_GT(size, 0);
    EXPECT_EQ(::stat(name.c_str(), &status), 0);
    return std::make_pair(status.st_mode, std::string(value, static_cast<std::size_t>(size)));
  };
  EXPECT_EQ(permissions(path), permissions(other));
}

TEST_F(NewFileTest, HasNoPermissionsThatItsSourceLacks) {
  const std::string source = folder.path("source");
  writeFile(source, "");
  ASSERT_EQ(::chmod(source.c_str(), 0640), 0);
  const mode_t before = ::umask(0);
  NewFile file(path, false);
  ::umask(before);
  file.limitPermissions(HistoryDb::InputFile(source));
  file.finish();
  struct stat status = {};
  ASSERT_EQ(::stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0640U);
}

TEST_F(NewFileTest, TellsWhatKeepsItFromBeingMade) {
  EXPECT_EQ(troubleOf(folder.path("none/file")),
            folder.path("none/file") + ": It cannot be created. No such file or directory.");
  EXPECT_EQ(troubleOf(folder.path("")),
            folder.path("") + ": It cannot be created. Is a directory.");
}

TEST(FolderOfTest, IsWhatStandsBeforeTheName) {
  EXPECT_EQ(HistoryDb::folderOf("file"), ".");
  EXPECT_EQ(HistoryDb::folderOf("/file"), "/");
  EXPECT_EQ(HistoryDb::folderOf("a/b/file"), "a/b");
}

}  // namespace
