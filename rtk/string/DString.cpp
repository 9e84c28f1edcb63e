// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/string/DString.h"

#include <csignal>
#include <cstdlib>
#include <cstring>

#include <algorithm>
#include <limits>

#include "rtk/string/FString.h"

namespace Rtk {

namespace {

// Holds the decimal text of any number that a string takes.
using Number = FString<20>;

constexpr int numberNeed = 20;

int lengthOf(const char* s) {
  return static_cast<int>(std::strlen(s));
}

}  // namespace

char DString::_emptyString = '\0';

DString::DString(Sizing sizing)
    : StringBase(nullptr), _increment(sizing.increment), _capacity(0), _usesStaticBuffer(false) {
  _buffer = allocate(sizing.need, _capacity);
}

DString::DString(char c, int hint, int increment) : DString(Sizing{std::max(hint, 1), increment}) {
  validate(&c, 1);
}

DString::DString(const char* s, int hint, int increment)
    : DString(Sizing{std::max(hint, s == nullptr ? 1 : lengthOf(s)), increment}) {
  if (s == nullptr) {
    // Deliberately unchecked: there is no text to lose, and no caller to tell of it.
    _buffer[0] = '\0';
  } else {
    validate(s, lengthOf(s));
  }
}

DString::DString(const String& s, int hint, int increment)
    : DString(Sizing{std::max(s.length(), hint), increment}) {
  validate(s.getString(), s.length());
}

DString::DString(const DString& s, int hint, int increment)
    : DString(static_cast<const String&>(s), hint, increment) {}

DString::DString(int v, int hint, int increment)
    : DString(Number(v), std::max(hint, numberNeed), increment) {}

DString::DString(unsigned int v, int hint, int increment)
    : DString(Number(v), std::max(hint, numberNeed), increment) {}

DString::DString(long v, int hint, int increment)
    : DString(Number(v), std::max(hint, numberNeed), increment) {}

DString::DString(unsigned long v, int hint, int increment)
    : DString(Number(v), std::max(hint, numberNeed), increment) {}

DString::~DString() {
  if (!_usesStaticBuffer) {
    std::free(_buffer);
  }
  _buffer = nullptr;
}

DString& DString::operator=(const DString& s) {
  if (s.isEmpty()) {
    copyIn("", 0);
  } else {
    copyIn(s.getString(), s.length());
  }
  return *this;
}

DString& DString::operator=(const String& s) {
  copyIn(s.getString(), s.length());
  return *this;
}

DString& DString::operator=(const char* s) {
  copyIn(s, s == nullptr ? 0 : lengthOf(s));
  return *this;
}

DString& DString::operator=(char c) {
  copyIn(&c, 1);
  return *this;
}

DString& DString::operator=(int value) {
  return *this = Number(value);
}

DString& DString::operator=(unsigned int value) {
  return *this = Number(value);
}

DString& DString::operator=(long value) {
  return *this = Number(value);
}

DString& DString::operator=(unsigned long value) {
  return *this = Number(value);
}

void DString::copyIn(const char* src, int n) {
  if (src == nullptr) {
    validate("", 0);
    return;
  }
  _truncated = false;
  n = std::max(n, 0);
  char* replaced = nullptr;
  if ((_capacity - 1 < n || _usesStaticBuffer) && !replaceBlock(n, replaced)) {
    _truncated = true;
    n = _capacity - 1;
  }
  validate(src, n);
  std::free(replaced);
}

void DString::insertAt(int position, const char* s) {
  if (s == nullptr) {
    return;
  }
  const int pos = std::max(position, 0);
  const int cur = length();
  const int n = lengthOf(s);
  if (cur <= pos) {
    appendTo(s, n);
    return;
  }
  const std::int64_t need = std::int64_t{n} + cur;
  const char* const text = _buffer;
  char* replaced = nullptr;
  if (need + 1 > _capacity - 1) {
    if (!replaceBlock(need, replaced)) {
      insertWithin(_capacity - 1, pos, s);
      _truncated = true;
      return;
    }
    copyText(_buffer, text, _capacity);
  }
  insertText(pos, s, n, cur - pos);
  _truncated = false;
  std::free(replaced);
}

DString& DString::operator+=(const String& s) {
  appendTo(s.getString(), s.length());
  return *this;
}

DString& DString::operator+=(const char* s) {
  if (s != nullptr) {
    appendTo(s, lengthOf(s));
  }
  return *this;
}

DString& DString::operator+=(char c) {
  appendTo(&c, 1);
  return *this;
}

DString& DString::operator+=(int value) {
  return *this += Number(value);
}

DString& DString::operator+=(unsigned int value) {
  return *this += Number(value);
}

DString& DString::operator+=(long value) {
  return *this += Number(value);
}

DString& DString::operator+=(unsigned long value) {
  return *this += Number(value);
}

void DString::appendTo(const char* src, int n) {
  if (src == nullptr) {
    return;
  }
  _truncated = false;
  n = std::max(n, 0);
  const int cur = length();
  const int max = _capacity - 1;
  const char* const text = _buffer;
  char* replaced = nullptr;
  // Grows one byte sooner than needed, and from the old capacity instead of the length, on
  // purpose: the sizes that strings reach by appending depend on it.
  if (max - cur - 1 < n || _usesStaticBuffer) {
    if (replaceBlock(std::int64_t{max} + n, replaced)) {
      copyText(_buffer, text, _capacity);
    } else {
      _truncated = true;
      n = max - cur;
    }
  }
  appendText(_buffer + cur, src, n);
  std::free(replaced);
}

int DString::maxLength() const {
  return _capacity - 1;
}

char* DString::allocate(std::int64_t need, int& capacity) const {
  if (_increment == 0) {
    // Not all processors trap a division by zero.
    std::raise(SIGFPE);
    std::abort();
  }
  const std::int64_t size = _increment * ((need + _increment) / _increment);
  if (size <= need || size > std::numeric_limits<int>::max()) {
    return nullptr;
  }
  capacity = static_cast<int>(size);
  auto* const block = static_cast<char*>(std::malloc(static_cast<std::size_t>(size)));
  if (block != nullptr) {
    // Without this, insertAt() could reveal what the heap held before. The first byte is left out
    // because compilers replace malloc and a memset of the whole block by calloc, which a process
    // that replaces malloc may not expect. Every caller stores that byte.
    std::memset(block + 1, '\0', static_cast<std::size_t>(size) - 1);
  }
  return block;
}

bool DString::replaceBlock(std::int64_t need, char*& replaced) {
  int capacity = 0;
  char* const block = allocate(need, capacity);
  if (block == nullptr) {
    return false;
  }
  replaced = _usesStaticBuffer ? nullptr : _buffer;
  _buffer = block;
  _capacity = capacity;
  _usesStaticBuffer = false;
  return true;
}

void DString::validate(const char* src, int len) {
  if (_buffer == nullptr) {
    _truncated = true;
    _capacity = 1;
    _buffer = &_emptyString;
    _usesStaticBuffer = true;
  } else if (src == nullptr) {
    _buffer[0] = '\0';
  } else {
    copyText(_buffer, src, len);
    _buffer[len] = '\0';
  }
}

}  // namespace Rtk
