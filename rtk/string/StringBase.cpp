// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/string/StringBase.h"

#include <strings.h>
#include <cctype>
#include <cstdio>
#include <cstring>

#include <algorithm>
#include <functional>

#include "rtk/string/CharacterString.h"

namespace Rtk {

namespace {

int lengthOf(const char* s) {
  return static_cast<int>(std::strlen(s));
}

struct Range {
  int start;
  std::size_t count;
};

// An end before the start still compares one byte, and callers know the range as inclusive.
Range substring(int length, int from, int to) {
  const int start = from >= length ? length - 1 : std::max(from, 0);
  const int end = to >= length ? length - 1 : to;
  return {start, static_cast<std::size_t>(end >= start ? end - start + 1 : 1)};
}

char rotated(int c, char first) {
  return static_cast<char>(first + (c - first + 13) % 26);
}

}  // namespace

StringBase::StringBase(char* buffer) : _truncated(false), _buffer(buffer) {}

// Storing takes the own text, too.
// NOLINTNEXTLINE(bugprone-unhandled-self-assignment)
StringBase& StringBase::operator=(const StringBase& s) {
  *this = static_cast<const String&>(s);
  return *this;
}

void StringBase::clear() {
  _buffer[0] = '\0';
}

StringBase::operator char() const {
  return _buffer[0];
}

const char* StringBase::getString() const {
  return _buffer;
}

int StringBase::length() const {
  return lengthOf(_buffer);
}

bool StringBase::isEmpty() const {
  return _buffer[0] == '\0';
}

bool StringBase::truncated() const {
  return _truncated;
}

bool StringBase::operator==(const char* s) const {
  return s != nullptr && std::strcmp(_buffer, s) == 0;
}

bool StringBase::operator==(const String& s) const {
  return std::strcmp(_buffer, s.getString()) == 0;
}

bool StringBase::operator!=(const char* s) const {
  return s == nullptr || std::strcmp(_buffer, s) != 0;
}

bool StringBase::operator!=(const String& s) const {
  return std::strcmp(_buffer, s.getString()) != 0;
}

bool StringBase::isEqualIgnoreCase(const char* s) const {
  return s != nullptr && strcasecmp(_buffer, s) == 0;
}

bool StringBase::operator==(char c) const {
  return _buffer[0] == c;
}

int StringBase::compare(const char* s) const {
  return s == nullptr ? -1 : std::strcmp(_buffer, s);
}

int StringBase::compareIgnoreCase(const char* s) const {
  return s == nullptr ? -1 : strcasecmp(_buffer, s);
}

bool StringBase::isEqualSubstring(int from, int to, const char* s) const {
  if (s == nullptr) {
    return false;
  }
  const Range range = substring(length(), from, to);
  return std::strncmp(_buffer + range.start, s, range.count) == 0;
}

bool StringBase::isEqualSubstringIgnoreCase(int from, int to, const char* s) const {
  if (s == nullptr) {
    return false;
  }
  const Range range = substring(length(), from, to);
  return strncasecmp(_buffer + range.start, s, range.count) == 0;
}

bool StringBase::startsWith(const char* prefix) const {
  return startsWith(prefix, 0);
}

bool StringBase::startsWith(const char* prefix, int offset) const {
  const int len = length();
  const std::size_t n = std::strlen(prefix);
  return offset >= 0 && offset < len && static_cast<std::size_t>(len) >= n &&
         std::strncmp(_buffer + offset, prefix, n) == 0;
}

bool StringBase::endsWith(const char* suffix) const {
  const int len = length();
  const int n = lengthOf(suffix);
  return len >= n && std::strcmp(_buffer + len - n, suffix) == 0;
}

int StringBase::indexOf(char c) const {
  return indexOf(c, 0);
}

int StringBase::indexOf(char c, int from) const {
  if (from < 0 || from >= length()) {
    return -1;
  }
  const char* found = std::strchr(_buffer + from, c);
  return found == nullptr ? -1 : static_cast<int>(found - _buffer);
}

int StringBase::indexOf(const char* s) const {
  return indexOf(s, 0);
}

int StringBase::indexOf(const char* s, int from) const {
  if (from < 0 || from >= length()) {
    return -1;
  }
  const char* found = std::strstr(_buffer + from, s);
  return found == nullptr ? -1 : static_cast<int>(found - _buffer);
}

int StringBase::lastIndexOf(char c) const {
  const char* found = std::strrchr(_buffer, c);
  return found == nullptr ? -1 : static_cast<int>(found - _buffer);
}

int StringBase::count(char c) const {
  return static_cast<int>(std::count(_buffer, _buffer + length(), c));
}

void StringBase::format(const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  vformat(fmt, args);
  va_end(args);
}

void StringBase::formatAppend(const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  vformatAppend(fmt, args);
  va_end(args);
}

void StringBase::vformat(const char* fmt, va_list args) {
  const int room = maxLength();
  // The analyzer does not follow va_start into a parameter.
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized)
  const int written = std::vsnprintf(_buffer, static_cast<std::size_t>(room) + 1, fmt, args);
  validateSizeAfterFormat(room, written, room);
}

void StringBase::vformatAppend(const char* fmt, va_list args) {
  const int len = lengthOf(_buffer);
  const int room = maxLength() - len;
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): as above.
  const int written = std::vsnprintf(_buffer + len, static_cast<std::size_t>(room) + 1, fmt, args);
  validateSizeAfterFormat(room, written, maxLength());
}

void StringBase::toUpper() {
  strupr(_buffer);
}

void StringBase::toLower() {
  strlwr(_buffer);
}

void StringBase::removeLeadingSpaces() {
  _truncated = false;
  moveDownToStart(stripSpace(_buffer));
}

void StringBase::removeTrailingSpaces() {
  _truncated = false;
  // Cutting needs two bytes even of an empty text, and a buffer without room has only one.
  if (maxLength() > 0) {
    removeTrailingSpace(_buffer);
  }
}

void StringBase::removeLeadingChars(const char* set) {
  _truncated = false;
  moveDownToStart(stripChars(_buffer, set));
}

void StringBase::removeTrailingChars(const char* set) {
  _truncated = false;
  if (maxLength() > 0) {
    Rtk::removeTrailingChars(_buffer, set);
  }
}

void StringBase::cut(int from, int to) {
  _truncated = false;
  const int len = length();
  if (from > to || from < 0 || from >= len) {
    return;
  }
  if (to >= len - 1) {
    trimRight(len - from);
    return;
  }
  const int rest = len - to - 1;
  std::memmove(_buffer + from, _buffer + to + 1, static_cast<std::size_t>(rest));
  _buffer[from + rest] = '\0';
}

void StringBase::trimRight(int n) {
  _truncated = false;
  const int len = length();
  _buffer[n >= len ? 0 : len - std::max(n, 0)] = '\0';
}

void StringBase::setChar(int index, char c) {
  _truncated = false;
  if (index >= 0 && index < length()) {
    _buffer[index] = c;
  }
}

int StringBase::replace(char from, char to) {
  if (from == to || isEmpty()) {
    return 0;
  }
  int replaced = 0;
  const int len = length();
  for (int i = 0; i < len; ++i) {
    if (_buffer[i] == from) {
      _buffer[i] = to;
      ++replaced;
    }
  }
  return replaced;
}

void StringBase::rot13() {
  const int len = length();
  for (int i = 0; i < len; ++i) {
    const int c = static_cast<unsigned char>(_buffer[i]);
    if (std::isupper(c) != 0) {
      _buffer[i] = rotated(c, 'A');
    } else if (std::islower(c) != 0) {
      _buffer[i] = rotated(c, 'a');
    }
  }
}

char* StringBase::getBuffer(int& size) {
  _truncated = false;
  size = maxLength();
  return _buffer;
}

void StringBase::validateSizeAfterFormat(int room, int written, int terminateAt) {
  _truncated = written < 0 || written > room;
  if (_truncated) {
    _buffer[terminateAt] = '\0';
  }
}

void StringBase::copyText(char* to, const char* from, int n) {
  const std::size_t size = static_cast<std::size_t>(n);
  const std::size_t used = strnlen(from, size);
  std::memmove(to, from, used);
  std::memset(to + used, '\0', size - used);
}

void StringBase::appendText(char* to, const char* from, int n) {
  const std::size_t used = strnlen(from, static_cast<std::size_t>(n));
  std::memmove(to, from, used);
  to[used] = '\0';
  to[n] = '\0';
}

void StringBase::insertText(int position, const char* s, int n, int keep) {
  char* const gap = _buffer + position;
  const std::size_t size = static_cast<std::size_t>(n);
  if (keep <= 0) {
    // No NUL here, on purpose: an insertion that passes the end of the text reveals the older text
    // that the buffer still holds after it.
    std::memmove(gap, s, size);
    return;
  }
  const std::less<const char*> before;
  if (before(gap, s) && before(s, _buffer + length())) {
    // The source is part of the tail that makes way. Inserted from its last byte on, each next
    // byte of it has moved to the same place.
    const int last = static_cast<int>(s - gap) + n - 1;
    const int end = std::max(last + 1, n + keep);
    for (int i = 0; i < n; ++i) {
      const char c = gap[last];
      std::memmove(gap + 1, gap, static_cast<std::size_t>(end - 1));
      gap[0] = c;
    }
  } else {
    // A source that begins before the gap ends before the place to which the tail moves.
    std::memmove(gap + n, gap, static_cast<std::size_t>(keep));
    std::memmove(gap, s, size);
  }
  gap[n + keep] = '\0';
}

bool StringBase::insertWithin(int capacity, int position, const char* s) {
  const int tail = length() - position;
  const int n = lengthOf(s);
  const int room = capacity - position;
  const int inserted = std::min(n, room);
  // The position is subtracted a second time on purpose: that callers get the same text for the
  // same insertion, cut or not, depends on it.
  const int keep = std::min(room - inserted - position, tail);
  insertText(position, s, inserted, keep);
  _buffer[capacity] = '\0';
  return inserted == n && keep == tail;
}

void StringBase::moveDownToStart(const char* rest) {
  if (rest == _buffer) {
    return;
  }
  char* to = _buffer;
  while (*rest != '\0') {
    *to++ = *rest++;
  }
  *to = '\0';
}

}  // namespace Rtk
