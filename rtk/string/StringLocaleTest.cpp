// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <clocale>
#include <cstdlib>

#include <gtest/gtest.h>

#include "rtk/string/CharacterString.h"
#include "rtk/string/DString.h"
#include "rtk/string/FString.h"

namespace {

/// A lower-case and an upper-case letter of ISO 8859-1, and a byte that is not a letter there.
constexpr char lowerUmlaut[] = "\xE4";
constexpr char upperUmlaut[] = "\xC4";
constexpr char timesSign[] = "\xD7";

class StringLocaleTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ::setenv("LOCPATH", LOCALES, 1);
    ASSERT_NE(std::setlocale(LC_CTYPE, "latin1"), nullptr);
  }
  void TearDown() override {
    std::setlocale(LC_CTYPE, "C");
    ::unsetenv("LOCPATH");
  }

  Rtk::FString<8> text;
};

TEST_F(StringLocaleTest, ChangesTheCaseOfItsLetters) {
  char upper[] = "a\xE4\xD7";
  EXPECT_STREQ(strupr(upper), "A\xC4\xD7");
  char lower[] = "A\xC4\xD7";
  EXPECT_STREQ(strlwr(lower), "a\xE4\xD7");
  text = lowerUmlaut;
  text.toUpper();
  EXPECT_STREQ(text.getString(), upperUmlaut);
  text.toLower();
  EXPECT_STREQ(text.getString(), lowerUmlaut);
}

TEST_F(StringLocaleTest, IgnoresTheCaseOfItsLetters) {
  text = lowerUmlaut;
  EXPECT_TRUE(text.isEqualIgnoreCase(upperUmlaut));
  EXPECT_FALSE(text.isEqualIgnoreCase(timesSign));
  EXPECT_EQ(text.compareIgnoreCase(upperUmlaut), 0);
  EXPECT_TRUE(text.isEqualSubstringIgnoreCase(0, 0, upperUmlaut));
  EXPECT_FALSE(text == upperUmlaut);
  EXPECT_FALSE(text.isEqualSubstring(0, 0, upperUmlaut));
  EXPECT_NE(text.compare(upperUmlaut), 0);
}

// The rotation counts from A or a, so a letter outside the alphabet becomes one of it.
TEST_F(StringLocaleTest, RotatesItsLettersIntoTheAlphabet) {
  text = "\xE4\xC4\xD7n";
  text.rot13();
  EXPECT_STREQ(text.getString(),
               "oO\xD7"
               "a");
}

TEST_F(StringLocaleTest, TrimsNoLetters) {
  Rtk::DString letters(" \xE4 ");
  letters.removeTrailingSpaces();
  letters.removeLeadingSpaces();
  EXPECT_STREQ(letters.getString(), lowerUmlaut);
}

}  // namespace
