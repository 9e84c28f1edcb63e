// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "tool/Creator.h"

#include <sys/resource.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "rtk/messaging/Message.h"
#include "tests/support/Child.h"
#include "tool/Settings.h"

namespace {

using Pvn::Mt::Itc::Creator;
using TestSupport::inChild;
using TestSupport::Outcome;

static_assert(sizeof(Creator) == sizeof(Rtk::MailboxServer), "a creator has no data of its own");

constexpr char noneFromOneToZero[] =
    "tool: No conversion available for the specified input version: \"1\", AND the specified "
    "output "
    "version: \"0\".\n";

/// Serves between versions that there is no conversion for, so that a child ends without one.
class CreatorDeathTest : public ::testing::Test {
 protected:
  static void serve(Creator& creator) {
    programName = "tool";
    originalDatabaseVersionName = "1";
    convertedDatabaseVersionName = "0";
    static_cast<Rtk::Runnable&>(creator).run();
  }
};

TEST_F(CreatorDeathTest, EndsTheProcessByExit) {
  EXPECT_EQ(inChild([] {
              std::atexit([] { std::printf("at exit"); });
              Creator creator;
              serve(creator);
            }),
            (Outcome{255, "at exit", noneFromOneToZero}));
}

TEST_F(CreatorDeathTest, ServesNoMessage) {
  struct Mark final : Rtk::Message {
    void process() override { std::printf("served"); }
  };
  EXPECT_EQ(inChild([] {
              Creator creator;
              Mark mark;
              creator.post(mark);
              serve(creator);
            }),
            (Outcome{255, "", noneFromOneToZero}));
}

void limitFiles(rlim_t count) {
  rlimit limit = {};
  ::getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = count;
  ::setrlimit(RLIMIT_NOFILE, &limit);
}

TEST_F(CreatorDeathTest, GoesOnWithoutTheRandomSource) {
  const std::string complaint =
      "Pvn::Random::initialize() can't open /dev/urandom.: Too many open files\n";
  EXPECT_EQ(inChild([] {
              limitFiles(3);
              // What is written when the process ends is none of this test's business.
              std::atexit([] { limitFiles(1024); });
              Creator creator;
              serve(creator);
            }),
            (Outcome{255, "", complaint + noneFromOneToZero}));
}

}  // namespace
