// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <fcntl.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <system_error>

#include <gtest/gtest.h>

#include "tests/support/Child.h"
#include "tests/support/Golden.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using Names = std::multiset<std::string>;

/// Runs the program with a standard output that is full, so that it is held up in its exit, where
/// what it has to tell is written, until somebody reads.
class ProgramTest : public ::testing::Test {
 protected:
  ProgramTest() {
    EXPECT_EQ(::pipe2(_pipe, O_CLOEXEC | O_NONBLOCK), 0);
    const std::string page(4096, '.');
    while (::write(_pipe[1], page.data(), page.size()) > 0) {
    }
    ::fcntl(_pipe[1], F_SETFL, 0);
    const std::string infile = TestSupport::goldenFile("typical.mk").path;
    const std::string outfile = _folder.path("out.mk");
    _program = ::fork();
    if (_program == 0) {
      ::dup2(_pipe[1], STDOUT_FILENO);
      TestSupport::execute({HISTORY_CONVERT, infile, "0", outfile, "1"});
    }
    ::close(_pipe[1]);
  }

  ~ProgramTest() override { ::close(_pipe[0]); }

  /// The names under which the system shows the threads that the program has now. One may end
  /// meanwhile.
  Names threads() const {
    using Tasks = std::filesystem::directory_iterator;
    Names names;
    std::error_code gone;
    const std::string folder = "/proc/" + std::to_string(_program) + "/task";
    for (Tasks task(folder, gone); task != Tasks(); task.increment(gone)) {
      std::ifstream file(task->path() / "comm");
      std::string name;
      if (std::getline(file, name)) {
        names.insert(name);
      }
    }
    return names;
  }

  /// What the program has written behind what filled its standard output, up to its end.
  std::string output() {
    std::string text;
    char part[4096];
    ::fcntl(_pipe[0], F_SETFL, 0);
    for (ssize_t size = 0; (size = ::read(_pipe[0], part, sizeof part)) > 0;) {
      text.append(part, static_cast<std::size_t>(size));
    }
    return text.substr(std::min(text.find_first_not_of('.'), text.size()));
  }

  int status() const {
    int status = -1;
    ::waitpid(_program, &status, 0);
    return status;
  }

 private:
  TestSupport::TemporaryFolder _folder;
  int _pipe[2] = {};
  pid_t _program = -1;
};

TEST_F(ProgramTest, RunsOnTheCreatorAndTheDatabaseServer) {
  // The emulator has a thread of its own, too.
  Names names = TestSupport::emulated() ? Names{"creator", "databaseServer", "qemu-arm", "qemu-arm"}
                                        : Names{"creator", "databaseServer", "history-convert"};
#ifdef __SANITIZE_THREAD__
  // So has that sanitizer.
  names.insert("history-convert");
#endif
  // Past the time limit of tests if it never comes to that.
  while (threads() != names) {
    ::sched_yield();
  }
  EXPECT_EQ(output(), "Conversion complete.\n");
  EXPECT_EQ(status(), 0);
}

}  // namespace
