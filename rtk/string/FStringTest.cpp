// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/string/FString.h"

#include <climits>
#include <cstring>

#include <algorithm>
#include <functional>
#include <new>
#include <string>

#include <gtest/gtest.h>

namespace {

using Rtk::FString;

void expectText(const Rtk::String& s, const char* text, bool truncated) {
  EXPECT_STREQ(s.getString(), text);
  EXPECT_EQ(s.truncated(), truncated) << text;
}

TEST(FStringTest, TextMeetsItsCapacity) {
  struct Case {
    const char* source;
    const char* text;
    bool truncated;
  };
  for (const Case& c : {Case{"", "", false}, Case{"abcd", "abcd", false},
                        Case{"abcde", "abcde", false}, Case{"abcdef", "abcde", true}}) {
    expectText(FString<5>(c.source), c.text, c.truncated);
    FString<5> assigned("abcdefg");
    assigned = c.source;
    expectText(assigned, c.text, c.truncated);
    FString<5> copied("abcdefg");
    copied = FString<9>(c.source);
    expectText(copied, c.text, c.truncated);
    FString<5> appended;
    appended += c.source;
    expectText(appended, c.text, c.truncated);
    expectText(FString<5>(FString<9>(c.source)), c.text, c.truncated);
  }
}

TEST(FStringTest, ConstructedFromNullOrNothingIsEmpty) {
  expectText(FString<5>(static_cast<const char*>(nullptr)), "", false);
  expectText(FString<5>(), "", false);
  EXPECT_EQ(FString<5>().maxLength(), 5);
}

TEST(FStringTest, ConstructsFromEveryKindOfValue) {
  expectText(FString<1>('c'), "c", false);
  expectText(FString<5>('\0'), "", false);
  expectText(FString<5>(-12), "-12", false);
  expectText(FString<5>(12U), "12", false);
  expectText(FString<5>(-12L), "-12", false);
  expectText(FString<5>(12UL), "12", false);
}

TEST(FStringTest, NumbersThatDoNotFitAreCut) {
  expectText(FString<5>(1234567), "12345", true);
  expectText(FString<5>(1234567U), "12345", true);
  expectText(FString<5>(-1234567L), "-1234", true);
  expectText(FString<5>(1234567UL), "12345", true);
  FString<5> s;
  s = 1234567;
  expectText(s, "12345", true);
  s = 12345L;
  expectText(s, "12345", false);
  s = "123";
  s += 456U;
  expectText(s, "12345", true);
}

template <class Value>
void expectHeldByTwentyCharacters(Value value) {
  const std::string text = std::to_string(value);
  expectText(FString<20>(value), text.c_str(), false);
  FString<20> assigned("before");
  assigned = value;
  expectText(assigned, text.c_str(), false);
  FString<20> appended;
  appended += value;
  expectText(appended, text.c_str(), false);
}

TEST(FStringTest, TwentyCharactersHoldAnyNumber) {
  expectHeldByTwentyCharacters(INT_MIN);
  expectHeldByTwentyCharacters(INT_MAX);
  expectHeldByTwentyCharacters(UINT_MAX);
  expectHeldByTwentyCharacters(LONG_MIN);
  expectHeldByTwentyCharacters(LONG_MAX);
  expectHeldByTwentyCharacters(ULONG_MAX);
}

TEST(FStringTest, TheFlagTellsOfTheLastOperation) {
  FString<5> s;
  s = "abcdefg";
  expectText(s, "abcde", true);
  s += 'x';
  expectText(s, "abcde", true);
  s = "ab";
  expectText(s, "ab", false);
}

TEST(FStringTest, AppendsAsFarAsThereIsRoom) {
  struct Case {
    const char* addition;
    const char* text;
    bool truncated;
  };
  for (const Case& c :
       {Case{"", "abc", false}, Case{"de", "abcde", false}, Case{"def", "abcde", true}}) {
    FString<5> s("abcdefg");
    s = "abc";
    s += c.addition;
    expectText(s, c.text, c.truncated);
  }
  FString<5> full("abcde");
  full += "";
  expectText(full, "abcde", false);
  full += '\0';
  expectText(full, "abcde", true);
}

TEST(FStringTest, OwnTextAsSourceIsCutAtTheCapacity) {
  FString<5> s("abc");
  s += s;
  expectText(s, "abcab", true);
  s = static_cast<const Rtk::String&>(s);
  expectText(s, "abcab", false);
  const FString<5>& same = s;
  s = same;
  expectText(s, "abcab", false);
}

TEST(FStringTest, CopiesShareNoStorage) {
  FString<5> original("abc");
  FString<5> copy(original);
  FString<5> assigned;
  assigned = original;
  original.setChar(0, 'x');
  expectText(copy, "abc", false);
  expectText(assigned, "abc", false);
  Rtk::FStringBase& base = assigned;
  base = static_cast<const Rtk::FStringBase&>(FString<9>("abcdefgh"));
  expectText(assigned, "abcde", true);
  EXPECT_EQ(assigned.maxLength(), 5);
}

TEST(FStringTest, OperatorsReturnTheString) {
  FString<5> s;
  EXPECT_EQ(&(s = "a"), &s);
  EXPECT_EQ(&(s = 'a'), &s);
  EXPECT_EQ(&(s = 1), &s);
  EXPECT_EQ(&(s = 1U), &s);
  EXPECT_EQ(&(s = 1L), &s);
  EXPECT_EQ(&(s = 1UL), &s);
  EXPECT_EQ(&(s = FString<9>("a")), &s);
  EXPECT_EQ(&(s = FString<5>("a")), &s);
  EXPECT_EQ(&(s += "a"), &s);
  EXPECT_EQ(&(s += 'a'), &s);
  EXPECT_EQ(&(s += 1), &s);
  EXPECT_EQ(&(s += 1U), &s);
  EXPECT_EQ(&(s += 1L), &s);
  EXPECT_EQ(&(s += 1UL), &s);
  EXPECT_EQ(&(s += s), &s);
}

TEST(FStringTest, CopyInJudgesTheGivenSize) {
  FString<5> s;
  s.copyIn("ab", 6);
  expectText(s, "ab", true);
  s.copyIn("abcdefg", 5);
  expectText(s, "abcde", false);
  s.copyIn("xyz", -1);
  expectText(s, "", false);
  s.appendTo("xyz", -1);
  expectText(s, "", false);
  s.appendTo("ab", 6);
  expectText(s, "ab", true);
}

struct InsertCase {
  const char* before;
  int position;
  const char* inserted;
  const char* after;
  bool truncated;
};

class FStringInsertTest : public ::testing::TestWithParam<InsertCase> {};

// The result does not depend on whether the string was truncated before.
TEST_P(FStringInsertTest, KeepsWhatTheRoomAllows) {
  const InsertCase& c = GetParam();
  for (const bool truncated : {false, true}) {
    FString<10> s(c.before);
    if (truncated) {
      s.copyIn(c.before, 11);
    }
    ASSERT_EQ(s.truncated(), truncated);
    s.insertAt(c.position, c.inserted);
    expectText(s, c.after, c.truncated);
  }
}

INSTANTIATE_TEST_SUITE_P(
    AtTheStart, FStringInsertTest,
    ::testing::Values(InsertCase{"abcdef", 0, "XY", "XYabcdef", false},
                      InsertCase{"abcdef", -3, "XY", "XYabcdef", false},
                      InsertCase{"abcdef", 0, "WXYZ", "WXYZabcdef", false},
                      InsertCase{"abcdef", 0, "VWXYZ", "VWXYZabcde", true},
                      InsertCase{"abcdef", 0, "", "abcdef", false},
                      InsertCase{"abcdef", 0, "0123456789", "0123456789", true},
                      InsertCase{"abcdef", 0, "0123456789A", "0123456789", true}));

// The position weighs twice: the further behind, the less of the tail survives.
INSTANTIATE_TEST_SUITE_P(Within, FStringInsertTest,
                         ::testing::Values(InsertCase{"abcdef", 2, "XY", "abXYcdef", false},
                                           InsertCase{"abcdef", 3, "XY", "abcXYde", true},
                                           InsertCase{"abcdef", 4, "XY", "abcdXY", true},
                                           InsertCase{"abcdef", 4, "X", "abcdXe", true},
                                           InsertCase{"abcdef", 5, "X", "abcdeX", true},
                                           InsertCase{"abcdef", 5, "XYZ", "abcdeXYZ", true},
                                           InsertCase{"abcdef", 5, "UVWXYZ", "abcdeUVWXY", true},
                                           InsertCase{"abcdefghij", 5, "X", "abcdeXghij", true},
                                           InsertCase{"abcdefgh", 4, "", "abcdef", true},
                                           InsertCase{"abcdefgh", 5, "", "abcdefgh", true}));

INSTANTIATE_TEST_SUITE_P(AtTheEnd, FStringInsertTest,
                         ::testing::Values(InsertCase{"abcdef", 6, "XY", "abcdefXY", false},
                                           InsertCase{"abcdef", 99, "WXYZ", "abcdefWXYZ", false},
                                           InsertCase{"abcdef", 99, "VWXYZ", "abcdefVWXY", true},
                                           InsertCase{"", 0, "XY", "XY", false},
                                           InsertCase{"", -1, "", "", false},
                                           InsertCase{"abcdefghij", 10, "X", "abcdefghij", true},
                                           InsertCase{"abcdefghij", 10, "", "abcdefghij", false}));

TEST(FStringTest, InsertingOverTheWholeTailRevealsTheOlderTextBehindIt) {
  struct Case {
    int position;
    const char* inserted;
    const char* after;
  };
  for (const Case& c : {Case{4, "XYZ", "abcdXYZhij"}, Case{5, "XY", "abcdeXYhij"},
                        Case{4, "XY", "abcdXY"}, Case{5, "UVWXYZ", "abcdeUVWXY"}}) {
    FString<10> s("abcdefghij");
    s = "abcdef";
    s.insertAt(c.position, c.inserted);
    expectText(s, c.after, true);
  }
}

// Otherwise inserting would reveal what the memory held before the string was made.
TEST(FStringTest, DefinesAllItsBytesWhenItIsConstructed) {
  const std::function<FString<10>*(void*)> constructors[] = {
      [](void* place) { return new (place) FString<10>(); },
      [](void* place) { return new (place) FString<10>('7'); },
      [](void* place) { return new (place) FString<10>("7"); },
      [](void* place) { return new (place) FString<10>(static_cast<const char*>(nullptr)); },
      [](void* place) { return new (place) FString<10>(7); },
      [](void* place) { return new (place) FString<10>(7U); },
      [](void* place) { return new (place) FString<10>(7L); },
      [](void* place) { return new (place) FString<10>(7UL); },
  };
  for (const auto& construct : constructors) {
    alignas(FString<10>) char memory[sizeof(FString<10>)];
    std::memset(memory, '#', sizeof memory);
    FString<10>* const s = construct(memory);
    const char* const text = s->getString();
    EXPECT_EQ(std::count(text + s->length(), text + 11, '\0'), 11 - s->length());
    s->~FString();
  }
}

// Inserting a part of the own text gives what inserting a copy of it gives.
TEST(FStringTest, InsertsItsOwnTextAsItWouldACopy) {
  const std::string text = "abcdefghi";
  for (int position = -1; position <= 10; ++position) {
    for (int offset = 0; offset <= 9; ++offset) {
      FString<12> expected(text.c_str());
      expected.insertAt(position, text.c_str() + offset);
      FString<12> s(text.c_str());
      s.insertAt(position, s.getString() + offset);
      EXPECT_STREQ(s.getString(), expected.getString()) << position << " " << offset;
      EXPECT_EQ(s.truncated(), expected.truncated()) << position << " " << offset;
    }
  }
}

// What follows the text is older text, which a later insertion may reveal.
TEST(FStringTest, InsertingItsOwnTextLeavesTheBytesAfterIt) {
  const std::size_t length = 8;
  for (int position = 0; position <= 7; ++position) {
    for (int offset = 0; offset <= 8; ++offset) {
      FString<11> s;
      int size = 0;
      char* const buffer = s.getBuffer(size);
      const std::string before("abcdefgh\0xy\0", 12);
      before.copy(buffer, before.size());
      s.insertAt(position, buffer + offset);
      const std::size_t end = std::max(std::strlen(buffer) + 1, length);
      EXPECT_EQ(std::string(buffer, 12).substr(end), before.substr(end))
          << position << " " << offset;
    }
  }
}

TEST(FStringTest, InsertingEndsTheTextAtTheCapacity) {
  FString<10> s;
  int size = 0;
  char* const buffer = s.getBuffer(size);
  std::memset(buffer, '#', 11);
  std::memcpy(buffer, "abcdef", 7);
  s.insertAt(4, "XYZ");
  expectText(s, "abcdXYZ###", true);
}

TEST(FStringTest, WritesNothingBehindItsStorage) {
  using Small = FString<3>;
  const std::function<Small*(void*)> constructors[] = {
      [](void* place) { return new (place) Small(); },
      [](void* place) { return new (place) Small('7'); },
      [](void* place) { return new (place) Small("7777"); },
      [](void* place) { return new (place) Small(7777); },
      [](void* place) { return new (place) Small(7777U); },
      [](void* place) { return new (place) Small(7777L); },
      [](void* place) { return new (place) Small(7777UL); },
  };
  const std::function<void(Small&)> operations[] = {
      [](Small& s) { s = "7777"; },
      [](Small& s) { s = 7777; },
      [](Small& s) { s += "7777"; },
      [](Small& s) { s += 7777; },
      [](Small& s) { s.insertAt(0, "7777"); },
      [](Small& s) {
        s = "abc";
        s.insertAt(0, s.getString() + 2);
      },
  };
  for (const auto& construct : constructors) {
    for (const auto& operation : operations) {
      alignas(Small) char memory[sizeof(Small) + 1];
      std::memset(memory, '#', sizeof memory);
      Small* const s = construct(memory);
      ASSERT_EQ(s->getString() + 4, memory + sizeof(Small));
      EXPECT_EQ(memory[sizeof(Small)], '#');
      operation(*s);
      EXPECT_EQ(memory[sizeof(Small)], '#');
      s->~Small();
    }
  }
}

}  // namespace
