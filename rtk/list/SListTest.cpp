// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/list/SList.h"

#include <string>

#include <gtest/gtest.h>

#include "tests/support/ObjectLayout.h"

namespace {

class Element {
 public:
  explicit Element(char mark) : _mark(mark) {}
  char mark() const { return _mark; }

 private:
  friend class Rtk::SList<Element>;
  Element* _next;
  char _mark;
};

class SListTest : public ::testing::Test {
 protected:
  std::string marks() const {
    std::string text;
    for (Element* element = list.first(); element != nullptr; element = list.next(*element)) {
      text += element->mark();
    }
    return text;
  }

  Rtk::SList<Element> list{"ignored"};
  Element a{'a'};
  Element b{'b'};
  Element c{'c'};
};

TEST_F(SListTest, StartsEmpty) {
  EXPECT_EQ(list.first(), nullptr);
  EXPECT_EQ(list.get(), nullptr);
  EXPECT_EQ(Rtk::SList<Element>().first(), nullptr);
}

TEST_F(SListTest, KeepsItsHeadBeforeItsTailAndBothNullWhenEmpty) {
  const auto expectEnds = [this](const Element* head, const Element* tail) {
    EXPECT_EQ(TestSupport::pointerAt(list, 0), head);
    EXPECT_EQ(TestSupport::pointerAt(list, 1), tail);
  };
  EXPECT_EQ(TestSupport::sizeInPointers<Rtk::SList<Element>>, 2U);
  expectEnds(nullptr, nullptr);
  list.put(a);
  expectEnds(&a, &a);
  list.put(b);
  expectEnds(&a, &b);
  list.get();
  expectEnds(&b, &b);
  list.get();
  expectEnds(nullptr, nullptr);
}

TEST_F(SListTest, GivesElementsInTheOrderTheyCame) {
  list.put(a);
  list.put(b);
  list.put(c);
  EXPECT_EQ(marks(), "abc");
  EXPECT_EQ(list.get(), &a);
  EXPECT_EQ(list.get(), &b);
  EXPECT_EQ(list.get(), &c);
  EXPECT_EQ(list.get(), nullptr);
}

TEST_F(SListTest, TakesElementsAgainAfterItRanEmpty) {
  list.put(a);
  list.get();
  list.put(b);
  list.put(a);
  EXPECT_EQ(marks(), "ba");
}

TEST_F(SListTest, RemovesFromHeadMiddleAndTail) {
  list.put(a);
  list.put(b);
  list.put(c);
  EXPECT_TRUE(list.remove(b));
  EXPECT_EQ(marks(), "ac");
  EXPECT_TRUE(list.remove(c));
  list.put(b);
  EXPECT_EQ(marks(), "ab");
  EXPECT_TRUE(list.remove(a));
  EXPECT_TRUE(list.remove(b));
  EXPECT_EQ(list.first(), nullptr);
  list.put(c);
  EXPECT_EQ(marks(), "c");
}

TEST_F(SListTest, IgnoresAnElementItDoesNotHold) {
  list.put(a);
  EXPECT_FALSE(list.remove(b));
  EXPECT_EQ(marks(), "a");
}

}  // namespace
