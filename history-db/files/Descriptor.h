// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <utility>

namespace HistoryDb {

/// Owns a file descriptor and closes it. One thread at a time.
class Descriptor {
 public:
  /// Takes ownership of the descriptor; a negative number is none.
  explicit Descriptor(int descriptor) : _descriptor(descriptor) {}
  ~Descriptor() { close(); }
  Descriptor(Descriptor&& other) noexcept : _descriptor(std::exchange(other._descriptor, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(_descriptor, other._descriptor);
    return *this;
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  bool isOpen() const { return _descriptor >= 0; }
  int get() const { return _descriptor; }

  /// Returns 0, or the C library's number of the error.
  int close();

 private:
  int _descriptor;
};

}  // namespace HistoryDb
