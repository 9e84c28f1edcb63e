// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Companion {

/// A text from a file as it can be told to anybody: in UTF-8, what is none and control characters
/// as "\x1b", and no longer than `longest` characters and "...".
std::string printable(std::string_view text, std::size_t longest = 60);

}  // namespace Companion
