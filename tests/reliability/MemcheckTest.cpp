// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/reliability/Trial.h"

namespace Reliability {

namespace {

using TestSupport::goldenFile;
using TestSupport::readFile;

/// A whole conversion under memcheck.
class MemcheckTest : public Trial {};

TEST_F(MemcheckTest, FindsNoErrorAndNoLeak) {
  std::vector<const char*> names = {"typical.mk", "torn-5.mk"};
  if (isSoak()) {
    names = {"typical.mk",    "torn-5.mk",      "lived-in.mk",        "big-endian.mk",
             "odd-sizes.mk",  "other-views.mk", "other-structure.mk", "empty-tables.mk",
             "zones-only.mk", "torn-1.mk",      "system-only.mk",     "keys-6-rows-8.mk"};
  }
  for (const char* name : names) {
    makeInfile(readFile(goldenFile(name).path));
    EXPECT_EQ(convert({}, MEMCHECK), complete) << name;
    expectNothingElseTouched();
  }
  count("conversions under memcheck", static_cast<int>(names.size()));
}

TEST_F(MemcheckTest, FindsNoErrorAndNoLeakWhenAFileIsDamaged) {
  std::string bytes = readFile(goldenFile("typical.mk").path);
  bytes.replace(bytes.size() - 12, 8, 8, '\xFF');
  makeInfile(bytes);
  // What memcheck finds has another status.
  const Outcome outcome = convert({}, MEMCHECK);
  EXPECT_EQ(outcome.status, 255) << outcome;
  EXPECT_EQ(outcome.standardError.rfind("@@ FATAL ERROR", 0), 0U) << outcome;
}

}  // namespace

}  // namespace Reliability
