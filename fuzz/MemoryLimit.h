// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>

namespace Fuzz {

/// While an object lives, the process ends when `operator new` has given out more than `bytes` that
/// did not come back since the object was made. Sanitizers' own memory does not count. One at a
/// time; the program's other threads count, too.
class MemoryLimit {
 public:
  explicit MemoryLimit(std::size_t bytes);
  ~MemoryLimit();
  MemoryLimit(const MemoryLimit&) = delete;
  MemoryLimit& operator=(const MemoryLimit&) = delete;

  /// The most that was out at once while the last object lived.
  static std::size_t peak();
};

/// While an object lives, this thread's memory is not counted: that of a check, which comes back
/// before the object ends.
class MemoryPause {
 public:
  MemoryPause();
  ~MemoryPause();
  MemoryPause(const MemoryPause&) = delete;
  MemoryPause& operator=(const MemoryPause&) = delete;
};

}  // namespace Fuzz
