// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstring>

#include "rtk/string/FStringBase.h"

namespace Rtk {

/// A string with room for at most `N` characters inside the object itself, for names that live in
/// long-lived objects and for texts whose size has a known bound. It never touches the heap; what
/// does not fit is cut and flagged. One thread at a time may use it. Nothing is fatal.
///
/// REQUIRES, for assigning and appending: text is not null.
template <int N>
class FString : public FStringBase {
  static_assert(N >= 1, "an empty text, too, takes two bytes when it is trimmed");

 public:
  FString() : FStringBase("", _storage, N) {}
  explicit FString(char c) : FStringBase(c, _storage, N) {}
  /// A null `s` makes an empty string.
  explicit FString(const char* s) : FStringBase(s, _storage, N) {}
  explicit FString(int v) : FStringBase(v, _storage, N) {}
  explicit FString(unsigned int v) : FStringBase(v, _storage, N) {}
  explicit FString(long v) : FStringBase(v, _storage, N) {}
  explicit FString(unsigned long v) : FStringBase(v, _storage, N) {}
  /// Without this one, another string would be taken for its first byte.
  explicit FString(const String& s) : FStringBase(s.getString(), _storage, N) {}
  FString(const FString& s) : FStringBase(s.getString(), _storage, N) {}
  ~FString() override = default;

  // copyIn takes the own text, too.
  // NOLINTNEXTLINE(bugprone-unhandled-self-assignment)
  FString& operator=(const FString& s) { return *this = static_cast<const String&>(s); }

  FString& operator=(const String& s) override {
    copyIn(s.getString(), s.length());
    return *this;
  }
  FString& operator=(const char* s) override {
    copyIn(s, static_cast<int>(std::strlen(s)));
    return *this;
  }
  FString& operator=(char c) override {
    copyIn(&c, 1);
    return *this;
  }
  FString& operator=(int value) override {
    format("%d", value);
    return *this;
  }
  FString& operator=(unsigned int value) override {
    format("%u", value);
    return *this;
  }
  FString& operator=(long value) override {
    format("%ld", value);
    return *this;
  }
  FString& operator=(unsigned long value) override {
    format("%lu", value);
    return *this;
  }

  FString& operator+=(const String& s) override {
    appendTo(s.getString(), s.length());
    return *this;
  }
  FString& operator+=(const char* s) override {
    appendTo(s, static_cast<int>(std::strlen(s)));
    return *this;
  }
  FString& operator+=(char c) override {
    appendTo(&c, 1);
    return *this;
  }
  FString& operator+=(int value) override {
    formatAppend("%d", value);
    return *this;
  }
  FString& operator+=(unsigned int value) override {
    formatAppend("%u", value);
    return *this;
  }
  FString& operator+=(long value) override {
    formatAppend("%ld", value);
    return *this;
  }
  FString& operator+=(unsigned long value) override {
    formatAppend("%lu", value);
    return *this;
  }

 private:
  /// The base writes the initial text here, so it must not be initialised again.
  char _storage[static_cast<std::size_t>(N) + 1];
};

}  // namespace Rtk
