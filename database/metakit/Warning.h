// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdio>

namespace Pvn::Database::Metakit::Persist {

/// Tells of a failure of the database: one line on standard output. Any thread.
inline void warn(const char* line) {
  std::printf("%s", line);
}

/// Whether `memSize` bytes have room for an `Object`; warns if not. Any thread.
///
/// The check only warns. A request with too little memory gets a null result, but its object is
/// built all the same, and the request is returned once, after that: a second return would leave a
/// count in the semaphore of the client and end its next wait too early.
template <class Object>
bool isEnoughMemory(unsigned int memSize, const char* warning) {
  if (memSize < sizeof(Object)) {
    warn(warning);
    return false;
  }
  return true;
}

}  // namespace Pvn::Database::Metakit::Persist
