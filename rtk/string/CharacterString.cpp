// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/string/CharacterString.h"

#include <cctype>
#include <cstring>
#include <utility>

namespace {

// The C library classifies bytes, not chars that may be negative.
bool isSpace(char c) {
  return std::isspace(static_cast<unsigned char>(c)) != 0;
}

bool ischar(const char* set, char c) {
  for (; *set != '\0'; ++set) {
    if (*set == c) {
      return true;
    }
  }
  return false;
}

template <class Member>
const char* firstThatIs(bool wanted, const char* s, Member isMember) {
  while (*s != '\0' && isMember(*s) != wanted) {
    ++s;
  }
  return s;
}

// The first byte is the answer both when it is the last non-member and when all are members.
template <class Member>
const char* lastNonMember(const char* s, Member isMember) {
  if (*s == '\0') {
    return s;
  }
  const char* current = s + std::strlen(s) - 1;
  while (current != s && isMember(*current)) {
    --current;
  }
  return current;
}

template <class Member>
void cutTrailing(char* s, Member isMember) {
  char* last = s + (lastNonMember(s, isMember) - s);
  // The NUL of an empty string is no member, so that index 1 is written then, too.
  *(isMember(*last) ? last : last + 1) = '\0';
}

}  // namespace

char* strnset(char* s, int c, unsigned int n) {
  if (s != nullptr) {
    for (char* at = s; n > 0 && *at != '\0'; ++at, --n) {
      *at = static_cast<char>(c);
    }
  }
  return s;
}

char* strrev(char* s) {
  if (s != nullptr) {
    const std::size_t length = std::strlen(s);
    for (std::size_t i = 0; i < length / 2; ++i) {
      std::swap(s[i], s[length - 1 - i]);
    }
  }
  return s;
}

char* strlwr(char* s) {
  if (s != nullptr) {
    for (char* at = s; *at != '\0'; ++at) {
      *at = static_cast<char>(std::tolower(static_cast<unsigned char>(*at)));
    }
  }
  return s;
}

char* strupr(char* s) {
  if (s != nullptr) {
    for (char* at = s; *at != '\0'; ++at) {
      *at = static_cast<char>(std::toupper(static_cast<unsigned char>(*at)));
    }
  }
  return s;
}

namespace Rtk {

const char* stripChars(const char* s, const char* set) {
  return firstThatIs(false, s, [set](char c) { return ischar(set, c); });
}

const char* stripNotChars(const char* s, const char* set) {
  return firstThatIs(true, s, [set](char c) { return ischar(set, c); });
}

const char* stripSpace(const char* s) {
  return firstThatIs(false, s, isSpace);
}

const char* stripNotSpace(const char* s) {
  return firstThatIs(true, s, isSpace);
}

const char* stripTrailingChars(const char* s, const char* set) {
  return lastNonMember(s, [set](char c) { return ischar(set, c); });
}

const char* stripTrailingSpace(const char* s) {
  return lastNonMember(s, isSpace);
}

void removeTrailingChars(char* s, const char* set) {
  cutTrailing(s, [set](char c) { return ischar(set, c); });
}

void removeTrailingSpace(char* s) {
  cutTrailing(s, isSpace);
}

}  // namespace Rtk
