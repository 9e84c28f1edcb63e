#include "rtk/string/String.h"

#include <cstdint>
#include <cstring>

#include <vector>

#include <gtest/gtest.h>

namespace {

using Rtk::String;

// The place of a virtual operation in the table, as the C++ ABI of Linux stores it in a pointer to
// member: an offset in bytes, plus one on some processors.
template <class Operation>
std::size_t slotOf(Operation operation) {
  std::uintptr_t words[2];
  static_assert(sizeof(operation) == sizeof(words));
  std::memcpy(words, &operation, sizeof(words));
  return (words[0] & ~std::uintptr_t{1}) / sizeof(void*);
}

template <class... Arguments>
using Store = String& (String::*)(Arguments...);
template <class... Arguments>
using Act = void (String::*)(Arguments...);
template <class... Arguments>
using Ask = bool (String::*)(Arguments...) const;
template <class... Arguments>
using Find = int (String::*)(Arguments...) const;

TEST(StringTest, KeepsItsOperationsInTheOrderOfTheTable) {
  const std::vector<std::size_t> slots = {
      slotOf<Store<const String&>>(&String::operator=),
      slotOf<Store<const char*>>(&String::operator=),
      slotOf<Store<char>>(&String::operator=),
      slotOf<Store<int>>(&String::operator=),
      slotOf<Store<unsigned int>>(&String::operator=),
      slotOf<Store<long>>(&String::operator=),
      slotOf<Store<unsigned long>>(&String::operator=),
      slotOf(&String::copyIn),
      slotOf(&String::insertAt),
      slotOf(&String::clear),
      slotOf<Store<const String&>>(&String::operator+=),
      slotOf<Store<const char*>>(&String::operator+=),
      slotOf<Store<char>>(&String::operator+=),
      slotOf<Store<int>>(&String::operator+=),
      slotOf<Store<unsigned int>>(&String::operator+=),
      slotOf<Store<long>>(&String::operator+=),
      slotOf<Store<unsigned long>>(&String::operator+=),
      slotOf(&String::appendTo),
      slotOf(&String::operator char),
      slotOf(&String::getString),
      slotOf(&String::length),
      slotOf(&String::maxLength),
      slotOf(&String::isEmpty),
      slotOf(&String::truncated),
      slotOf<Ask<const char*>>(&String::operator==),
      slotOf<Ask<const String&>>(&String::operator==),
      slotOf<Ask<const char*>>(&String::operator!=),
      slotOf<Ask<const String&>>(&String::operator!=),
      slotOf(&String::isEqualIgnoreCase),
      slotOf<Ask<char>>(&String::operator==),
      slotOf(&String::compare),
      slotOf(&String::compareIgnoreCase),
      slotOf(&String::isEqualSubstring),
      slotOf(&String::isEqualSubstringIgnoreCase),
      slotOf<Ask<const char*>>(&String::startsWith),
      slotOf<Ask<const char*, int>>(&String::startsWith),
      slotOf(&String::endsWith),
      slotOf<Find<char>>(&String::indexOf),
      slotOf<Find<char, int>>(&String::indexOf),
      slotOf<Find<const char*>>(&String::indexOf),
      slotOf<Find<const char*, int>>(&String::indexOf),
      slotOf(&String::lastIndexOf),
      slotOf(&String::count),
      slotOf(&String::format),
      slotOf(&String::formatAppend),
      slotOf(&String::vformat),
      slotOf(&String::vformatAppend),
      slotOf(&String::toUpper),
      slotOf(&String::toLower),
      slotOf(&String::removeLeadingSpaces),
      slotOf(&String::removeTrailingSpaces),
      slotOf(&String::removeLeadingChars),
      slotOf(&String::removeTrailingChars),
      slotOf(&String::cut),
      slotOf(&String::trimRight),
      slotOf(&String::setChar),
      slotOf(&String::replace),
      slotOf(&String::rot13),
      slotOf(&String::getBuffer),
  };
  // The destructor, in its two forms, takes the first two slots.
  ASSERT_EQ(slots.size(), 59u);
  for (std::size_t i = 0; i < slots.size(); ++i) {
    EXPECT_EQ(slots[i], i + 2) << "operation " << i + 2;
  }
}

}  // namespace
