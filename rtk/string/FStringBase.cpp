// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/string/FStringBase.h"

#include <cstdio>
#include <cstring>

#include <algorithm>

namespace Rtk {

FStringBase::FStringBase(char* storage, int maxLength)
    : StringBase(storage), _maxLength(maxLength) {
  std::memset(storage, '\0', static_cast<std::size_t>(maxLength) + 1);
}

FStringBase::FStringBase(char c, char* storage, int maxLength) : FStringBase(storage, maxLength) {
  storage[0] = c;
}

FStringBase::FStringBase(const char* s, char* storage, int maxLength)
    : FStringBase(storage, maxLength) {
  if (s == nullptr) {
    return;
  }
  _truncated = std::strlen(s) > static_cast<std::size_t>(maxLength);
  copyText(storage, s, maxLength);
}

FStringBase::FStringBase(int v, char* storage, int maxLength) : FStringBase(storage, maxLength) {
  const int written = std::snprintf(storage, static_cast<std::size_t>(maxLength) + 1, "%d", v);
  validateSizeAfterFormat(maxLength, written, maxLength);
}

FStringBase::FStringBase(unsigned int v, char* storage, int maxLength)
    : FStringBase(storage, maxLength) {
  const int written = std::snprintf(storage, static_cast<std::size_t>(maxLength) + 1, "%u", v);
  validateSizeAfterFormat(maxLength, written, maxLength);
}

FStringBase::FStringBase(long v, char* storage, int maxLength) : FStringBase(storage, maxLength) {
  const int written = std::snprintf(storage, static_cast<std::size_t>(maxLength) + 1, "%ld", v);
  validateSizeAfterFormat(maxLength, written, maxLength);
}

FStringBase::FStringBase(unsigned long v, char* storage, int maxLength)
    : FStringBase(storage, maxLength) {
  const int written = std::snprintf(storage, static_cast<std::size_t>(maxLength) + 1, "%lu", v);
  validateSizeAfterFormat(maxLength, written, maxLength);
}

FStringBase& FStringBase::operator=(const FStringBase& s) {
  *this = static_cast<const String&>(s);
  return *this;
}

void FStringBase::copyIn(const char* src, int n) {
  _truncated = n > _maxLength;
  const int copied = std::clamp(n, 0, _maxLength);
  copyText(_buffer, src, copied);
  _buffer[copied] = '\0';
}

void FStringBase::appendTo(const char* src, int n) {
  n = std::max(n, 0);
  const int cur = length();
  const int appended = std::min(_maxLength - cur, n);
  _truncated = appended != n;
  appendText(_buffer + cur, src, appended);
}

void FStringBase::insertAt(int position, const char* s) {
  const int pos = std::max(position, 0);
  if (length() <= pos) {
    appendTo(s, static_cast<int>(std::strlen(s)));
    return;
  }
  _truncated = !insertWithin(_maxLength, pos, s);
}

int FStringBase::maxLength() const {
  return _maxLength;
}

}  // namespace Rtk
