// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/base/Console.h"

#include <unistd.h>

#include <cerrno>

#include "history-db/base/Printable.h"
#include "history-db/base/Trouble.h"

namespace HistoryDb {

void Console::fail(int error) {
  // Nobody reads any more, such as when `head` has what it wants: that needs no words.
  if (error == EPIPE) {
    throw Trouble("");
  }
  throwError("standard output", "It cannot be written", error);
}

void Console::print(std::string_view text) {
  if (std::fwrite(text.data(), 1, text.size(), _output) != text.size()) {
    fail(errno);
  }
}

void Console::printLine(const std::string& line) {
  print(escaped(line) + "\n");
}

void Console::tell(const std::string& message, const std::string& advice) {
  progress("");
  if (message.empty()) {
    return;
  }
  passOn("history-db: " + message);
  if (!advice.empty()) {
    passOn(advice);
  }
}

void Console::passOn(const std::string& line) {
  const std::string text = escaped(line) + "\n";
  std::fwrite(text.data(), 1, text.size(), _messages);
}

void Console::progress(const std::string& line) {
  if ((line.empty() && !_hasProgress) || ::isatty(::fileno(_messages)) == 0) {
    return;
  }
  const std::string text = "\r\033[K" + line;
  std::fwrite(text.data(), 1, text.size(), _messages);
  std::fflush(_messages);
  _hasProgress = !line.empty();
}

void Console::finish() {
  progress("");
  if (std::fflush(_output) != 0) {
    fail(errno);
  }
}

}  // namespace HistoryDb
