// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/string/String.h"

#include <cstddef>
#include <cstring>

#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "rtk/string/DString.h"
#include "rtk/string/FString.h"
#include "tests/support/ObjectLayout.h"
#include "tests/support/SlotOrder.h"

namespace {

using Rtk::DString;
using Rtk::FString;
using Rtk::FStringBase;
using Rtk::String;
using Rtk::StringBase;
using TestSupport::slotAfterDestructor;
using TestSupport::slotOf;
using TestSupport::slotsFrom;

// The operations that have several forms. The concrete types return themselves.
template <class S, class Argument>
using Store = decltype(std::declval<S&>() = 'c') (S::*)(Argument);
template <class S, class... Arguments>
using Ask = bool (S::*)(Arguments...) const;
template <class S, class... Arguments>
using Find = int (S::*)(Arguments...) const;

template <class S>
class StringTest : public ::testing::Test {};

using Strings = ::testing::Types<String, StringBase, FStringBase, FString<5>, DString>;

class StringNames {
 public:
  template <class S>
  static const char* GetName(int index) {
    constexpr const char* names[] = {"String", "StringBase", "FStringBase", "FString", "DString"};
    return names[index];
  }
};

TYPED_TEST_SUITE(StringTest, Strings, StringNames);

TYPED_TEST(StringTest, KeepsItsOperationsInTheOrderOfTheTable) {
  using S = TypeParam;
  const std::vector<std::size_t> slots = {
      slotOf<Store<S, const String&>>(&S::operator=),
      slotOf<Store<S, const char*>>(&S::operator=),
      slotOf<Store<S, char>>(&S::operator=),
      slotOf<Store<S, int>>(&S::operator=),
      slotOf<Store<S, unsigned int>>(&S::operator=),
      slotOf<Store<S, long>>(&S::operator=),
      slotOf<Store<S, unsigned long>>(&S::operator=),
      slotOf(&S::copyIn),
      slotOf(&S::insertAt),
      slotOf(&S::clear),
      slotOf<Store<S, const String&>>(&S::operator+=),
      slotOf<Store<S, const char*>>(&S::operator+=),
      slotOf<Store<S, char>>(&S::operator+=),
      slotOf<Store<S, int>>(&S::operator+=),
      slotOf<Store<S, unsigned int>>(&S::operator+=),
      slotOf<Store<S, long>>(&S::operator+=),
      slotOf<Store<S, unsigned long>>(&S::operator+=),
      slotOf(&S::appendTo),
      slotOf(&S::operator char),
      slotOf(&S::getString),
      slotOf(&S::length),
      slotOf(&S::maxLength),
      slotOf(&S::isEmpty),
      slotOf(&S::truncated),
      slotOf<Ask<S, const char*>>(&S::operator==),
      slotOf<Ask<S, const String&>>(&S::operator==),
      slotOf<Ask<S, const char*>>(&S::operator!=),
      slotOf<Ask<S, const String&>>(&S::operator!=),
      slotOf(&S::isEqualIgnoreCase),
      slotOf<Ask<S, char>>(&S::operator==),
      slotOf(&S::compare),
      slotOf(&S::compareIgnoreCase),
      slotOf(&S::isEqualSubstring),
      slotOf(&S::isEqualSubstringIgnoreCase),
      slotOf<Ask<S, const char*>>(&S::startsWith),
      slotOf<Ask<S, const char*, int>>(&S::startsWith),
      slotOf(&S::endsWith),
      slotOf<Find<S, char>>(&S::indexOf),
      slotOf<Find<S, char, int>>(&S::indexOf),
      slotOf<Find<S, const char*>>(&S::indexOf),
      slotOf<Find<S, const char*, int>>(&S::indexOf),
      slotOf(&S::lastIndexOf),
      slotOf(&S::count),
      slotOf(&S::format),
      slotOf(&S::formatAppend),
      slotOf(&S::vformat),
      slotOf(&S::vformatAppend),
      slotOf(&S::toUpper),
      slotOf(&S::toLower),
      slotOf(&S::removeLeadingSpaces),
      slotOf(&S::removeTrailingSpaces),
      slotOf(&S::removeLeadingChars),
      slotOf(&S::removeTrailingChars),
      slotOf(&S::cut),
      slotOf(&S::trimRight),
      slotOf(&S::setChar),
      slotOf(&S::replace),
      slotOf(&S::rot13),
      slotOf(&S::getBuffer),
  };
  ASSERT_EQ(slots.size(), 59U);
  EXPECT_EQ(slots, slotsFrom(slotAfterDestructor, slots.size()));
}

TYPED_TEST(StringTest, HasNoFurtherVirtualOperations) {
  EXPECT_EQ(TestSupport::slotBehind<TypeParam>(), slotAfterDestructor + 59);
}

// The order of the data members is fixed, too. `Layout` spells it out.
template <class Layout, class S>
Layout layoutOf(const S& s) {
  static_assert(sizeof(Layout) == sizeof(S));
  Layout layout;
  std::memcpy(&layout, static_cast<const void*>(&s), sizeof layout);
  return layout;
}

TEST(StringLayoutTest, FStringKeepsItsMembersInOrder) {
  struct Layout {
    const void* table;
    bool truncated;
    char* buffer;
    int maxLength;
    char storage[13];
  };
  for (const char* text : {"abc", "abcdefghijklm"}) {
    const FString<12> s(text);
    const auto layout = layoutOf<Layout>(s);
    EXPECT_EQ(layout.truncated, s.truncated());
    EXPECT_EQ(layout.buffer, s.getString());
    EXPECT_EQ(layout.maxLength, 12);
    EXPECT_STREQ(layout.storage, s.getString());
    EXPECT_EQ(s.getString() - reinterpret_cast<const char*>(&s),
              static_cast<std::ptrdiff_t>(offsetof(Layout, storage)));
  }
}

TEST(StringLayoutTest, DStringKeepsItsMembersInOrder) {
  struct Layout {
    const void* table;
    bool truncated;
    char* buffer;
    int increment;
    int capacity;
    bool usesStaticBuffer;
  };
  DString s("abc", 0, 16);
  s = "a text that needs two steps";
  const auto owning = layoutOf<Layout>(s);
  EXPECT_FALSE(owning.truncated);
  EXPECT_EQ(owning.buffer, s.getString());
  EXPECT_EQ(owning.increment, 16);
  EXPECT_EQ(owning.capacity, 32);
  EXPECT_FALSE(owning.usesStaticBuffer);
  // No block is as long as this.
  const DString none("abc", 0x7fffffff, 16);
  const auto sharing = layoutOf<Layout>(none);
  EXPECT_TRUE(sharing.truncated);
  EXPECT_EQ(sharing.buffer, none.getString());
  EXPECT_EQ(sharing.increment, 16);
  EXPECT_EQ(sharing.capacity, 1);
  EXPECT_TRUE(sharing.usesStaticBuffer);
}

}  // namespace
