// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace PageTesting {

/// The subcommands of history-db.
extern const std::vector<std::string> subcommands;

/// A file of this folder, such as "history-db.1".
std::string pathOf(const std::string& page);
std::string sourceOf(const std::string& page);

/// The lines of a section of a page's source, behind the one with its title; none when the page has
/// no such section.
std::vector<std::string> sectionOf(const std::string& page, const std::string& title);

std::vector<std::string> linesOf(std::string_view text);
std::vector<std::string> wordsOf(std::string_view text);
bool startsWith(std::string_view text, std::string_view start);

/// What a reader sees of a text in the source: characters instead of their escapes.
std::string unescaped(std::string_view source);

/// Words with one space between them.
std::string inOneLine(std::string_view text);

}  // namespace PageTesting
