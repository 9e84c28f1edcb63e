// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <cstdarg>
#include <cstddef>

#include <functional>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "rtk/string/DString.h"
#include "rtk/string/FString.h"

namespace {

using Rtk::DString;
using Rtk::FString;

// Tells which virtual operations run.
template <class Base>
class Recorder : public Base {
 public:
  Recorder() : Base("ab") {}
  using Base::operator=;

  std::string marksOf(const std::function<void(Recorder&)>& operation) {
    _marks.clear();
    operation(*this);
    return _marks;
  }

  const char* getString() const override {
    _marks += "getString ";
    return Base::getString();
  }
  int length() const override {
    _marks += "length ";
    return Base::length();
  }
  int maxLength() const override {
    _marks += "maxLength ";
    return Base::maxLength();
  }
  void trimRight(int n) override {
    _marks += "trimRight ";
    Base::trimRight(n);
  }
  void copyIn(const char* src, int n) override {
    _marks += "copyIn ";
    Base::copyIn(src, n);
  }
  void appendTo(const char* src, int n) override {
    _marks += "appendTo ";
    Base::appendTo(src, n);
  }
  void vformat(const char* fmt, va_list args) override {
    _marks += "vformat ";
    Base::vformat(fmt, args);
  }
  void vformatAppend(const char* fmt, va_list args) override {
    _marks += "vformatAppend ";
    Base::vformatAppend(fmt, args);
  }

 private:
  mutable std::string _marks;
};

template <class Base>
struct MarkCase {
  const char* name;
  std::function<void(Recorder<Base>&)> operation;
  const char* mark;
};

template <class Base, std::size_t N>
void expectMarks(const MarkCase<Base> (&cases)[N]) {
  for (const MarkCase<Base>& c : cases) {
    Recorder<Base> recorder;
    const std::string marks = recorder.marksOf(c.operation);
    EXPECT_NE(marks.find(c.mark), std::string::npos) << c.name << ": " << marks;
  }
}

template <class Base>
class StringVirtualTest : public ::testing::Test {};

using Bases = ::testing::Types<FString<16>, DString>;

class BaseNames {
 public:
  template <class Base>
  static std::string GetName(int /*index*/) {
    return std::is_same<Base, DString>::value ? "DString" : "FString";
  }
};

TYPED_TEST_SUITE(StringVirtualTest, Bases, BaseNames);

TYPED_TEST(StringVirtualTest, OperationsRunThoseOfTheConcreteType) {
  using Recorder = Recorder<TypeParam>;
  const MarkCase<TypeParam> cases[] = {
      {"format", [](Recorder& s) { s.format("%d", 1); }, "vformat "},
      {"formatAppend", [](Recorder& s) { s.formatAppend("%d", 1); }, "vformatAppend "},
      {"vformat", [](Recorder& s) { s.format("%d", 1); }, "maxLength "},
      {"vformatAppend", [](Recorder& s) { s.formatAppend("%d", 1); }, "maxLength "},
      {"getBuffer",
       [](Recorder& s) {
         int n;
         s.getBuffer(n);
       },
       "maxLength "},
      {"cut to the end", [](Recorder& s) { s.cut(0, 9); }, "trimRight "},
      {"cut to the last byte", [](Recorder& s) { s.cut(0, 1); }, "trimRight "},
      {"cut", [](Recorder& s) { s.cut(0, 0); }, "length "},
      {"trimRight", [](Recorder& s) { s.trimRight(1); }, "length "},
      {"setChar", [](Recorder& s) { s.setChar(0, 'x'); }, "length "},
      {"rot13", [](Recorder& s) { s.rot13(); }, "length "},
      {"startsWith", [](Recorder& s) { (void)s.startsWith("a"); }, "length "},
      {"endsWith", [](Recorder& s) { (void)s.endsWith("a"); }, "length "},
      {"indexOf a char", [](Recorder& s) { (void)s.indexOf('a'); }, "length "},
      {"indexOf a text", [](Recorder& s) { (void)s.indexOf("a"); }, "length "},
      {"isEqualSubstring", [](Recorder& s) { (void)s.isEqualSubstring(0, 0, "a"); }, "length "},
      {"isEqualSubstringIgnoreCase",
       [](Recorder& s) { (void)s.isEqualSubstringIgnoreCase(0, 0, "a"); }, "length "},
      {"== of the other", [](Recorder& s) { (void)(FString<4>("x") == s); }, "getString "},
      {"!= of the other", [](Recorder& s) { (void)(FString<4>("x") != s); }, "getString "},
      {"insertAt past the end", [](Recorder& s) { s.insertAt(9, "x"); }, "appendTo "},
      {"= string", [](Recorder& s) { s = FString<4>("x"); }, "copyIn "},
      {"= fixed string", [](Recorder& s) { s = FString<16>("x"); }, "copyIn "},
      {"= dynamic string", [](Recorder& s) { s = DString("x"); }, "copyIn "},
      {"= empty string", [](Recorder& s) { s = DString(""); }, "copyIn "},
      {"= text", [](Recorder& s) { s = "x"; }, "copyIn "},
      {"= char", [](Recorder& s) { s = 'x'; }, "copyIn "},
      {"+= string", [](Recorder& s) { s += FString<4>("x"); }, "appendTo "},
      {"+= dynamic string", [](Recorder& s) { s += DString("x"); }, "appendTo "},
      {"+= text", [](Recorder& s) { s += "x"; }, "appendTo "},
      {"+= char", [](Recorder& s) { s += 'x'; }, "appendTo "},
  };
  expectMarks(cases);
}

TEST(FStringVirtualTest, NumbersAreFormattedByTheConcreteType) {
  using Recorder = Recorder<FString<16>>;
  const MarkCase<FString<16>> cases[] = {
      {"= int", [](Recorder& s) { s = 1; }, "vformat "},
      {"= unsigned int", [](Recorder& s) { s = 1U; }, "vformat "},
      {"= long", [](Recorder& s) { s = 1L; }, "vformat "},
      {"= unsigned long", [](Recorder& s) { s = 1UL; }, "vformat "},
      {"+= int", [](Recorder& s) { s += 1; }, "vformatAppend "},
      {"+= unsigned int", [](Recorder& s) { s += 1U; }, "vformatAppend "},
      {"+= long", [](Recorder& s) { s += 1L; }, "vformatAppend "},
      {"+= unsigned long", [](Recorder& s) { s += 1UL; }, "vformatAppend "},
  };
  expectMarks(cases);
}

TEST(DStringVirtualTest, NumbersAreStoredByTheConcreteType) {
  using Recorder = Recorder<DString>;
  const MarkCase<DString> cases[] = {
      {"= int", [](Recorder& s) { s = 1; }, "copyIn "},
      {"= unsigned int", [](Recorder& s) { s = 1U; }, "copyIn "},
      {"= long", [](Recorder& s) { s = 1L; }, "copyIn "},
      {"= unsigned long", [](Recorder& s) { s = 1UL; }, "copyIn "},
      {"+= int", [](Recorder& s) { s += 1; }, "appendTo "},
      {"+= unsigned int", [](Recorder& s) { s += 1U; }, "appendTo "},
      {"+= long", [](Recorder& s) { s += 1L; }, "appendTo "},
      {"+= unsigned long", [](Recorder& s) { s += 1UL; }, "appendTo "},
  };
  expectMarks(cases);
}

TEST(StringOverrideTest, AssigningAsksTheDynamicStringWhetherItIsEmpty) {
  class Denying : public DString {
   public:
    Denying() : DString("text") {}
    bool isEmpty() const override { return true; }
  };
  const Denying denying;
  DString s("before");
  s = static_cast<const DString&>(denying);
  EXPECT_STREQ(s.getString(), "");
}

// Trimming an empty text takes two bytes, and a buffer without room has one.
TEST(StringOverrideTest, TrimmingKeepsToABufferWithoutRoom) {
  class Roomless : public FString<16> {
   public:
    int maxLength() const override { return 0; }
  };
  Roomless roomless;
  int size = 0;
  char* buffer = roomless.getBuffer(size);
  buffer[1] = '#';
  roomless.removeTrailingSpaces();
  roomless.removeTrailingChars("-");
  EXPECT_EQ(buffer[1], '#');
}

TEST(StringOverrideTest, TrimmingTakesTheOnlyCharacterThatThereIsRoomFor) {
  FString<1> spaces(" ");
  spaces.removeTrailingSpaces();
  EXPECT_STREQ(spaces.getString(), "");
  FString<1> dashes("-");
  dashes.removeTrailingChars("-");
  EXPECT_STREQ(dashes.getString(), "");
}

TEST(StringOverrideTest, AFormattedOutputIsJudgedByItsSize) {
  class Judge : public FString<8> {
   public:
    using FString<8>::operator=;
    using FString<8>::validateSizeAfterFormat;
  };
  struct Case {
    int room;
    int written;
    const char* after;
    bool truncated;
  };
  for (const bool before : {false, true}) {
    for (const Case& c : {Case{4, 4, "abcdef", false}, Case{4, 0, "abcdef", false},
                          Case{4, 5, "abc", true}, Case{4, -1, "abc", true}}) {
      Judge s;
      s = "abcdef";
      s.validateSizeAfterFormat(1, before ? 2 : 1, 8);
      ASSERT_EQ(s.truncated(), before);
      s.validateSizeAfterFormat(c.room, c.written, 3);
      EXPECT_STREQ(s.getString(), c.after) << c.written;
      EXPECT_EQ(s.truncated(), c.truncated) << c.written;
    }
  }
}

TEST(StringOverrideTest, FormatKeepsToTheRoomOfTheConcreteType) {
  class Narrow : public FString<16> {
   public:
    int maxLength() const override { return 2; }
  };
  Narrow narrow;
  narrow.format("%d", 12345);
  EXPECT_STREQ(narrow.getString(), "12");
  EXPECT_TRUE(narrow.truncated());
}

}  // namespace
