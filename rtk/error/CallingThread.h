// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "rtk/thread/Thread.h"

namespace Rtk {

/// The calling thread as error records name it. Creating the object is fatal if the thread is not a
/// `Thread`; that record then takes the place of the one that was begun.
struct CallingThread {
  CallingThread() : CallingThread(Thread::getCurrent()) {}

  const char* const name;
  const unsigned long id;

 private:
  explicit CallingThread(Thread* thread) : name(thread->getName()), id(thread->getId()) {}
};

}  // namespace Rtk
