// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/string/StringBase.h"

#include <climits>
#include <cstdarg>
#include <cstring>
#include <cwchar>

#include <algorithm>
#include <functional>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "rtk/string/DString.h"
#include "rtk/string/FString.h"

namespace {

using Rtk::DString;
using Rtk::FString;
using Rtk::String;

// Each kind of string, with room for 40 characters and with room for 4.
struct Fixed {
  FString<40> text;
  FString<4> small;
};

struct Dynamic {
  DString text{nullptr, 0, 41};
  DString small{nullptr, 0, 5};
};

template <class Kind>
class StringBaseTest : public ::testing::Test {
 protected:
  // Calls `operation` on the text `before` with the flag set.
  void expect(const char* before, const std::function<void(String&)>& operation, const char* after,
              bool truncated) {
    SCOPED_TRACE(std::string("from '") + before + "'");
    int size = 0;
    char* buffer = text.getBuffer(size);
    text.format("%-*s", size + 1, before);
    buffer[std::strlen(before)] = '\0';
    ASSERT_TRUE(text.truncated());
    operation(text);
    EXPECT_STREQ(text.getString(), after);
    EXPECT_EQ(text.truncated(), truncated);
  }

  Kind kind;
  String& text = kind.text;
  String& small = kind.small;
};

using Kinds = ::testing::Types<Fixed, Dynamic>;

class KindNames {
 public:
  template <class Kind>
  static std::string GetName(int /*index*/) {
    return std::is_same<Kind, Fixed>::value ? "FString" : "DString";
  }
};

TYPED_TEST_SUITE(StringBaseTest, Kinds, KindNames);

TYPED_TEST(StringBaseTest, StartsEmptyAndUntruncated) {
  EXPECT_TRUE(this->text.isEmpty());
  EXPECT_FALSE(this->text.truncated());
  EXPECT_EQ(this->text.length(), 0);
  EXPECT_EQ(this->text.maxLength(), 40);
  EXPECT_EQ(this->small.maxLength(), 4);
  EXPECT_STREQ(this->text.getString(), "");
  EXPECT_EQ(static_cast<char>(this->text), '\0');
}

TYPED_TEST(StringBaseTest, ReadsItsText) {
  this->text = "hello";
  EXPECT_FALSE(this->text.isEmpty());
  EXPECT_EQ(this->text.length(), 5);
  EXPECT_STREQ(this->text.getString(), "hello");
  EXPECT_EQ(static_cast<char>(this->text), 'h');
}

TYPED_TEST(StringBaseTest, ReadingLeavesTheFlag) {
  this->expect(
      "hello",
      [](String& s) {
        const FString<8> other("x");
        int sum = s.length() + s.maxLength() + s.isEmpty() + s.compare("a") + (s == "a") +
                  (s == 'a') + (s != "a") + (s == other) + (s != other) + s.indexOf('l') +
                  s.indexOf("l") + s.lastIndexOf('l') + s.count('l') + s.startsWith("h") +
                  s.endsWith("o") + s.isEqualSubstring(0, 1, "he") + s.isEqualIgnoreCase("a") +
                  s.compareIgnoreCase("a") + s.isEqualSubstringIgnoreCase(0, 1, "HE");
        EXPECT_NE(sum, 0);
      },
      "hello", true);
}

TYPED_TEST(StringBaseTest, EqualsTheSameTextOnly) {
  struct Case {
    const char* text;
    const char* other;
    bool equal;
    bool equalIgnoringCase;
  };
  for (const Case& c : {Case{"abc", "abc", true, true}, Case{"abc", "ABC", false, true},
                        Case{"abc", "ab", false, false}, Case{"abc", "abcd", false, false},
                        Case{"", "", true, true}, Case{"", "a", false, false},
                        Case{"abc", nullptr, false, false}, Case{"", nullptr, false, false}}) {
    SCOPED_TRACE(std::string(c.text) + " and " + (c.other != nullptr ? c.other : "null"));
    this->text = c.text;
    EXPECT_EQ(this->text == c.other, c.equal);
    EXPECT_EQ(this->text != c.other, !c.equal);
    EXPECT_EQ(this->text.isEqualIgnoreCase(c.other), c.equalIgnoringCase);
    if (c.other != nullptr) {
      const FString<8> other(c.other);
      EXPECT_EQ(this->text == other, c.equal);
      EXPECT_EQ(this->text != other, !c.equal);
    }
  }
}

TYPED_TEST(StringBaseTest, EqualsACharacterByItsFirstByteAlone) {
  this->text = "abc";
  EXPECT_TRUE(this->text == 'a');
  EXPECT_FALSE(this->text == 'b');
  EXPECT_FALSE(this->text == '\0');
  this->text = "";
  EXPECT_TRUE(this->text == '\0');
}

TYPED_TEST(StringBaseTest, ComparesAsTheLibraryDoes) {
  this->text = "abc";
  EXPECT_EQ(this->text.compare("abc"), 0);
  EXPECT_LT(this->text.compare("abd"), 0);
  EXPECT_GT(this->text.compare("ABC"), 0);
  EXPECT_GT(this->text.compare("ab"), 0);
  EXPECT_EQ(this->text.compare(nullptr), -1);
  EXPECT_EQ(this->text.compareIgnoreCase("ABC"), 0);
  EXPECT_LT(this->text.compareIgnoreCase("ABD"), 0);
  EXPECT_GT(this->text.compareIgnoreCase("ABB"), 0);
  EXPECT_EQ(this->text.compareIgnoreCase(nullptr), -1);
}

TYPED_TEST(StringBaseTest, ComparesSubstringsOverAnInclusiveRange) {
  struct Case {
    int from;
    int to;
    const char* other;
    bool equal;
  };
  this->text = "hello";
  for (const Case& c :
       {Case{1, 3, "ellX", true}, Case{1, 4, "ellX", false}, Case{1, 3, "el", false},
        Case{3, 1, "l", true}, Case{3, 1, "lX", true}, Case{3, 1, "X", false},
        Case{0, 99, "hello", true}, Case{0, 99, "hell", false}, Case{1, 5, "elloX", true},
        Case{-7, 1, "he", true}, Case{2, -1, "l", true}, Case{-1, -1, "hX", true},
        Case{5, 5, "o", true}, Case{99, 99, "oX", true}, Case{99, 0, "o", true},
        Case{0, 0, nullptr, false}}) {
    SCOPED_TRACE(std::to_string(c.from) + " to " + std::to_string(c.to));
    EXPECT_EQ(this->text.isEqualSubstring(c.from, c.to, c.other), c.equal);
    EXPECT_EQ(this->text.isEqualSubstringIgnoreCase(c.from, c.to, c.other), c.equal);
  }
  EXPECT_FALSE(this->text.isEqualSubstring(1, 3, "ELL"));
  EXPECT_TRUE(this->text.isEqualSubstringIgnoreCase(1, 3, "ELL"));
}

TYPED_TEST(StringBaseTest, StartsWithAPrefixWithinTheText) {
  struct Case {
    const char* text;
    const char* prefix;
    int offset;
    bool starts;
  };
  for (const Case& c :
       {Case{"hello", "he", 0, true}, Case{"hello", "hello", 0, true},
        Case{"hello", "hellos", 0, false}, Case{"hello", "lo", 3, true},
        Case{"hello", "lox", 3, false}, Case{"hello", "lo", 2, false}, Case{"hello", "", 4, true},
        Case{"hello", "", 5, false}, Case{"hello", "", -1, false}, Case{"a", "", 0, true},
        Case{"", "", 0, false}}) {
    SCOPED_TRACE(std::string(c.text) + " " + c.prefix + " " + std::to_string(c.offset));
    this->text = c.text;
    EXPECT_EQ(this->text.startsWith(c.prefix, c.offset), c.starts);
    if (c.offset == 0) {
      EXPECT_EQ(this->text.startsWith(c.prefix), c.starts);
    }
  }
}

TYPED_TEST(StringBaseTest, EndsWithASuffixAndWithNothing) {
  this->text = "hello";
  for (const char* suffix : {"", "o", "lo", "hello"}) {
    EXPECT_TRUE(this->text.endsWith(suffix)) << suffix;
  }
  for (const char* suffix : {"l", "xhello", "hell"}) {
    EXPECT_FALSE(this->text.endsWith(suffix)) << suffix;
  }
  this->text = "";
  EXPECT_TRUE(this->text.endsWith(""));
  EXPECT_FALSE(this->text.endsWith("o"));
}

TYPED_TEST(StringBaseTest, FindsCharactersFromAnIndexWithinTheText) {
  this->text = "hello";
  EXPECT_EQ(this->text.indexOf('l'), 2);
  EXPECT_EQ(this->text.indexOf('h'), 0);
  EXPECT_EQ(this->text.indexOf('l', 2), 2);
  EXPECT_EQ(this->text.indexOf('l', 3), 3);
  EXPECT_EQ(this->text.indexOf('l', 4), -1);
  EXPECT_EQ(this->text.indexOf('l', 5), -1);
  EXPECT_EQ(this->text.indexOf('\0'), 5);
  EXPECT_EQ(this->text.indexOf('\0', 4), 5);
  EXPECT_EQ(this->text.indexOf('\0', 5), -1);
  EXPECT_EQ(this->text.lastIndexOf('\0'), 5);
  EXPECT_EQ(this->text.indexOf('l', -1), -1);
  EXPECT_EQ(this->text.indexOf('l', INT_MAX), -1);
  EXPECT_EQ(this->text.indexOf('l', INT_MIN), -1);
  EXPECT_EQ(this->text.indexOf('x'), -1);
  EXPECT_EQ(this->text.lastIndexOf('l'), 3);
  EXPECT_EQ(this->text.lastIndexOf('h'), 0);
  EXPECT_EQ(this->text.lastIndexOf('x'), -1);
  EXPECT_EQ(this->text.count('l'), 2);
  EXPECT_EQ(this->text.count('x'), 0);
}

TYPED_TEST(StringBaseTest, FindsTextFromAnIndexWithinTheText) {
  this->text = "banana";
  EXPECT_EQ(this->text.indexOf("an"), 1);
  EXPECT_EQ(this->text.indexOf("banana"), 0);
  EXPECT_EQ(this->text.indexOf("an", 1), 1);
  EXPECT_EQ(this->text.indexOf("an", 2), 3);
  EXPECT_EQ(this->text.indexOf("an", 4), -1);
  EXPECT_EQ(this->text.indexOf("", 5), 5);
  EXPECT_EQ(this->text.indexOf("", 6), -1);
  EXPECT_EQ(this->text.indexOf("a", -1), -1);
  EXPECT_EQ(this->text.indexOf("a", INT_MAX), -1);
  EXPECT_EQ(this->text.indexOf("a", INT_MIN), -1);
  EXPECT_EQ(this->text.indexOf("bananas"), -1);
}

TYPED_TEST(StringBaseTest, FindsNothingInAnEmptyText) {
  EXPECT_EQ(this->text.indexOf('a'), -1);
  EXPECT_EQ(this->text.indexOf(""), -1);
  EXPECT_EQ(this->text.indexOf('\0'), -1);
  EXPECT_EQ(this->text.lastIndexOf('a'), -1);
  EXPECT_EQ(this->text.lastIndexOf('\0'), 0);
  EXPECT_EQ(this->text.count('a'), 0);
}

TYPED_TEST(StringBaseTest, ClearEmptiesAndLeavesTheFlag) {
  this->expect(
      "hello", [](String& s) { s.clear(); }, "", true);
  this->text = "hello";
  this->text.clear();
  EXPECT_TRUE(this->text.isEmpty());
  EXPECT_FALSE(this->text.truncated());
}

TYPED_TEST(StringBaseTest, SetCharStoresWithinTheTextOnly) {
  struct Case {
    int index;
    const char* after;
  };
  for (const Case& c : {Case{0, "xello"}, Case{4, "hellx"}, Case{5, "hello"}, Case{-1, "hello"}}) {
    this->expect(
        "hello", [&](String& s) { s.setChar(c.index, 'x'); }, c.after, false);
  }
  this->expect(
      "", [](String& s) { s.setChar(0, 'x'); }, "", false);
}

TYPED_TEST(StringBaseTest, TrimRightRemovesAtMostTheText) {
  struct Case {
    int n;
    const char* after;
  };
  for (const Case& c :
       {Case{0, "hello"}, Case{2, "hel"}, Case{5, ""}, Case{9, ""}, Case{-3, "hello"}}) {
    this->expect(
        "hello", [&](String& s) { s.trimRight(c.n); }, c.after, false);
  }
  this->expect(
      "", [](String& s) { s.trimRight(1); }, "", false);
}

TYPED_TEST(StringBaseTest, TrimRightByANegativeNumberWritesNothingBehindTheText) {
  int size = 0;
  char* buffer = this->text.getBuffer(size);
  std::memcpy(buffer, "hello", 6);
  buffer[8] = '#';
  this->text.trimRight(-3);
  EXPECT_EQ(buffer[8], '#');
}

TYPED_TEST(StringBaseTest, CutRemovesAnInclusiveRange) {
  struct Case {
    int from;
    int to;
    const char* after;
  };
  for (const Case& c :
       {Case{1, 2, "hlo"}, Case{2, 10, "he"}, Case{3, 1, "hello"}, Case{0, 0, "ello"},
        Case{0, 4, ""}, Case{4, 4, "hell"}, Case{0, 3, "o"}, Case{2, 5, "he"},
        Case{1, INT_MAX, "h"}, Case{-1, 2, "hello"}, Case{-1, 9, "hello"}, Case{5, 6, "hello"}}) {
    this->expect(
        "hello", [&](String& s) { s.cut(c.from, c.to); }, c.after, false);
  }
  this->expect(
      "", [](String& s) { s.cut(0, 0); }, "", false);
}

TYPED_TEST(StringBaseTest, CutMovesTheRestAlone) {
  int size = 0;
  const char* buffer = this->text.getBuffer(size);
  this->text = "hello, you";
  this->text = "hello";
  this->text.cut(1, 2);
  EXPECT_EQ(std::string(buffer, 10), std::string("hlo\0o\0 you", 10));
}

TYPED_TEST(StringBaseTest, ReplaceCountsWhatItReplaced) {
  struct Case {
    const char* before;
    char from;
    char to;
    int replaced;
    const char* after;
  };
  for (const Case& c : {Case{"hello", 'l', 'L', 2, "heLLo"}, Case{"lol", 'l', 'L', 2, "LoL"},
                        Case{"hello", '\0', 'x', 0, "hello"}, Case{"hello", 'l', 'l', 0, "hello"},
                        Case{"hello", 'x', 'y', 0, "hello"}, Case{"", 'l', 'L', 0, ""},
                        Case{"hello", 'l', '\0', 2, "he"}}) {
    this->expect(
        c.before, [&](String& s) { EXPECT_EQ(s.replace(c.from, c.to), c.replaced); }, c.after,
        true);
  }
}

TYPED_TEST(StringBaseTest, ChangesOfCaseLeaveTheFlag) {
  this->expect(
      "Hello, 1!", [](String& s) { s.toUpper(); }, "HELLO, 1!", true);
  this->expect(
      "Hello, 1!", [](String& s) { s.toLower(); }, "hello, 1!", true);
  this->expect(
      "", [](String& s) { s.toUpper(); }, "", true);
}

TYPED_TEST(StringBaseTest, Rot13TwiceRestoresTheText) {
  this->expect(
      "AMNZ amnz 1!\xC4", [](String& s) { s.rot13(); }, "NZAM nzam 1!\xC4", true);
  this->text.rot13();
  EXPECT_STREQ(this->text.getString(), "AMNZ amnz 1!\xC4");
}

TYPED_TEST(StringBaseTest, RemovesSpacesAtEitherEnd) {
  struct Case {
    const char* before;
    const char* withoutLeading;
    const char* withoutTrailing;
  };
  for (const Case& c : {Case{" \ta b\n ", "a b\n ", " \ta b"}, Case{"ab", "ab", "ab"},
                        Case{"   ", "", ""}, Case{" a", "a", " a"}, Case{"", "", ""}}) {
    this->expect(
        c.before, [](String& s) { s.removeLeadingSpaces(); }, c.withoutLeading, false);
    this->expect(
        c.before, [](String& s) { s.removeTrailingSpaces(); }, c.withoutTrailing, false);
  }
}

TYPED_TEST(StringBaseTest, RemovesCharactersOfASetAtEitherEnd) {
  struct Case {
    const char* before;
    const char* withoutLeading;
    const char* withoutTrailing;
  };
  for (const Case& c : {Case{"+-a-b-+", "a-b-+", "+-a-b"}, Case{"ab", "ab", "ab"},
                        Case{"-+-", "", ""}, Case{"", "", ""}}) {
    this->expect(
        c.before, [](String& s) { s.removeLeadingChars("-+"); }, c.withoutLeading, false);
    this->expect(
        c.before, [](String& s) { s.removeTrailingChars("-+"); }, c.withoutTrailing, false);
  }
  this->expect(
      "ab", [](String& s) { s.removeLeadingChars(""); }, "ab", false);
  this->expect(
      "ab", [](String& s) { s.removeTrailingChars(""); }, "ab", false);
}

TYPED_TEST(StringBaseTest, GetBufferGivesTheRoomAndClearsTheFlag) {
  int size = 0;
  this->expect(
      "hello", [&](String& s) { EXPECT_EQ(s.getBuffer(size), s.getString()); }, "hello", false);
  EXPECT_EQ(size, 40);
}

TYPED_TEST(StringBaseTest, FormatNeverGrowsTheStorage) {
  struct Case {
    int number;
    const char* text;
    bool truncated;
  };
  for (const Case& c : {Case{123456, "1234", true}, Case{1, "1", false}, Case{12345, "1234", true},
                        Case{1234, "1234", false}}) {
    this->small.format("%d", c.number);
    EXPECT_STREQ(this->small.getString(), c.text);
    EXPECT_EQ(this->small.truncated(), c.truncated);
    EXPECT_EQ(this->small.maxLength(), 4);
  }
}

TYPED_TEST(StringBaseTest, FormatAppendFillsTheRoomThatIsLeft) {
  struct Case {
    const char* before;
    const char* addition;
    const char* after;
    bool truncated;
  };
  for (const Case& c :
       {Case{"", "", "", false}, Case{"a", "bcd", "abcd", false}, Case{"a", "bcde", "abcd", true},
        Case{"abcd", "e", "abcd", true}, Case{"abcd", "", "abcd", false}}) {
    this->small.format("%s", c.before);
    this->small.formatAppend("%s", c.addition);
    EXPECT_STREQ(this->small.getString(), c.after);
    EXPECT_EQ(this->small.truncated(), c.truncated);
    EXPECT_EQ(this->small.maxLength(), 4);
  }
}

// glibc cannot convert a wide character that has no multibyte form in the "C" locale.
TYPED_TEST(StringBaseTest, AFormatThatFailsIsFlagged) {
  this->small.format("%d", 1);
  this->small.format("%lc", static_cast<wint_t>(0x20AC));
  EXPECT_TRUE(this->small.truncated());
  this->small.format("%d", 1);
  this->small.formatAppend("%lc", static_cast<wint_t>(0x20AC));
  EXPECT_TRUE(this->small.truncated());
  EXPECT_LE(this->small.length(), 4);
}

TYPED_TEST(StringBaseTest, AssigningThroughTheBaseCopiesTheText) {
  decltype(this->kind.text) other;
  Rtk::StringBase& from = this->kind.text;
  Rtk::StringBase& to = other;
  from = "hello";
  to = from;
  from.setChar(0, 'j');
  EXPECT_STREQ(to.getString(), "hello");
  EXPECT_NE(to.getString(), from.getString());
}

TYPED_TEST(StringBaseTest, StoresEveryKindOfValue) {
  String& s = this->text;
  s = 'c';
  EXPECT_STREQ(s.getString(), "c");
  s = '\0';
  EXPECT_STREQ(s.getString(), "");
  s = -7;
  EXPECT_STREQ(s.getString(), "-7");
  s = 4000000000U;
  EXPECT_STREQ(s.getString(), "4000000000");
  s = -8L;
  EXPECT_STREQ(s.getString(), "-8");
  s = 9UL;
  EXPECT_STREQ(s.getString(), "9");
  s = "text";
  EXPECT_STREQ(s.getString(), "text");
  const FString<8> other("other");
  EXPECT_EQ(&(s = other), &s);
  EXPECT_STREQ(s.getString(), "other");
}

TYPED_TEST(StringBaseTest, AppendsEveryKindOfValue) {
  String& s = this->text;
  const FString<8> other("/o");
  s += 'c';
  s += -7;
  s += 4000000000U;
  s += -8L;
  s += 9UL;
  s += "text";
  EXPECT_EQ(&(s += other), &s);
  EXPECT_STREQ(s.getString(), "c-74000000000-89text/o");
  s += "";
  s += '\0';
  EXPECT_STREQ(s.getString(), "c-74000000000-89text/o");
  EXPECT_FALSE(s.truncated());
}

TYPED_TEST(StringBaseTest, StoringWhatFitsClearsTheFlag) {
  struct Case {
    std::function<void(String&)> operation;
    const char* after;
  };
  const Case cases[] = {
      {[](String& s) { s = "d"; }, "d"},
      {[](String& s) { s.copyIn("de", 1); }, "d"},
      {[](String& s) { s += "d"; }, "abcd"},
      {[](String& s) { s.appendTo("de", 1); }, "abcd"},
      {[](String& s) { s.insertAt(1, "d"); }, "adbc"},
      {[](String& s) { s.insertAt(3, "d"); }, "abcd"},
      {[](String& s) { s = 12; }, "12"},
      {[](String& s) { s += 12; }, "abc12"},
  };
  for (const Case& c : cases) {
    this->expect("abc", c.operation, c.after, false);
  }
}

TYPED_TEST(StringBaseTest, StoresAtMostTheGivenBytesUpToANul) {
  struct Case {
    int n;
    const char* stored;
  };
  for (const Case& c : {Case{0, ""}, Case{2, "ab"}, Case{3, "abc"}, Case{6, "abc"}, Case{-1, ""}}) {
    this->text = "hello";
    this->text.copyIn("abc\0def", c.n);
    EXPECT_STREQ(this->text.getString(), c.stored);
    this->text = "hello";
    this->text.appendTo("abc\0def", c.n);
    EXPECT_EQ(this->text.getString(), std::string("hello") + c.stored);
    EXPECT_FALSE(this->text.truncated());
  }
}

TYPED_TEST(StringBaseTest, TakesItsOwnTextAsSource) {
  String& s = this->text;
  s = "hello";
  s = static_cast<const String&>(s);
  EXPECT_STREQ(s.getString(), "hello");
  s += s;
  EXPECT_STREQ(s.getString(), "hellohello");
  s = s.getString() + 3;
  EXPECT_STREQ(s.getString(), "lohello");
  s += s.getString() + 5;
  EXPECT_STREQ(s.getString(), "lohellolo");
  s.copyIn(s.getString(), 4);
  EXPECT_STREQ(s.getString(), "lohe");
}

TYPED_TEST(StringBaseTest, InsertingMovesTheTailAlone) {
  int size = 0;
  const char* buffer = this->text.getBuffer(size);
  this->text = "abcdefghij";
  this->text = "hello";
  this->text.insertAt(1, "X");
  EXPECT_EQ(std::string(buffer, 10), std::string("hXello\0hij", 10));
}

// Storing and appending write the bytes of the text and its end. Inserting may turn what follows
// into text.
TYPED_TEST(StringBaseTest, StoringLeavesTheBytesAfterTheText) {
  struct Case {
    std::function<void(String&)> operation;
    std::string bytes;
  };
  const Case cases[] = {
      {[](String& s) { s = "xyz"; }, std::string("xyz\0efghij", 10)},
      {[](String& s) { s = 'x'; }, std::string("x\0cdefghij", 10)},
      {[](String& s) { s = FString<4>("xy"); }, std::string("xy\0defghij", 10)},
      {[](String& s) { s = 12; }, std::string("12\0defghij", 10)},
      {[](String& s) { s.copyIn("x\0yz", 4); }, std::string("x\0\0\0\0fghij", 10)},
      {[](String& s) { s.clear(); }, std::string("\0bcdefghij", 10)},
      {[](String& s) { s.trimRight(8); }, std::string("ab\0defghij", 10)},
      {[](String& s) { s.cut(2, 99); }, std::string("ab\0defghij", 10)},
      {[](String& s) { s.cut(0, 7); }, std::string("ij\0defghij", 10)},
      {[](String& s) { s.format("%d", 12); }, std::string("12\0defghij", 10)},
      {[](String& s) { s.removeTrailingChars("hij"); }, std::string("abcdefg\0ij", 10)},
      {[](String& s) { s.removeLeadingChars("abcdefgh"); }, std::string("ij\0defghij", 10)},
  };
  for (const Case& c : cases) {
    this->text = "abcdefghij";
    c.operation(this->text);
    EXPECT_EQ(std::string(this->text.getString(), 10), c.bytes);
  }
}

TYPED_TEST(StringBaseTest, AppendingLeavesTheBytesAfterTheText) {
  struct Case {
    std::function<void(String&)> operation;
    std::string bytes;
  };
  const Case cases[] = {
      {[](String& s) { s += "xyz"; }, std::string("abxyz\0ghij", 10)},
      {[](String& s) { s += 'x'; }, std::string("abx\0efghij", 10)},
      {[](String& s) { s += FString<4>("xy"); }, std::string("abxy\0fghij", 10)},
      {[](String& s) { s += 12; }, std::string("ab12\0fghij", 10)},
      {[](String& s) { s.appendTo("x\0yz", 4); }, std::string("abx\0ef\0hij", 10)},
      {[](String& s) { s.formatAppend("%d", 12); }, std::string("ab12\0fghij", 10)},
      {[](String& s) { s.insertAt(2, "xy"); }, std::string("abxy\0fghij", 10)},
      {[](String& s) { s.insertAt(1, "xy"); }, std::string("axyb\0fghij", 10)},
  };
  for (const Case& c : cases) {
    this->text = "abcdefghij";
    this->text.trimRight(8);
    c.operation(this->text);
    EXPECT_EQ(std::string(this->text.getString(), 10), c.bytes);
  }
}

TYPED_TEST(StringBaseTest, AppendsTheOlderTextOfItsBuffer) {
  this->text = "abcdefgh";
  this->text = "ab";
  this->text.appendTo(this->text.getString() + 3, 3);
  EXPECT_STREQ(this->text.getString(), "abdef");
}

// Every place to insert at, with every part of the text as what is inserted.
TYPED_TEST(StringBaseTest, InsertsPartsOfItsOwnText) {
  const std::string own = "abcde";
  for (int position = -1; position <= 6; ++position) {
    for (std::size_t offset = 0; offset <= own.size(); ++offset) {
      this->text = own.c_str();
      this->text.insertAt(position, this->text.getString() + offset);
      const auto at = static_cast<std::size_t>(std::clamp(position, 0, 5));
      EXPECT_EQ(this->text.getString(), std::string(own).insert(at, own, offset))
          << position << " " << offset;
    }
  }
}

}  // namespace
