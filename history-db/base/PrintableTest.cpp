// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/base/Printable.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using HistoryDb::printable;

TEST(PrintableTest, TextStaysAsItIs) {
  EXPECT_EQ(printable(""), "");
  EXPECT_EQ(printable("history 2"), "history 2");
  // Characters of two, three and four bytes, the first and the last of each.
  const std::string characters =
      "\u00a0\u07ff\u0800\ud7ff\ue000\uffff\U00010000\U0010ffff"
      "\u061b\u200d\u2010\u2027\u202f\u2065\u206a";
  EXPECT_EQ(printable(characters), characters);
}

TEST(PrintableTest, WhatIsNoneIsEscaped) {
  struct {
    std::string text;
    const char* printed;
  } const cases[] = {
      {std::string("a\0b", 3), "a\\x00b"},
      {"\x1b[2J\n\x7f", "\\x1b[2J\\x0a\\x7f"},
      {"\\x00", "\\x5cx00"},
      {"\xc2\x85", "\\xc2\\x85"},                    // a control character
      {"\xff\x80", "\\xff\\x80"},                    // never in UTF-8
      {"\xc0\xaf", "\\xc0\\xaf"},                    // overlong
      {"\xe0\x9f\xbf", "\\xe0\\x9f\\xbf"},           //
      {"\xf0\x8f\xbf\xbf", "\\xf0\\x8f\\xbf\\xbf"},  //
      {"\xed\xa0\x80", "\\xed\\xa0\\x80"},           // half of a pair
      {"\xf4\x90\x80\x80", "\\xf4\\x90\\x80\\x80"},  // past the last
      {"\xe2\x82", "\\xe2\\x82"},                    // cut off
      {"\xe2\x82x", "\\xe2\\x82x"},
      // They change the direction of the text or start a line.
      {"\u061c", "\\xd8\\x9c"},
      {"\u200e", "\\xe2\\x80\\x8e"},
      {"\u200f", "\\xe2\\x80\\x8f"},
      {"\u2028", "\\xe2\\x80\\xa8"},
      {"\u2029", "\\xe2\\x80\\xa9"},
      {"\u202a", "\\xe2\\x80\\xaa"},
      {"\u202e", "\\xe2\\x80\\xae"},
      {"\u2066", "\\xe2\\x81\\xa6"},
      {"\u2069", "\\xe2\\x81\\xa9"},
  };
  for (const auto& [text, printed] : cases) {
    EXPECT_EQ(printable(text), printed);
  }
}

TEST(PrintableTest, EscapingTwiceChangesNothing) {
  const std::string once = HistoryDb::escaped("a\\b\x1b[2J\u202e");
  EXPECT_EQ(once, "a\\b\\x1b[2J\\xe2\\x80\\xae");
  EXPECT_EQ(HistoryDb::escaped(once), once);
}

TEST(PrintableTest, LongOneIsCut) {
  const std::string longest(60, 'x');
  EXPECT_EQ(printable(longest), longest);
  EXPECT_EQ(printable(longest + "x"), longest + "...");
}

}  // namespace
