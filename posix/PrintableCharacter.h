// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <string_view>

/// What a terminal displays and does not act on.
namespace PrintableCharacter {

/// The number of bytes of the UTF-8 character at the start of `text`. Returns 0 if there is none,
/// or if a terminal does not simply display it: control characters, bidirectional controls and
/// line separators.
/// Thread-safe.
std::size_t sizeAtStart(std::string_view text);

}  // namespace PrintableCharacter
