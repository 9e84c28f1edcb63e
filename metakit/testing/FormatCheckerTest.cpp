// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "metakit/testing/FormatChecker.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Metakit::FormatChecker;

/// The file of docs/datafile.md.
const std::string sample(
    "JL\x1A\0\0\0\0\x47\x03\0\x01\0\x2C\x01"
    "abchello\x03\x05\x80\x83\x86\x88\x88\x8E\x82\x96\x80"
    "\x80\x91T[Key:I,Record:B]\x81\x89\x98\x80\0\0\0\0\0\0\x37\x80\0\0\x16\0\0\0\x21",
    71);

TEST(FormatCheckerTest, KnowsASoundFile) {
  EXPECT_EQ(FormatChecker::faultIn(sample), "");
}

TEST(FormatCheckerTest, SeesWhatBreaksARule) {
  struct Case {
    std::size_t at;
    int byte;
    std::string rule;
  };
  const std::vector<Case> cases = {
      {1, 'J', "the header is one"},
      {7, 0x48, "the header tells the end"},
      {55, 0x81, "there is a skip tail"},
      {62, 0x36, "the skip tail leads to the header"},
      {63, 0x90, "there is a commit tail"},
      {33, 0x81, "the root walk begins with 0"},
      {70, 0x40, "the root walk stands in the file"},
      {34, 0x90, "brackets are closed"},
      {40, ']', "the description is well-formed"},
      {50, 'X', "types are known"},
      {52, 0x82, "the root has one row"},
      {53, 0x88, "a walk has all it needs"},
      {53, 0x8A, "a view's block is used up"},
      {24, 0x81, "a sequence begins with 0"},
      {25, 0x82, "a packed column's size fits a width"},
      {25, 0, "an integer has no leading zeros and is not negative"},
      {13, 0, "the least width is taken"},
      {27, 0x89, "no blocks overlap"},
      {27, 0xFF, "a block stands in the file"},
      {28, 0x87, "items add up to their data"},
      {28, 0x89, "items add up to their data"},
  };
  for (const Case& one : cases) {
    std::string file = sample;
    file[one.at] = static_cast<char>(one.byte);
    EXPECT_EQ(FormatChecker::faultIn(file), one.rule) << one.at;
  }
}

}  // namespace
