// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "rtk/thread/Mutex.h"

namespace Rtk {

/// Where error records go: standard error, one record at a time. Whoever writes a record holds the
/// lock meanwhile, so that records of different threads never mix. The lock belongs to the process:
/// it exists from static initialisation to the end, and is recursive, because the writing of a
/// record can itself end in a fatal error. Any thread. Nothing is fatal here.
class LoggingMedia {
 public:
  LoggingMedia() = delete;

  static Mutex& getMutex();
};

}  // namespace Rtk
