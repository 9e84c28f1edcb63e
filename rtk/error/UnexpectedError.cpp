// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/error/UnexpectedError.h"

#include <cstdarg>
#include <cstdio>

#include "rtk/error/LoggingMedia.h"
#include "rtk/thread/Thread.h"

namespace Rtk {

namespace {

/// The id of the calling thread; its name goes to `*name`.
unsigned long threadInfo(const char** name) {
  Thread* const thread = Thread::getCurrent();
  *name = thread->getName();
  return thread->getId();
}

}  // namespace

void UnexpectedError::log(const char* format, ...) {
  Mutex& mutex = LoggingMedia::getMutex();
  mutex.lock();
  const char* name = nullptr;
  const unsigned long id = threadInfo(&name);
  std::fprintf(stderr, "@@ UNEXPECTED ERROR [%s (%05lX)]: ", name, id);
  std::va_list arguments;
  va_start(arguments, format);
  std::vfprintf(stderr, format, arguments);
  va_end(arguments);
  std::fprintf(stderr, "\n");
  mutex.unlock();
}

void UnexpectedError::logRaw(const char* format, ...) {
  Mutex& mutex = LoggingMedia::getMutex();
  mutex.lock();
  std::fprintf(stderr, "@@ UNEXPECTED ERROR: ");
  std::va_list arguments;
  va_start(arguments, format);
  std::vfprintf(stderr, format, arguments);
  va_end(arguments);
  std::fprintf(stderr, "\n");
  mutex.unlock();
}

}  // namespace Rtk
