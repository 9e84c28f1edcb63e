// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/string/DString.h"

#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include <functional>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "rtk/string/FString.h"

namespace {

// What the program's malloc and free do and saw; the linker directs their calls to those below.
struct Heap {
  static bool refusing;
  static int timesAsked;
  static void* watched;
  static int timesFreed;
};

bool Heap::refusing = false;
int Heap::timesAsked = 0;
void* Heap::watched = nullptr;
int Heap::timesFreed = 0;

}  // namespace

// The names are the linker's.
// NOLINTBEGIN(clang-diagnostic-reserved-identifier)
extern "C" {
void* __real_malloc(std::size_t size);
void __real_free(void* block);

void* __wrap_malloc(std::size_t size) {
  ++Heap::timesAsked;
  // A new block may hold anything, and another object may follow it.
  const std::size_t filled = size + 1;
  void* const block = Heap::refusing ? nullptr : __real_malloc(filled);
  if (block != nullptr) {
    std::memset(block, '#', filled);
  }
  return block;
}

void __wrap_free(void* block) {
  if (block != nullptr && block == Heap::watched) {
    ++Heap::timesFreed;
  }
  __real_free(block);
}
}
// NOLINTEND(clang-diagnostic-reserved-identifier)

namespace {

using Rtk::DString;
using Rtk::FString;
using Rtk::String;

class NoMemory {
 public:
  NoMemory() { Heap::refusing = true; }
  ~NoMemory() { Heap::refusing = false; }
};

// Counts how often the buffer that the string has now is freed.
class WatchedBlock {
 public:
  explicit WatchedBlock(const String& s) {
    Heap::watched = const_cast<char*>(s.getString());
    Heap::timesFreed = 0;
  }
  ~WatchedBlock() { Heap::watched = nullptr; }
  int timesFreed() const { return Heap::timesFreed; }
};

void expectText(const String& s, const char* text, int maxLength, bool truncated) {
  EXPECT_STREQ(s.getString(), text);
  EXPECT_EQ(s.maxLength(), maxLength) << text;
  EXPECT_EQ(s.truncated(), truncated) << text;
}

class DStringTest : public ::testing::Test {
 protected:
  // A string of 5 characters with room for 15.
  DString hello{"hello", 0, 16};
};

TEST_F(DStringTest, TextSizesTheFirstBlock) {
  expectText(hello, "hello", 15, false);
  expectText(DString("", 0, 16), "", 15, false);
  expectText(DString("123456789012345", 0, 16), "123456789012345", 15, false);
  expectText(DString("1234567890123456", 0, 16), "1234567890123456", 31, false);
  expectText(DString("hello", 15, 16), "hello", 15, false);
  expectText(DString("hello", 16, 16), "hello", 31, false);
  expectText(DString("hello", -5, 16), "hello", 15, false);
  expectText(DString("hello", 0, 1), "hello", 5, false);
  expectText(DString("", 0, 1), "", 0, false);
}

TEST_F(DStringTest, NullSizesTheFirstBlockByTheHint) {
  expectText(DString(nullptr, 0, 1), "", 1, false);
  expectText(DString(nullptr, -9, 1), "", 1, false);
  expectText(DString(nullptr, 7, 1), "", 7, false);
  expectText(DString(), "", 15, false);
}

TEST_F(DStringTest, ACharacterSizesTheFirstBlockByTheHint) {
  expectText(DString('c', 0, 1), "c", 1, false);
  expectText(DString('c', -9, 1), "c", 1, false);
  expectText(DString('c', 7, 1), "c", 7, false);
  expectText(DString('\0', 0, 1), "", 1, false);
}

TEST_F(DStringTest, AnotherStringSizesTheFirstBlock) {
  expectText(DString(FString<8>("abc"), 0, 4), "abc", 3, false);
  expectText(DString(FString<8>("abc"), 9, 4), "abc", 11, false);
  expectText(DString(FString<8>(""), -9, 1), "", 0, false);
  expectText(DString(hello, 0, 4), "hello", 7, false);
  expectText(DString(hello, 9, 4), "hello", 11, false);
}

TEST_F(DStringTest, AStringWithoutABufferMakesAnEmptyOne) {
  class Bufferless : public FString<4> {
   public:
    const char* getString() const override { return nullptr; }
    int length() const override { return 2; }
  };
  const Bufferless none;
  expectText(DString(none, 0, 4), "", 3, false);
  DString s("abc");
  s = none;
  expectText(s, "", 15, false);
}

TEST_F(DStringTest, NumbersGetRoomForTwentyCharacters) {
  expectText(DString(7, 0, 8), "7", 23, false);
  expectText(DString(7U, 0, 8), "7", 23, false);
  expectText(DString(-7L, 0, 8), "-7", 23, false);
  expectText(DString(7UL, 0, 8), "7", 23, false);
  expectText(DString(-7, 24, 8), "-7", 31, false);
  expectText(DString(INT_MIN, 0, 1), std::to_string(INT_MIN).c_str(), 20, false);
  expectText(DString(LONG_MIN, 0, 1), std::to_string(LONG_MIN).c_str(), 20, false);
  expectText(DString(ULONG_MAX, 0, 1), std::to_string(ULONG_MAX).c_str(), 20, false);
}

template <class Value>
void expectStoredWhole(Value value) {
  const std::string text = std::to_string(value);
  EXPECT_EQ(DString(value).getString(), text);
  DString s("before", 0, 1);
  s = value;
  EXPECT_EQ(s.getString(), text);
  s += value;
  EXPECT_EQ(s.getString(), text + text);
  EXPECT_FALSE(s.truncated());
}

TEST_F(DStringTest, StoresTheExtremesOfEveryNumber) {
  expectStoredWhole(INT_MIN);
  expectStoredWhole(INT_MAX);
  expectStoredWhole(UINT_MAX);
  expectStoredWhole(LONG_MIN);
  expectStoredWhole(LONG_MAX);
  expectStoredWhole(ULONG_MAX);
}

TEST_F(DStringTest, HintAndIncrementHaveDefaults) {
  expectText(DString("hello"), "hello", 15, false);
  expectText(DString("hello", 20), "hello", 31, false);
  expectText(DString('c'), "c", 15, false);
  expectText(DString(FString<8>("abc")), "abc", 15, false);
  expectText(DString(1), "1", 31, false);
  expectText(DString(1U), "1", 31, false);
  expectText(DString(1L), "1", 31, false);
  expectText(DString(1UL), "1", 31, false);
}

TEST_F(DStringTest, CopiesShareNoStorage) {
  DString copy(hello);
  DString assigned;
  assigned = hello;
  hello.setChar(0, 'j');
  expectText(copy, "hello", 15, false);
  expectText(assigned, "hello", 15, false);
}

TEST_F(DStringTest, AssigningGrowsAndNeverShrinks) {
  struct Case {
    const char* text;
    int maxLength;
  };
  for (const Case& c :
       {Case{"123456789012345", 15}, Case{"1234567890123456", 31}, Case{"a", 31}, Case{"", 31}}) {
    hello = c.text;
    expectText(hello, c.text, c.maxLength, false);
  }
  hello = DString("a text of thirty-two characters.");
  expectText(hello, "a text of thirty-two characters.", 47, false);
  hello = DString("");
  expectText(hello, "", 47, false);
}

TEST_F(DStringTest, AssigningAnEmptyStringNeedsNoRoom) {
  DString s("", 0, 1);
  s = DString("");
  expectText(s, "", 0, false);
  s = FString<8>("");
  expectText(s, "", 0, false);
  s = "";
  expectText(s, "", 0, false);
}

// What is shared when there is no memory is a single byte.
TEST_F(DStringTest, AssigningNullWritesTheFirstByteAlone) {
  hello = static_cast<const char*>(nullptr);
  EXPECT_EQ(std::string(hello.getString(), 6), std::string("\0ello\0", 6));
}

TEST_F(DStringTest, AssigningClearsTheFlagAndNullLeavesIt) {
  for (const bool copying : {false, true}) {
    hello.format("%99d", 1);
    if (copying) {
      hello.copyIn(nullptr, 3);
    } else {
      hello = static_cast<const char*>(nullptr);
    }
    expectText(hello, "", 15, true);
    hello = "";
    expectText(hello, "", 15, false);
    hello = static_cast<const char*>(nullptr);
    expectText(hello, "", 15, false);
  }
}

TEST_F(DStringTest, NumbersGrowTheString) {
  DString s("", 0, 4);
  s = 1234567;
  expectText(s, "1234567", 7, false);
  s += 89U;
  EXPECT_STREQ(s.getString(), "123456789");
  s = LONG_MIN;
  s += ULONG_MAX;
  EXPECT_EQ(s.getString(), std::to_string(LONG_MIN) + std::to_string(ULONG_MAX));
  EXPECT_FALSE(s.truncated());
}

TEST_F(DStringTest, AppendingGrowsOneByteSoonerThanNeeded) {
  hello += "123456789";
  expectText(hello, "hello123456789", 15, false);
  hello += "";
  expectText(hello, "hello123456789", 15, false);
  hello += "x";
  expectText(hello, "hello123456789x", 31, false);
}

TEST_F(DStringTest, AppendingGrowsFromTheOldCapacity) {
  hello += "1234567890";
  expectText(hello, "hello1234567890", 31, false);
  DString hinted("hello", 100, 16);
  hinted += std::string(107, 'x').c_str();
  EXPECT_EQ(hinted.maxLength(), 223);
  EXPECT_EQ(hinted.length(), 112);
}

TEST_F(DStringTest, AppendingNothingToAFullStringTakesANewBlock) {
  DString full("abc", 0, 4);
  const WatchedBlock block(full);
  full += "";
  expectText(full, "abc", 3, false);
  EXPECT_EQ(block.timesFreed(), 1);
}

TEST_F(DStringTest, AppendingNullDoesNothing) {
  hello.format("%99d", 1);
  const std::string before = hello.getString();
  hello += static_cast<const char*>(nullptr);
  hello.appendTo(nullptr, 3);
  expectText(hello, before.c_str(), 15, true);
  hello += "";
  EXPECT_FALSE(hello.truncated());
}

TEST_F(DStringTest, FormattingNeverGrows) {
  hello.format("%s", "1234567890123456");
  expectText(hello, "123456789012345", 15, true);
  hello = "hello";
  hello.formatAppend("%s", "12345678901");
  expectText(hello, "hello1234567890", 15, true);
}

TEST_F(DStringTest, InsertingKeepsTheWholeTail) {
  struct Case {
    int position;
    const char* inserted;
    const char* after;
    int maxLength;
  };
  for (const Case& c :
       {Case{0, "XY", "XYhello", 15}, Case{-3, "XY", "XYhello", 15}, Case{4, "XY", "hellXYo", 15},
        Case{5, "XY", "helloXY", 15}, Case{5, "1234567890", "hello1234567890", 31},
        Case{99, "XY", "helloXY", 15}, Case{4, "", "hello", 15},
        Case{4, "123456789", "hell123456789o", 15}, Case{4, "1234567890", "hell1234567890o", 15},
        Case{1, "12345678901", "h12345678901ello", 31}}) {
    DString s("hello", 0, 16);
    s.insertAt(c.position, c.inserted);
    expectText(s, c.after, c.maxLength, false);
  }
}

TEST_F(DStringTest, InsertingBehindTheTextRunsTheAppendingOfTheConcreteType) {
  class Marking : public DString {
   public:
    using DString::DString;
    void appendTo(const char* src, int n) override {
      DString::appendTo(src, n);
      setChar(0, '*');
    }
  };
  Marking s("hello");
  s.insertAt(4, "X");
  EXPECT_STREQ(s.getString(), "hellXo");
  s.insertAt(6, "Y");
  EXPECT_STREQ(s.getString(), "*ellXoY");
}

TEST_F(DStringTest, InsertingClearsTheFlagAndNullLeavesIt) {
  hello.format("%99d", 1);
  hello.insertAt(0, nullptr);
  EXPECT_TRUE(hello.truncated());
  hello.insertAt(0, "");
  EXPECT_FALSE(hello.truncated());
}

// The source is then the block that growing replaces.
TEST_F(DStringTest, AppendsItsOwnTextWhileItGrows) {
  DString s("abcdefg", 0, 8);
  s += s;
  expectText(s, "abcdefgabcdefg", 15, false);
  s += s.getString() + 4;
  expectText(s, "abcdefgabcdefgefgabcdefg", 31, false);
}

TEST_F(DStringTest, StoresItsOwnTextWhileItGrows) {
  DString s("abcdefg", 0, 8);
  s.copyIn(s.getString() + 2, 20);
  expectText(s, "cdefg", 23, false);
}

TEST_F(DStringTest, InsertsItsOwnTextWhileItGrows) {
  const std::string text = "abcdefg";
  for (std::size_t position = 0; position <= 7; ++position) {
    for (std::size_t offset = 0; offset <= 7; ++offset) {
      DString s(text.c_str(), 0, 8);
      s.insertAt(static_cast<int>(position), s.getString() + offset);
      std::string expected = text;
      EXPECT_EQ(s.getString(), expected.insert(position, text, offset)) << position << offset;
    }
  }
}

TEST_F(DStringTest, FreesEachBlockOnce) {
  const std::function<void(DString&)> growths[] = {
      [](DString& s) { s = "1234567890123456"; },
      [](DString& s) { s += "1234567890"; },
      [](DString& s) { s.insertAt(1, "1234567890"); },
  };
  for (const auto& grow : growths) {
    DString s("hello", 0, 16);
    const WatchedBlock block(s);
    grow(s);
    EXPECT_EQ(block.timesFreed(), 1);
  }
  std::optional<DString> s("hello");
  const WatchedBlock block(*s);
  *s = "a text";
  *s += "!";
  EXPECT_EQ(block.timesFreed(), 0);
  s.reset();
  EXPECT_EQ(block.timesFreed(), 1);
}

TEST_F(DStringTest, WritesNothingBehindItsBlock) {
  const std::function<void(std::optional<DString>&)> cases[] = {
      [](auto& s) { s.emplace('a', 0, 1); },
      [](auto& s) { s.emplace("abc", 0, 1); },
      [](auto& s) { s.emplace(FString<4>("abc"), 0, 1); },
      [](auto& s) { s.emplace("", 0, 1) = 'a'; },
      [](auto& s) { s.emplace("", 0, 1) = "abc"; },
      [](auto& s) { s.emplace("abc", 0, 1) += 'a'; },
      [](auto& s) { s.emplace("abc", 0, 1) += "abc"; },
      [](auto& s) { s.emplace("abc", 0, 1).insertAt(1, "abc"); },
      [](auto& s) { s.emplace("abc", 0, 1).format("%d", 12345); },
  };
  for (const auto& store : cases) {
    std::optional<DString> s;
    store(s);
    EXPECT_EQ(s->getString()[s->maxLength() + 1], '#') << s->getString();
  }
}

TEST_F(DStringTest, OperatorsReturnTheString) {
  EXPECT_EQ(&(hello = "a"), &hello);
  EXPECT_EQ(&(hello = 'a'), &hello);
  EXPECT_EQ(&(hello = 1), &hello);
  EXPECT_EQ(&(hello = 1U), &hello);
  EXPECT_EQ(&(hello = 1L), &hello);
  EXPECT_EQ(&(hello = 1UL), &hello);
  EXPECT_EQ(&(hello = FString<4>("a")), &hello);
  EXPECT_EQ(&(hello = DString("a")), &hello);
  EXPECT_EQ(&(hello += "a"), &hello);
  EXPECT_EQ(&(hello += 'a'), &hello);
  EXPECT_EQ(&(hello += 1), &hello);
  EXPECT_EQ(&(hello += 1U), &hello);
  EXPECT_EQ(&(hello += 1L), &hello);
  EXPECT_EQ(&(hello += 1UL), &hello);
  EXPECT_EQ(&(hello += hello), &hello);
}

class DStringWithoutMemoryTest : public ::testing::Test {
 protected:
  DStringWithoutMemoryTest() {
    const NoMemory none;
    shared.emplace("hello", 0, 16);
  }

  static void withoutMemory(DString& s, const std::function<void(DString&)>& operation) {
    const NoMemory none;
    operation(s);
  }

  // A string that got no block.
  std::optional<DString> shared;
};

TEST_F(DStringWithoutMemoryTest, EveryConstructorFallsBackToTheSharedEmptyString) {
  const FString<8> fixed("abc");
  const DString dynamic("abc");
  const std::function<void(std::optional<DString>&)> constructors[] = {
      [](auto& s) { s.emplace('c', 0, 16); },   [](auto& s) { s.emplace("", 0, 16); },
      [](auto& s) { s.emplace("abc", 0, 16); }, [&](auto& s) { s.emplace(fixed, 0, 16); },
      [&](auto& s) { s.emplace(dynamic); },     [](auto& s) { s.emplace(7, 0, 16); },
      [](auto& s) { s.emplace(7U, 0, 16); },    [](auto& s) { s.emplace(7L, 0, 16); },
      [](auto& s) { s.emplace(7UL, 0, 16); },
  };
  for (const auto& construct : constructors) {
    std::optional<DString> s;
    {
      const NoMemory none;
      construct(s);
    }
    expectText(*s, "", 0, true);
    EXPECT_EQ(s->getString(), shared->getString());
  }
}

TEST_F(DStringWithoutMemoryTest, SizesPastTheIntegersCountAsNoMemory) {
  expectText(DString("hello", INT_MAX, 16), "", 0, true);
  DString s("hello", 0, 16);
  s.copyIn("world", INT_MAX);
  expectText(s, "world", 15, true);
  s.appendTo("!", INT_MAX);
  expectText(s, "world!", 15, true);
}

TEST_F(DStringWithoutMemoryTest, ANegativeIncrementCountsAsNoMemory) {
  expectText(DString("hello", 0, -16), "", 0, true);
}

TEST_F(DStringWithoutMemoryTest, ABlockGotLaterIsKeptAndFreedOnce) {
  const std::function<void(DString&)> stores[] = {
      [](DString& s) { s = "hello"; },
      [](DString& s) { s += "hello"; },
      [](DString& s) { s.insertAt(0, "hello"); },
  };
  for (const auto& store : stores) {
    std::optional<DString> s;
    {
      const NoMemory none;
      s.emplace("lost", 0, 16);
    }
    store(*s);
    const WatchedBlock block(*s);
    *s = "a text";
    *s += "!";
    EXPECT_EQ(block.timesFreed(), 0);
    s.reset();
    EXPECT_EQ(block.timesFreed(), 1);
  }
}

TEST_F(DStringWithoutMemoryTest, TheSharedStringIsNeverFreed) {
  const WatchedBlock block(*shared);
  *shared = "a text";
  EXPECT_EQ(block.timesFreed(), 0);
  std::optional<DString> other;
  {
    const NoMemory none;
    other.emplace("hello");
  }
  other.reset();
  EXPECT_EQ(block.timesFreed(), 0);
}

TEST_F(DStringWithoutMemoryTest, TheSharedStringStaysEmptyWhateverIsDoneInPlace) {
  int size = -1;
  DString& s = *shared;
  s.clear();
  s.setChar(0, 'x');
  s.cut(0, 0);
  s.trimRight(1);
  s.toUpper();
  s.toLower();
  s.rot13();
  EXPECT_EQ(s.replace('x', 'y'), 0);
  s.removeLeadingSpaces();
  s.removeTrailingSpaces();
  s.removeLeadingChars("x");
  s.removeTrailingChars("x");
  s.getBuffer(size);
  EXPECT_EQ(size, 0);
  expectText(s, "", 0, false);
  s.format("%d", 1);
  expectText(s, "", 0, true);
  s.formatAppend("%s", "");
  expectText(s, "", 0, false);
}

TEST_F(DStringWithoutMemoryTest, AnyTextStoredOrAppendedTriesAgain) {
  struct Case {
    std::function<void(DString&)> operation;
    const char* text;
    int maxLength;
  };
  const Case cases[] = {
      {[](DString& s) { s = "hello"; }, "hello", 15},
      {[](DString& s) { s = ""; }, "", 15},
      {[](DString& s) { s = DString("hello"); }, "hello", 15},
      {[](DString& s) { s = DString(""); }, "", 15},
      {[](DString& s) { s = 12345; }, "12345", 15},
      {[](DString& s) { s += "hello"; }, "hello", 15},
      {[](DString& s) { s.appendTo("", 0); }, "", 15},
      {[](DString& s) { s += 12345; }, "12345", 15},
      {[](DString& s) { s.insertAt(0, "hello"); }, "hello", 15},
      {[](DString& s) { s.insertAt(3, ""); }, "", 15},
  };
  for (const Case& c : cases) {
    std::optional<DString> s;
    {
      const NoMemory none;
      s.emplace("lost", 0, 16);
      c.operation(*s);
    }
    expectText(*s, "", 0, true);
    c.operation(*s);
    expectText(*s, c.text, c.maxLength, false);
    EXPECT_NE(s->getString(), shared->getString());
  }
}

TEST_F(DStringWithoutMemoryTest, NullLeavesTheSharedStringAlone) {
  *shared = static_cast<const char*>(nullptr);
  *shared += static_cast<const char*>(nullptr);
  shared->insertAt(0, nullptr);
  expectText(*shared, "", 0, true);
}

TEST_F(DStringWithoutMemoryTest, StoringCutsAtTheOldCapacity) {
  DString s("hello", 0, 8);
  withoutMemory(s, [](DString& d) { d = "12345678"; });
  expectText(s, "1234567", 7, true);
  withoutMemory(s, [](DString& d) { d = "7654321"; });
  expectText(s, "7654321", 7, false);
  withoutMemory(s, [](DString& d) { d = LONG_MIN; });
  EXPECT_EQ(s.getString(), std::to_string(LONG_MIN).substr(0, 7));
  s = "12345678";
  expectText(s, "12345678", 15, false);
}

// Appending flags a text that just fits as well, since it asks for memory one byte sooner.
TEST_F(DStringWithoutMemoryTest, AppendingCutsAtTheOldCapacity) {
  struct Case {
    const char* addition;
    const char* text;
    bool truncated;
  };
  for (const Case& c : {Case{"", "hello", false}, Case{"1", "hello1", false},
                        Case{"12", "hello12", true}, Case{"123", "hello12", true}}) {
    DString s("hello", 0, 8);
    withoutMemory(s, [&](DString& d) { d += c.addition; });
    expectText(s, c.text, 7, c.truncated);
  }
  DString own("hello", 0, 8);
  withoutMemory(own, [](DString& d) { d += d; });
  expectText(own, "hellohe", 7, true);
}

TEST_F(DStringWithoutMemoryTest, InsertingFallsBackToThatOfAFixedString) {
  struct Case {
    int position;
    const char* inserted;
    const char* after;
    bool truncated;
  };
  for (const Case& c :
       {Case{2, "XYZ", "abXYZcdef", false}, Case{0, "WXYZ", "WXYZabcdef", true},
        Case{-3, "VWXYZ", "VWXYZabcde", true}, Case{2, "WXYZ", "abWXYZcd", true},
        Case{4, "WXYZ", "abcdWXYZ", true}, Case{5, "UVWXYZ", "abcdeUVWXY", true},
        Case{6, "WXYZ", "abcdefWXYZ", true}, Case{99, "VWXYZ", "abcdefVWXY", true}}) {
    DString s("abcdef", 0, 11);
    withoutMemory(s, [&](DString& d) { d.insertAt(c.position, c.inserted); });
    expectText(s, c.after, 10, c.truncated);
  }
}

TEST_F(DStringWithoutMemoryTest, InsertingRevealsTheOlderTextAsInAFixedString) {
  DString s("abcdefghij", 0, 11);
  s = "abcdef";
  withoutMemory(s, [](DString& d) { d.insertAt(4, "XYZWV"); });
  expectText(s, "abcdXYZWVj", 10, true);
}

// Otherwise inserting would reveal what the heap held before.
TEST_F(DStringWithoutMemoryTest, InsertingRevealsNothingInANewBlock) {
  DString first("abcdef", 0, 11);
  withoutMemory(first, [](DString& d) { d.insertAt(5, "WXYZ"); });
  expectText(first, "abcdeWXYZ", 10, true);
  DString grown("", 0, 11);
  grown = "abcdefghijkl";
  withoutMemory(grown, [](DString& d) { d.insertAt(11, "UVWXYZ012"); });
  expectText(grown, "abcdefghijkUVWXYZ012", 21, true);
}

TEST_F(DStringWithoutMemoryTest, InsertsItsOwnTextAsAFixedStringDoes) {
  for (int position = -1; position <= 9; ++position) {
    for (int offset = 0; offset <= 3; ++offset) {
      FString<10> expected("abcdefgh");
      expected.insertAt(position, expected.getString() + offset);
      DString s("abcdefgh", 0, 11);
      withoutMemory(s, [&](DString& d) { d.insertAt(position, d.getString() + offset); });
      expectText(s, expected.getString(), 10, true);
    }
  }
}

TEST_F(DStringWithoutMemoryTest, FixedStringsNeverAskForMemory) {
  const int before = Heap::timesAsked;
  FString<8> s("0123456789");
  s = 1234567890;
  s += "x";
  s.insertAt(1, s.getString() + 2);
  s.insertAt(9, "x");
  const int after = Heap::timesAsked;
  EXPECT_EQ(after, before);
}

// There is no text to lose, so that nobody would learn of the failure.
TEST(DStringDeathTest, AStringFromNullNeedsMemory) {
  EXPECT_DEATH(
      {
        const NoMemory none;
        const DString s(nullptr, 0, 16);
      },
      "");
}

TEST(DStringDeathTest, AnIncrementOfZeroIsAnArithmeticFault) {
  EXPECT_EXIT(
      {
        std::signal(SIGFPE, SIG_DFL);
        const DString s("hello", 0, 0);
      },
      ::testing::KilledBySignal(SIGFPE), "");
}

TEST(DStringDeathTest, AnIncrementOfZeroEndsAProcessThatIgnoresFaults) {
  EXPECT_EXIT(
      {
        std::signal(SIGFPE, SIG_IGN);
        const DString s("hello", 0, 0);
      },
      ::testing::KilledBySignal(SIGABRT), "");
}

}  // namespace
