// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "tests/support/Child.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>

#include <gtest/gtest.h>

namespace {

using TestSupport::inChild;
using TestSupport::Outcome;
using TestSupport::run;

TEST(ChildTest, KeepsStreamsAndStatusApart) {
  const Outcome outcome = inChild([] {
    std::printf("to output");
    std::fprintf(stderr, "to error");
    std::exit(7);
  });
  EXPECT_EQ(outcome, (Outcome{7, "to output", "to error"}));
}

TEST(ChildTest, TellsASignalAsTheShellDoes) {
  EXPECT_EQ(inChild([] { std::raise(SIGKILL); }), (Outcome{128 + SIGKILL, "", ""}));
}

TEST(ChildTest, RunsAProgramWithItsArguments) {
  EXPECT_EQ(run({TOLD_PROGRAM, "on e\n", "two", "3"}), (Outcome{3, "on e\n", "two"}));
}

}  // namespace
