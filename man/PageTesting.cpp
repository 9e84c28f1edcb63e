// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "man/PageTesting.h"

#include <sstream>

#include "tests/support/TemporaryFolder.h"

namespace PageTesting {

const std::vector<std::string> subcommands = {"info",    "check",  "dump", "load", "verify",
                                              "migrate", "sample", "plot", "copy"};

std::string pathOf(const std::string& page) {
  return PROJECT_FOLDER "/man/" + page;
}

std::string sourceOf(const std::string& page) {
  return TestSupport::readFile(pathOf(page));
}

std::vector<std::string> sectionOf(const std::string& page, const std::string& title) {
  std::vector<std::string> section;
  bool isInside = false;
  for (const std::string& line : linesOf(sourceOf(page))) {
    if (startsWith(line, ".Sh ")) {
      isInside = line == ".Sh " + title;
    } else if (isInside) {
      section.push_back(line);
    }
  }
  return section;
}

std::vector<std::string> linesOf(std::string_view text) {
  std::vector<std::string> lines;
  std::istringstream stream{std::string(text)};
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

std::vector<std::string> wordsOf(std::string_view text) {
  std::vector<std::string> words;
  std::istringstream stream{std::string(text)};
  for (std::string word; stream >> word;) {
    words.push_back(word);
  }
  return words;
}

bool startsWith(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

std::string unescaped(std::string_view source) {
  std::string text;
  for (std::size_t i = 0; i < source.size(); ++i) {
    const std::string_view rest = source.substr(i);
    if (startsWith(rest, "\\(dq")) {
      text += '"';
      i += 3;
    } else if (startsWith(rest, "\\e")) {
      text += '\\';
      ++i;
    } else if (startsWith(rest, "\\&")) {
      ++i;
    } else {
      text += source[i];
    }
  }
  return text;
}

std::string inOneLine(std::string_view text) {
  std::string line;
  for (const std::string& word : wordsOf(text)) {
    line += (line.empty() ? "" : " ") + word;
  }
  return line;
}

}  // namespace PageTesting
