// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/string/CharacterString.h"

#include <cstring>

#include <algorithm>
#include <string>

#include <gtest/gtest.h>

namespace {

// A text in an array of its own, filled with marks behind its NUL, so that writes past it show.
class Text {
 public:
  explicit Text(const char* s) {
    std::fill(std::begin(bytes), std::end(bytes), '#');
    std::memcpy(bytes, s, std::strlen(s) + 1);
  }

  char bytes[16];
};

TEST(StrnsetTest, StopsAtTheCountOrAtTheNul) {
  struct Case {
    const char* text;
    unsigned int n;
    const char* outcome;
  };
  for (const Case& c : {Case{"abc", 5, "***"}, Case{"abc", 3, "***"}, Case{"abc", 2, "**c"},
                        Case{"abc", 0, "abc"}, Case{"", 1, ""}}) {
    SCOPED_TRACE(c.text);
    Text text(c.text);
    EXPECT_EQ(strnset(text.bytes, '*', c.n), text.bytes);
    EXPECT_STREQ(text.bytes, c.outcome);
    EXPECT_EQ(text.bytes[std::strlen(c.text) + 1], '#');
  }
}

TEST(StrrevTest, SwapsTheBytesEndForEnd) {
  for (const char* forward : {"", "a", "ab", "abc", "abcd"}) {
    Text text(forward);
    EXPECT_EQ(strrev(text.bytes), text.bytes);
    const std::string original(forward);
    EXPECT_EQ(text.bytes, std::string(original.rbegin(), original.rend()));
  }
}

TEST(StrlwrTest, ChangesLettersAlone) {
  Text text(
      "AbC-\xC4"
      "1z");
  EXPECT_EQ(strlwr(text.bytes), text.bytes);
  EXPECT_STREQ(text.bytes,
               "abc-\xC4"
               "1z");
}

TEST(StruprTest, ChangesLettersAlone) {
  Text text(
      "AbC-\xE4"
      "1z");
  EXPECT_EQ(strupr(text.bytes), text.bytes);
  EXPECT_STREQ(text.bytes,
               "ABC-\xE4"
               "1Z");
}

TEST(CharacterStringTest, GlobalFunctionsTakeNull) {
  EXPECT_EQ(strnset(nullptr, '*', 3), nullptr);
  EXPECT_EQ(strrev(nullptr), nullptr);
  EXPECT_EQ(strlwr(nullptr), nullptr);
  EXPECT_EQ(strupr(nullptr), nullptr);
}

struct SetCase {
  const char* text;
  const char* set;
  const char* outcome;
};

// The place at which the outcome, an end of the text, begins. For an empty outcome that is the
// terminating NUL of the text itself, and no other.
const char* endOf(const SetCase& c) {
  return c.text + std::strlen(c.text) - std::strlen(c.outcome);
}

TEST(StripTest, CharsSkipsMembers) {
  for (const SetCase& c :
       {SetCase{"xxab", "x", "ab"}, SetCase{"xyab", "yx", "ab"}, SetCase{"abxx", "x", "abxx"},
        SetCase{"xx", "x", ""}, SetCase{"", "x", ""}, SetCase{"ab", "", "ab"}}) {
    EXPECT_EQ(Rtk::stripChars(c.text, c.set), endOf(c)) << c.text << " " << c.set;
  }
}

TEST(StripTest, NotCharsSkipsToTheFirstMember) {
  for (const SetCase& c : {SetCase{"abc", "c", "c"}, SetCase{"abc", "cb", "bc"},
                           SetCase{"abc", "x", ""}, SetCase{"abc", "", ""}, SetCase{"", "x", ""}}) {
    EXPECT_EQ(Rtk::stripNotChars(c.text, c.set), endOf(c)) << c.text << " " << c.set;
  }
}

TEST(StripTest, SpaceAndNotSpaceStopAtTheOther) {
  for (const SetCase& c :
       {SetCase{"  a b", "", "a b"}, SetCase{" \t\n\v\f\r", "", ""}, SetCase{"\xA0", "", "\xA0"},
        SetCase{"", "", ""}, SetCase{"a", "", "a"}}) {
    EXPECT_EQ(Rtk::stripSpace(c.text), endOf(c)) << c.text;
  }
  for (const SetCase& c : {SetCase{"ab c", "", " c"}, SetCase{"abc", "", ""}, SetCase{"", "", ""},
                           SetCase{"a\t", "", "\t"}, SetCase{" a", "", " a"}}) {
    EXPECT_EQ(Rtk::stripNotSpace(c.text), endOf(c)) << c.text;
  }
}

TEST(StripTest, TrailingGivesTheLastByteThatStays) {
  struct Case {
    const char* text;
    int index;
  };
  for (const Case& c :
       {Case{"x--", 0}, Case{"ax-", 1}, Case{"ax", 1}, Case{"---", 0}, Case{"-", 0}, Case{"", 0}}) {
    EXPECT_EQ(Rtk::stripTrailingChars(c.text, "-"), c.text + c.index) << c.text;
  }
  for (const Case& c : {Case{"x \t", 0}, Case{" x", 1}, Case{"   ", 0}, Case{"", 0}}) {
    EXPECT_EQ(Rtk::stripTrailingSpace(c.text), c.text + c.index) << c.text;
  }
}

TEST(RemoveTrailingTest, SpaceIsCutOff) {
  for (const SetCase& c : {SetCase{"ab \t\n", "", "ab"}, SetCase{"   ", "", ""},
                           SetCase{"a", "", "a"}, SetCase{" a b ", "", " a b"}}) {
    Text text(c.text);
    Rtk::removeTrailingSpace(text.bytes);
    EXPECT_STREQ(text.bytes, c.outcome);
  }
}

TEST(RemoveTrailingTest, CharsAreCutOff) {
  for (const SetCase& c :
       {SetCase{"x--", "-", "x"}, SetCase{"---", "-", ""}, SetCase{"x-+", "+-", "x"},
        SetCase{"-x", "-", "-x"}, SetCase{"x-", "", "x-"}}) {
    Text text(c.text);
    Rtk::removeTrailingChars(text.bytes, c.set);
    EXPECT_STREQ(text.bytes, c.outcome);
  }
}

TEST(RemoveTrailingTest, WritesTheSecondByteOfAnEmptyText) {
  Text spaces("");
  Rtk::removeTrailingSpace(spaces.bytes);
  EXPECT_EQ(std::string(spaces.bytes, 3), std::string("\0\0#", 3));
  Text chars("");
  Rtk::removeTrailingChars(chars.bytes, "-");
  EXPECT_EQ(std::string(chars.bytes, 3), std::string("\0\0#", 3));
}

}  // namespace
