// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <string>

#include <gtest/gtest.h>

#include "tests/reliability/Trial.h"

namespace Reliability {

namespace {

using TestSupport::goldenFile;
using TestSupport::readFile;

/// The end of the process, which destroys the servers while their threads are there.
class EndTest : public Trial {};

TEST_F(EndTest, FindsNoThreadAtWorkBehindAConversion) {
  makeInfile(readFile(goldenFile("zones-only.mk").path));
  EXPECT_EQ(convert({{"TRIAL_SLOW", "2000"}}), complete);
}

TEST_F(EndTest, FindsNoThreadAtWorkBehindAFatalError) {
  makeInfile("no database");
  // The server is still sending its only answer.
  const Outcome outcome = convert({{"TRIAL_SLOW", "50000"}});
  EXPECT_EQ(outcome.status, 255) << outcome;
  const std::string& record = outcome.standardError;
  EXPECT_EQ(record.find("It is not a history database.\n") + 30, record.size()) << outcome;
}

}  // namespace

}  // namespace Reliability
