// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "posix/PrintableCharacter.h"

namespace PrintableCharacter {

namespace {

/// Whether a terminal or a viewer acts on the character of these three bytes: U+2028 and U+2029
/// start a line; U+200E, U+200F, U+202A to U+202E and U+2066 to U+2069 change the direction of
/// text.
bool isControl(unsigned first, unsigned second, unsigned third) {
  return first == 0xE2 && ((second == 0x80 &&
                            (third == 0x8E || third == 0x8F || (third >= 0xA8 && third <= 0xAE))) ||
                           (second == 0x81 && third >= 0xA6 && third <= 0xA9));
}

}  // namespace

std::size_t sizeAtStart(std::string_view text) {
  const auto byte = [&](std::size_t index) {
    return index < text.size() ? static_cast<unsigned char>(text[index]) : 0U;
  };
  const unsigned first = byte(0);
  if (first < 0x80) {
    return first < 0x20 || first == 0x7F ? 0 : 1;
  }
  const std::size_t size = first < 0xC2   ? 0
                           : first < 0xE0 ? 2
                           : first < 0xF0 ? 3
                           : first < 0xF5 ? 4
                                          : 0;
  for (std::size_t i = 1; i < size; ++i) {
    if ((byte(i) & 0xC0U) != 0x80) {
      return 0;
    }
  }
  const unsigned second = byte(1);
  // Overlong, surrogates, past the last character, the control characters of Latin-1,
  // and other controls, of which U+061C has two bytes.
  const bool isNone = (first == 0xE0 && second < 0xA0) || (first == 0xED && second >= 0xA0) ||
                      (first == 0xF0 && second < 0x90) || (first == 0xF4 && second >= 0x90) ||
                      (first == 0xC2 && second < 0xA0) || (first == 0xD8 && second == 0x9C) ||
                      isControl(first, second, byte(2));
  return isNone ? 0 : size;
}

}  // namespace PrintableCharacter
