// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/cli/Process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "history-db/base/Trouble.h"
#include "history-db/files/NewFile.h"
#include "history-db/records/Database.h"
#include "history-db/records/NewDatabase.h"
#include "tests/support/Child.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using HistoryDb::NewFile;
using HistoryDb::prepareProcess;
using TestSupport::inChild;
using TestSupport::Outcome;

class ProcessDeathTest : public ::testing::Test {
 protected:
  const TestSupport::TemporaryFolder folder;
};

TEST_F(ProcessDeathTest, RemovesWhatIsBegunWhenASignalEndsIt) {
  for (const int signal : {SIGHUP, SIGINT, SIGTERM}) {
    const Outcome outcome = inChild([&] {
      prepareProcess();
      const NewFile one(folder.path("one"), false);
      const NewFile two(folder.path("two"), false);
      ::raise(signal);
    });
    EXPECT_EQ(outcome.status, 128 + signal);
    EXPECT_TRUE(std::filesystem::is_empty(folder.path("")));
  }
}

TEST_F(ProcessDeathTest, KeepsWhatIsFinished) {
  inChild([&] {
    prepareProcess();
    NewFile file(folder.path("one"), false);
    file.finish();
    ::raise(SIGTERM);
  });
  EXPECT_TRUE(std::filesystem::exists(folder.path("one")));
}

TEST_F(ProcessDeathTest, EndsWhenAFileIsCutOffUnderIt) {
  const std::string path = folder.path("cut.mk");
  {
    HistoryDb::NewDatabase database(path);
    database.addTable("ZoneHistory");
    database.addRow(1, std::string(100000, '.'));
    database.commit();
  }
  const Outcome outcome = inChild([&] {
    prepareProcess();
    const NewFile begun(folder.path("begun"), false);
    const HistoryDb::Database database(path);
    if (::truncate(path.c_str(), 10) == 0) {
      std::_Exit(database.tables()[2].rows[0].body[99999] == '.' ? 0 : 1);
    }
  });
  EXPECT_EQ(outcome,
            (Outcome{2, "",
                     "history-db: A file cannot be read to its end: its device failed, or it was "
                     "cut off.\n"}));
  EXPECT_FALSE(std::filesystem::exists(folder.path("begun")));
}

TEST_F(ProcessDeathTest, OtherBusErrorsEndItByTheSignal) {
  const Outcome outcome = inChild([&] {
    const rlimit none = {0, 0};
    ::setrlimit(RLIMIT_CORE, &none);
    prepareProcess();
    const NewFile begun(folder.path("begun"), false);
    ::raise(SIGBUS);
  });
  EXPECT_EQ(outcome, (Outcome{128 + SIGBUS, "", ""}));
  EXPECT_TRUE(std::filesystem::is_empty(folder.path("")));
}

TEST_F(ProcessDeathTest, LimitOfTheFileSizeIsAnError) {
  const Outcome outcome = inChild([&] {
    prepareProcess();
    const rlimit limit = {100, 100};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    try {
      NewFile file(folder.path("long"), false);
      file.write(std::string(1000, '.'));
    } catch (const HistoryDb::Trouble& trouble) {
      // Standard output is a file as well, which is not so long.
      std::puts(trouble.what());
    }
  });
  EXPECT_EQ(outcome,
            (Outcome{0, folder.path("long") + ": It cannot be written. File too large.\n", ""}));
}

TEST_F(ProcessDeathTest, ClosedStreamsAreNoPlaceForFiles) {
  const Outcome outcome = inChild([&] {
    ::close(STDIN_FILENO);
    ::close(STDOUT_FILENO);
    const bool isPrepared = prepareProcess();
    const int opened = ::open("/dev/null", O_WRONLY);
    ::_exit(isPrepared && opened > STDERR_FILENO ? 0 : 1);
  });
  EXPECT_EQ(outcome.status, 0);
}

/// As nohup has it.
TEST_F(ProcessDeathTest, IgnoredSignalsStayIgnored) {
  const Outcome outcome = inChild([&] {
    ::signal(SIGHUP, SIG_IGN);
    prepareProcess();
    ::raise(SIGHUP);
    ::_exit(7);
  });
  EXPECT_EQ(outcome.status, 7);
}

}  // namespace
