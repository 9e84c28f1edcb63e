// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/base/Printable.h"

#include <fmt/format.h>

#include <cstddef>
#include <iterator>

#include "posix/PrintableCharacter.h"

namespace HistoryDb {

namespace {

std::string escapedText(std::string_view text, std::size_t longest, bool escapesBackslash) {
  std::string printed;
  for (std::size_t count = 0; !text.empty(); ++count) {
    if (count == longest) {
      return printed + "...";
    }
    const std::size_t size =
        escapesBackslash && text.front() == '\\' ? 0 : PrintableCharacter::sizeAtStart(text);
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

}  // namespace HistoryDb
