// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <signal.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "history-db/testing/MigrateTesting.h"

namespace {

using TestSupport::Outcome;
using TestSupport::readFile;
using TestSupport::writeFile;

/// Interrupts a run at each of its file calls: as it is on a usual file system, on one where a file
/// has one name, and with an older original that is to be replaced.
class InterruptedMigrationTest : public HistoryDbTesting::MigrateFixture,
                                 public ::testing::WithParamInterface<std::string> {
 protected:
  void begin() const {
    for (const auto& entry : std::filesystem::directory_iterator(folder.path(""))) {
      std::filesystem::remove_all(entry);
    }
    writeFile(file, old);
    if (GetParam() == "force") {
      writeFile(kept, "older");
    }
  }

  Outcome interrupted(const std::string& name, const std::string& value) const {
    HistoryDbTesting::Mishap mishap = {{name, value}};
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
      EXPECT_TRUE(name == "old.mk" || name == "old.mk.schema0" || name == "folder") << name;
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

TEST_P(InterruptedMigrationTest, ASignalAtAnyCallLeavesNoTemporaryFiles) {
  for (int call = calls(); call > 0 && !HasFailure(); --call) {
    SCOPED_TRACE("signal at call " + std::to_string(call));
    begin();
    const auto before = entries();
    EXPECT_EQ(interrupted("TRIAL_ACT", std::to_string(call) + ",kill -TERM $PPID").status,
              128 + SIGTERM);
    const auto after = entries();
    if (after != before) {
      expectMigrated();
    }
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
