// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sched.h>

#include <cstdint>
#include <string>
#include <vector>

namespace Bench {

/// Lets this process, and those that it starts, run on every core while the object lives: a program
/// of two threads is to have what its users give it. Nor do they go ahead of others: the threads of
/// the program leave the scheduling they inherit, its contenders would not.
class OnEveryCore {
 public:
  OnEveryCore();
  ~OnEveryCore();
  OnEveryCore(const OnEveryCore&) = delete;
  OnEveryCore& operator=(const OnEveryCore&) = delete;

 private:
  cpu_set_t _before = {};
};

using Arguments = std::vector<std::string>;

struct Run {
  /// From its start to its end.
  double seconds;
  /// What it gave the system to write.
  double bytesWritten;
};

/// Runs a program, which is found as a shell finds it, and ends this process unless its status is
/// 0. All that was to be written before is on the device by then: the program's own sync() would
/// wait for it.
Run run(const Arguments& arguments);

/// Whether there is such a program.
bool isInstalled(const std::string& program);

/// The most memory that a program has had resident, in KiB. REQUIRES: `time` is installed.
double peakMemory(const Arguments& arguments);

/// The instructions of a program, from its loader on. REQUIRES: `valgrind` is installed.
double instructions(const Arguments& arguments);

/// Ends this process with a message when the condition does not hold: a measurement that did not do
/// what it measures must not look like a fast one.
void require(bool condition, const std::string& what);

}  // namespace Bench
