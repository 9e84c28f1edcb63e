// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/files/FileJobs.h"

#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <functional>
#include <mutex>
#include <new>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "history-db/testing/ConsoleTesting.h"

namespace {

using HistoryDb::FileOutcome;
using HistoryDb::Status;

class FileJobsTest : public ::testing::TestWithParam<int> {
 protected:
  Status run(const std::vector<std::string>& files,
             const std::function<FileOutcome(const std::string&)>& work) {
    const auto trouble = [](const std::string& path, const std::string& /*message*/) {
      return "trouble with " + path + '\n';
    };
    return workOnFiles(files, GetParam(), true, work, trouble, heard.console);
  }

  HistoryDbTesting::HeardConsole heard;
};

TEST_P(FileJobsTest, TellsInOrder) {
  std::vector<std::string> files;
  std::string expected;
  for (int i = 0; i < 300; ++i) {
    files.push_back(std::to_string(i));
    expected += files.back() + '\n';
  }
  const Status status = run(files, [](const std::string& path) {
    return FileOutcome{path == "7" ? Status::Findings : Status::Fine, path + '\n', ""};
  });
  EXPECT_EQ(status, Status::Findings);
  EXPECT_EQ(heard.output(), expected);
  EXPECT_EQ(heard.messages(), "");
}

TEST_P(FileJobsTest, GoesOnWhateverIsThrown) {
  const Status status = run({"a", "b", "c", "d", "e"}, [](const std::string& path) -> FileOutcome {
    if (path == "a") {
      throw HistoryDb::Trouble("a: It is odd.");
    }
    if (path == "b") {
      throw std::bad_alloc();
    }
    if (path == "c") {
      throw 3;
    }
    return {Status::Fine, path + '\n', path == "d" ? "a word on d" : ""};
  });
  EXPECT_EQ(status, Status::Trouble);
  EXPECT_EQ(heard.output(), "trouble with a\ntrouble with b\ntrouble with c\nd\ne\n");
  EXPECT_EQ(heard.messages(),
            "history-db: a: It is odd.\n"
            "history-db: b: There is not enough memory.\n"
            "history-db: c: It cannot be worked on.\n"
            "history-db: a word on d\n");
}

TEST_P(FileJobsTest, StopsWhenOutputIsLost) {
  std::FILE* const full = std::fopen("/dev/full", "w");
  ASSERT_NE(full, nullptr);
  HistoryDb::Console lost(full, stderr);
  std::atomic<int> begun = 0;
  const std::vector<std::string> files(100000, "file");
  const auto work = [&](const std::string& path) {
    ++begun;
    return FileOutcome{Status::Fine, path, ""};
  };
  EXPECT_THROW(workOnFiles(
                   files, GetParam(), true, work, [](auto&, auto&) { return ""; }, lost),
               HistoryDb::Trouble);
  EXPECT_LT(begun, 100000);
  std::fclose(full);
}

INSTANTIATE_TEST_SUITE_P(Jobs, FileJobsTest, ::testing::Values(1, 2, 16));

// Each of four files waits until the other three are worked on, too.
TEST(ParallelFileJobsTest, WorkAtTheSameTime) {
  std::mutex mutex;
  std::condition_variable all;
  int waiting = 0;
  const auto work = [&](const std::string& path) {
    std::unique_lock<std::mutex> lock(mutex);
    ++waiting;
    all.notify_all();
    all.wait(lock, [&] { return waiting == 4; });
    return FileOutcome{Status::Fine, path, ""};
  };
  HistoryDbTesting::HeardConsole heard;
  EXPECT_EQ(
      workOnFiles(
          {"a", "b", "c", "d"}, 4, false, work, [](auto&, auto&) { return ""; }, heard.console),
      Status::Fine);
}

}  // namespace
