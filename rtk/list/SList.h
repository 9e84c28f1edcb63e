// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

namespace Rtk {

/// An intrusive, singly linked FIFO list. It links its elements through their own `_next` member
/// (which a class keeps private by naming the list a friend) and allocates nothing, so that adding
/// to it cannot fail. It does not own its elements: each must outlive its stay, and be in at most
/// one list at a time. The list takes no lock; its owner serialises access. Nothing is fatal.
template <class T>
class SList {
 public:
  SList() = default;
  /// The name is for the reader of the code alone: the list ignores it.
  explicit SList(const char* /*name*/) {}

  SList(const SList&) = delete;
  SList& operator=(const SList&) = delete;

  /// The oldest element, or null when the list is empty.
  T* first() const { return _head; }

  /// The element behind `element`, or null at the tail.
  static T* next(const T& element) { return element._next; }

  /// Appends at the tail.
  void put(T& element) {
    if (_head != nullptr) {
      _tail->_next = &element;
    } else {
      _head = &element;
    }
    element._next = nullptr;
    _tail = &element;
  }

  /// Takes the oldest element off the list; null when the list is empty.
  T* get() {
    T* element = _head;
    if (element != nullptr) {
      _head = element->_next;
      if (_head == nullptr) {
        _tail = nullptr;
      }
    }
    return element;
  }

  /// Takes `element` off the list, searching from the head. False when it is not in the list.
  bool remove(const T& element) {
    T* previous = nullptr;
    for (T* current = _head; current != nullptr; previous = current, current = current->_next) {
      if (current != &element) {
        continue;
      }
      (previous != nullptr ? previous->_next : _head) = current->_next;
      if (_tail == current) {
        _tail = previous;
      }
      return true;
    }
    return false;
  }

 private:
  T* _head = nullptr;
  T* _tail = nullptr;
};

}  // namespace Rtk
