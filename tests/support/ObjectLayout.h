// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstring>

#include "tests/support/SlotOrder.h"

namespace TestSupport {

// For tests of what the compiler makes of a class: an object is looked at as a row of pointers. A
// part with virtual operations begins with the pointer to their table; a reference is a pointer.

template <class T>
constexpr std::size_t sizeInPointers = sizeof(T) / sizeof(void*);

/// The pointer at a place of an object, counted from 0.
template <class T>
const void* pointerAt(const T& object, std::size_t place) {
  const void* pointer = nullptr;
  std::memcpy(&pointer, reinterpret_cast<const char*>(&object) + place * sizeof(void*),
              sizeof pointer);
  return pointer;
}

/// The place at which a part of an object, a base or a member, begins.
template <class T, class Part>
std::size_t placeOf(const T& object, const Part& part) {
  return static_cast<std::size_t>(reinterpret_cast<const char*>(&part) -
                                  reinterpret_cast<const char*>(&object)) /
         sizeof(void*);
}

/// The slot behind the last virtual operation of a class, which the next one of a derived class
/// takes. A destructor has no pointer to it: it shows as a gap of two slots in front of the next
/// operation, or of this slot.
template <class Base>
std::size_t slotBehind() {
  class Derived : public Base {
   public:
    virtual void next() {}
  };
  return slotOf(&Derived::next);
}

}  // namespace TestSupport
