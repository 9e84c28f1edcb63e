// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/error/LoggingMedia.h"

#include "rtk/thread/PosixMutex.h"

namespace Rtk {

namespace {

PosixMutex _loggingMutex;

}  // namespace

Mutex& LoggingMedia::getMutex() {
  return _loggingMutex;
}

}  // namespace Rtk
