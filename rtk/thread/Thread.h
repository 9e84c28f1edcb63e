// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <atomic>

#include "rtk/list/SList.h"
#include "rtk/thread/PosixMutex.h"
#include "rtk/thread/Signaled.h"
#include "rtk/thread/ThreadTraverserApi.h"

namespace Rtk {

/// A thread of the framework. It is in the process-wide list of threads from its construction to
/// its destruction, and can be found from the code that runs on it; to signal it is to wake it out
/// of wait(). Whoever makes it owns it. Any thread may call any operation, but getCurrent() and
/// wait(), and with them all that blocks on a message, belong on a thread of the framework: on any
/// other, the process's main thread included, they are fatal.
class Thread : public Signaled {
 public:
  Thread();
  ~Thread() override;

  // Not const, on purpose: derived classes override these signatures.
  virtual const char* getName() = 0;
  virtual unsigned long getId() = 0;

  /// The calling thread. Fatal when the framework did not start it.
  static Thread* getCurrent();

  /// Blocks until the calling thread is signalled; takes one signal. Fatal as getCurrent() is.
  static void wait();

  /// One sleep, which a POSIX signal cuts short.
  static void sleep(unsigned long milliseconds);

  /// The id of the process.
  static int createTaskId();

  /// Visits the registered threads in the order of their creation, until a visit returns false. A
  /// registered thread may be only partly constructed: see ThreadTraverserApi.
  static void traverse(ThreadTraverserApi& traverser);

 protected:
  // The list is guarded by the lock, as is the making of PosixThread's key.
  static SList<Thread> _threadList;
  static PosixMutex _threadMutex;

  // How many PosixThreads have been made. Read and counted up without the lock.
  static std::atomic<unsigned> _threadCount;

 private:
  friend class SList<Thread>;

  // Guarded by _threadMutex.
  Thread* _next;
};

}  // namespace Rtk
