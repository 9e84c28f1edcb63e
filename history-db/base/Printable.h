// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace HistoryDb {

/// A text that a terminal displays and does not act on: bytes that are not UTF-8, control
/// characters and bidirectional controls are written as "\x1b". Backslashes stay, so escaping twice
/// is harmless.
std::string escaped(std::string_view text);

/// The same for a text from a file: backslashes are escaped, too, and it is no longer than
/// `longest` characters and "...".
std::string printable(std::string_view text, std::size_t longest = 60);

}  // namespace HistoryDb
