// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/error/UnexpectedError.h"

#include <cstdarg>
#include <cstdio>

#include "rtk/error/CallingThread.h"
#include "rtk/error/LoggingMedia.h"

namespace Rtk {

void UnexpectedError::log(const char* format, ...) {
  Mutex& mutex = LoggingMedia::getMutex();
  mutex.lock();
  const CallingThread thread;
  std::fprintf(stderr, "@@ UNEXPECTED ERROR [%s (%05lX)]: ", thread.name, thread.id);
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
