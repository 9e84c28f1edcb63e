// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/Child.h"
#include "tests/support/Golden.h"
#include "tests/support/TemporaryFolder.h"

namespace HistoryDbTesting {

using TestSupport::goldenFile;
using TestSupport::Outcome;
using TestSupport::readFile;
using TestSupport::writeFile;

/// Faults that are injected into the program: variables for tests/reliability/Preload.cpp.
using Mishap = std::map<std::string, std::string>;

/// The output about a file after its first line, which has the number of warnings.
inline std::string behindCheck(const std::string& output, const std::string& file) {
  EXPECT_EQ(output.rfind("Checked " + file + ": errors 0, repeated keys 0, warnings ", 0), 0U)
      << output;
  return output.substr(output.find('\n') + 1);
}

class MigrateFixture : public ::testing::Test {
 protected:
  MigrateFixture() {
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

  /// The names and bytes of all that is in the folder; a folder in it is "folder", whatever its
  /// name.
  std::map<std::string, std::string> entries() const {
    std::map<std::string, std::string> all;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path(""))) {
      if (entry.is_directory()) {
        all["folder"] = "";
      } else {
        all[entry.path().filename()] = readFile(entry.path());
      }
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

}  // namespace HistoryDbTesting
