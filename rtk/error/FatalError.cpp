#include "rtk/error/FatalError.h"

#include <execinfo.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "rtk/error/LoggingMedia.h"
#include "rtk/thread/Thread.h"

namespace Rtk {

namespace {

bool forceBacktrace = false;
bool forceCore = false;

/// The id of the calling thread; its name goes to `*name`.
unsigned long threadInfo(const char** name) {
  const Thread* const thread = Thread::getCurrent();
  *name = thread->getName();
  return thread->getId();
}

}  // namespace

void FatalError::logRawAndExit(const char* message) {
  Mutex& mutex = LoggingMedia::getMutex();
  mutex.lock();
  std::fprintf(stderr, "@@ FATAL ERROR: %s.\n", message);
  mutex.unlock();
  exit(-1);
}

void FatalError::logRawAndExit(const char* message, const char* detail) {
  Mutex& mutex = LoggingMedia::getMutex();
  mutex.lock();
  std::fprintf(stderr, "@@ FATAL ERROR: %s. %s.\n", message, detail);
  mutex.unlock();
  exit(-1);
}

void FatalError::logRawAndExit(const char* message, unsigned long value) {
  Mutex& mutex = LoggingMedia::getMutex();
  mutex.lock();
  std::fprintf(stderr, "@@ FATAL ERROR: %s. (0x%lx).\n", message, value);
  mutex.unlock();
  exit(-1);
}

void FatalError::logRawAndExit(const char* message, void* pointer) {
  Mutex& mutex = LoggingMedia::getMutex();
  mutex.lock();
  std::fprintf(stderr, "@@ FATAL ERROR: %s. (p=%p).\n", message, pointer);
  mutex.unlock();
  exit(-1);
}

void FatalError::logAndExit(const char* message) {
  Mutex& mutex = LoggingMedia::getMutex();
  mutex.lock();
  const char* name = nullptr;
  const unsigned long id = threadInfo(&name);
  std::fprintf(stderr, "@@ FATAL ERROR [%s (%05lX)]: %s.\n", name, id, message);
  mutex.unlock();
  exit(-1);
}

void FatalError::logAndExit(const char* message, const char* detail) {
  Mutex& mutex = LoggingMedia::getMutex();
  mutex.lock();
  const char* name = nullptr;
  const unsigned long id = threadInfo(&name);
  std::fprintf(stderr, "@@ FATAL ERROR [%s (%05lX)]: %s. %s.\n", name, id, message, detail);
  mutex.unlock();
  exit(-1);
}

void FatalError::logAndExit(const char* message, unsigned long value) {
  Mutex& mutex = LoggingMedia::getMutex();
  mutex.lock();
  const char* name = nullptr;
  const unsigned long id = threadInfo(&name);
  std::fprintf(stderr, "@@ FATAL ERROR [%s (%05lX)]: %s. (0x%lx).\n", name, id, message, value);
  mutex.unlock();
  exit(-1);
}

void FatalError::logAndExit(const char* message, void* pointer) {
  Mutex& mutex = LoggingMedia::getMutex();
  mutex.lock();
  const char* name = nullptr;
  const unsigned long id = threadInfo(&name);
  std::fprintf(stderr, "@@ FATAL ERROR [%s (%05lX)]: %s. (p=%p).\n", name, id, message, pointer);
  mutex.unlock();
  exit(-1);
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
    // The pointer is volatile so that no compiler knows the store has no place to go, the byte so
    // that none takes the store for useless right before the end.
    volatile char* volatile nowhere = nullptr;
    *nowhere = 0;  // NOLINT(clang-analyzer-core.NullDereference): the crash is what is asked for.
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
