// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdio>
#include <string>

#include "history-db/base/Console.h"

namespace HistoryDbTesting {

/// A console whose output and messages are kept.
class HeardConsole {
 public:
  HeardConsole() = default;
  ~HeardConsole() {
    std::fclose(_output);
    std::fclose(_messages);
  }
  HeardConsole(const HeardConsole&) = delete;
  HeardConsole& operator=(const HeardConsole&) = delete;

  std::string output() const { return textOf(_output); }
  std::string messages() const { return textOf(_messages); }

 private:
  static std::string textOf(std::FILE* file) {
    std::string text;
    std::rewind(file);
    for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file)) {
      text += static_cast<char>(c);
    }
    return text;
  }

  std::FILE* const _output = std::tmpfile();
  std::FILE* const _messages = std::tmpfile();

 public:
  HistoryDb::Console console{_output, _messages};
};

}  // namespace HistoryDbTesting
