// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

namespace TestSupport {

/// What a child process left behind.
struct Outcome {
  /// 0 to 255 as the shell sees it; 128 + N when signal N ended the process.
  int status = -1;
  std::string standardOutput;
  std::string standardError;
};

/// Runs `body` in a forked child and waits for its end. A body that returns ends the child with
/// status 0 through `exit`, so that static destructors run and buffers are flushed.
/// REQUIRES: no other thread runs in this process.
Outcome inChild(const std::function<void()>& body);

/// Goes on as one of the project's programs with the given arguments, `arguments[0]` its path;
/// under the emulator where this machine cannot run it itself. `under` is the beginning of a
/// command that is to run all that, such as "env -i"; none when it is empty.
[[noreturn]] void execute(const std::vector<std::string>& arguments, const std::string& under = "");

/// Whether programs run under an emulator.
bool emulated();

/// Runs one of the project's programs so, and waits for its end.
Outcome run(const std::vector<std::string>& arguments);

bool operator==(const Outcome& a, const Outcome& b);
std::ostream& operator<<(std::ostream& stream, const Outcome& outcome);

}  // namespace TestSupport
