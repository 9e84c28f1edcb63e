// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/error/FatalError.h"

#include <execinfo.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "rtk/error/CallingThread.h"
#include "rtk/error/LoggingMedia.h"

namespace Rtk {

namespace {

bool forceBacktrace = false;
bool forceCore = false;

/// Calls `write`, which writes one record, with the log held, and ends the process.
template <class Write>
[[noreturn]] void writeAndExit(const Write& write) {
  Mutex& mutex = LoggingMedia::getMutex();
  mutex.lock();
  write();
  mutex.unlock();
  FatalError::exit(-1);
}

/// The same for a record with the calling thread: `write` gets its name and id.
template <class Write>
[[noreturn]] void writeNamedAndExit(const Write& write) {
  writeAndExit([&write] {
    // Asked for with the log held: where there is no such thread, that record takes its place.
    const CallingThread thread;
    write(thread.name, thread.id);
  });
}

/// Not for a sanitizer to tell of: the crash is what is asked for.
__attribute__((no_sanitize("undefined"))) void crash() {
  // The pointer is volatile so that no compiler knows the store has no place to go, the byte so
  // that none takes the store for useless right before the end.
  volatile char* volatile nowhere = nullptr;
  *nowhere = 0;  // NOLINT(clang-analyzer-core.NullDereference)
}

}  // namespace

void FatalError::logRawAndExit(const char* message) {
  writeAndExit([=] { std::fprintf(stderr, "@@ FATAL ERROR: %s.\n", message); });
}

void FatalError::logRawAndExit(const char* message, const char* detail) {
  writeAndExit([=] { std::fprintf(stderr, "@@ FATAL ERROR: %s. %s.\n", message, detail); });
}

void FatalError::logRawAndExit(const char* message, unsigned long value) {
  writeAndExit([=] { std::fprintf(stderr, "@@ FATAL ERROR: %s. (0x%lx).\n", message, value); });
}

void FatalError::logRawAndExit(const char* message, void* pointer) {
  writeAndExit([=] { std::fprintf(stderr, "@@ FATAL ERROR: %s. (p=%p).\n", message, pointer); });
}

void FatalError::logAndExit(const char* message) {
  writeNamedAndExit([=](const char* name, unsigned long id) {
    std::fprintf(stderr, "@@ FATAL ERROR [%s (%05lX)]: %s.\n", name, id, message);
  });
}

void FatalError::logAndExit(const char* message, const char* detail) {
  writeNamedAndExit([=](const char* name, unsigned long id) {
    std::fprintf(stderr, "@@ FATAL ERROR [%s (%05lX)]: %s. %s.\n", name, id, message, detail);
  });
}

void FatalError::logAndExit(const char* message, unsigned long value) {
  writeNamedAndExit([=](const char* name, unsigned long id) {
    std::fprintf(stderr, "@@ FATAL ERROR [%s (%05lX)]: %s. (0x%lx).\n", name, id, message, value);
  });
}

void FatalError::logAndExit(const char* message, void* pointer) {
  writeNamedAndExit([=](const char* name, unsigned long id) {
    std::fprintf(stderr, "@@ FATAL ERROR [%s (%05lX)]: %s. (p=%p).\n", name, id, message, pointer);
  });
}

void FatalError::exit(int status) {
  if (status == 0) {
    std::exit(0);
  }
  if (forceBacktrace) {
    // The limit of 1024 for 256 slots is meant: it is the size of the array in bytes on the device.
    // A stack of more than 256 frames runs over it.
    void* frames[256];
    const int depth = ::backtrace(frames, 1024);
    ::backtrace_symbols_fd(frames, depth, STDOUT_FILENO);
  }
  if (forceCore) {
    crash();
  }
  std::exit(status);
}

void FatalError::forceBacktraceOnExit() {
  forceBacktrace = true;
}

void FatalError::forceCoreDumpOnExit() {
  forceCore = true;
}

}  // namespace Rtk
