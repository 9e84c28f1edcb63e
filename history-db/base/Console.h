// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace HistoryDb {

/// Where a command tells what it found: results on standard output, all else on standard error.
/// Owned by the caller of the command. One thread at a time.
class Console {
 public:
  /// Both must outlive this object.
  Console(std::FILE* output, std::FILE* messages) : _output(output), _messages(messages) {}

  /// Writes a result as it is: a document whose format has its own escapes. Throws Trouble when it
  /// cannot be written, without a text when that is because nobody reads it any more.
  void print(std::string_view text);

  /// Writes a line of text as a result, escaped: it may hold names of files.
  void printLine(const std::string& line);

  /// Writes a message on a line of its own, after "history-db: "; none when it is empty. It is
  /// escaped, as it may hold names of files. `advice` is a second line.
  void tell(const std::string& message, const std::string& advice = "");

  /// Writes a message of another program on a line of its own, escaped.
  void passOn(const std::string& line);

  /// Replaces the line that tells how far a long run is; an empty one takes it away. Silent unless
  /// messages go to a terminal.
  void progress(const std::string& line);

  /// Throws Trouble unless all that was printed has reached its destination. To be called at the
  /// end of every command.
  void finish();

 private:
  [[noreturn]] static void fail(int error);

  std::FILE* const _output;
  std::FILE* const _messages;
  bool _hasProgress = false;
};

}  // namespace HistoryDb
