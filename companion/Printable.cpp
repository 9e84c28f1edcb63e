// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "companion/Printable.h"

#include <fmt/format.h>

#include <cstddef>
#include <iterator>

namespace Companion {

namespace {

/// Whether these three bytes make the text around them run in another direction than it is read:
/// U+200E, U+200F, U+202A to U+202E, U+2066 to U+2069.
bool isBidirectionalControl(unsigned first, unsigned second, unsigned third) {
  return first == 0xE2 && ((second == 0x80 &&
                            (third == 0x8E || third == 0x8F || (third >= 0xAA && third <= 0xAE))) ||
                           (second == 0x81 && third >= 0xA6 && third <= 0xA9));
}

/// The number of bytes of the UTF-8 character at the start of `text`; 0 when there is none or it
/// may not be printed.
std::size_t characterSize(std::string_view text) {
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
  // Longer than need be, surrogates, past the last character, the control characters of Latin-1,
  // and bidirectional controls, of which U+061C has two bytes.
  const bool isNone = (first == 0xE0 && second < 0xA0) || (first == 0xED && second >= 0xA0) ||
                      (first == 0xF0 && second < 0x90) || (first == 0xF4 && second >= 0x90) ||
                      (first == 0xC2 && second < 0xA0) || (first == 0xD8 && second == 0x9C) ||
                      isBidirectionalControl(first, second, byte(2));
  return isNone ? 0 : size;
}

std::string escapedText(std::string_view text, std::size_t longest, bool escapesBackslash) {
  std::string printed;
  for (std::size_t count = 0; !text.empty(); ++count) {
    if (count == longest) {
      return printed + "...";
    }
    const std::size_t size = escapesBackslash && text.front() == '\\' ? 0 : characterSize(text);
    if (size == 0) {
      fmt::format_to(std::back_inserter(printed), "\\x{:02x}",
                     static_cast<unsigned char>(text.front()));
    } else {
      printed += text.substr(0, size);
    }
    text.remove_prefix(size == 0 ? 1 : size);
  }
  return printed;
}

}  // namespace

std::string escaped(std::string_view text) {
  return escapedText(text, text.size(), false);
}

std::string printable(std::string_view text, std::size_t longest) {
  return escapedText(text, longest, true);
}

}  // namespace Companion
