// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <functional>
#include <map>
#include <string>

namespace TestSupport {

/// For tests: notes the calls that the calling thread makes to the threads interface of the system,
/// and those for its call stack, while the object lives, and can take one over. A test program gets
/// it by linking recorded_calls, which puts it between the program and the C library. One object
/// per thread at a time, used and ended on that thread.
class RecordedCalls {
 public:
  RecordedCalls();
  ~RecordedCalls();
  RecordedCalls(const RecordedCalls&) = delete;
  RecordedCalls& operator=(const RecordedCalls&) = delete;

  /// The calls so far with their interesting arguments, each followed by a line end.
  const std::string& text() const { return _text; }

  /// Adds a line of the test's own.
  void mark(const std::string& line) { _text += line + "\n"; }

  /// Answers the call named `name` with `error` in place of making it, from its call number `first`
  /// (from 1) on, `times` times. 0 is the answer of success.
  void answer(const std::string& name, int error, int first = 1, int times = 1);

  /// Runs `hook`, whose own calls are not noted, before each call named `name`.
  void before(const std::string& name, std::function<void()> hook);

  /// For the calls themselves: makes or answers one. The result is that of the call, for most of
  /// them an error number or 0 for success.
  /// REQUIRES: the calling thread has an object of this class.
  static int perform(const std::string& name, const std::string& arguments,
                     const std::function<int()>& call);

 private:
  struct Plan {
    std::function<void()> hook;
    int calls = 0;
    int error = 0;
    int firstAnswered = 0;
    int lastAnswered = -1;
  };

  std::string _text;
  std::map<std::string, Plan> _plans;
};

}  // namespace TestSupport
