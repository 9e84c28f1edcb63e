// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "companion/Printable.h"

#include <fmt/format.h>

#include <cstddef>
#include <iterator>

namespace Companion {

namespace {

/// The bytes of the UTF-8 character that `text` begins with; 0 when that is none or may not be
/// printed.
std::size_t characterSize(std::string_view text) {
  const auto byte = [&](std::size_t index) {
    return index < text.size() ? static_cast<unsigned char>(text[index]) : 0U;
  };
  const unsigned first = byte(0);
  if (first < 0x80) {
    return first < 0x20 || first == 0x7F || first == '\\' ? 0 : 1;
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
  // Longer than need be, surrogates, past the last character, and the control characters of
  // Latin-1.
  const bool isNone = (first == 0xE0 && second < 0xA0) || (first == 0xED && second >= 0xA0) ||
                      (first == 0xF0 && second < 0x90) || (first == 0xF4 && second >= 0x90) ||
                      (first == 0xC2 && second < 0xA0);
  return isNone ? 0 : size;
}

}  // namespace

std::string printable(std::string_view text, std::size_t longest) {
  std::string printed;
  for (std::size_t count = 0; !text.empty(); ++count) {
    if (count == longest) {
      return printed + "...";
    }
    const std::size_t size = characterSize(text);
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

}  // namespace Companion
