// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

namespace Rtk {

class Thread;

/// A visitor of the registered threads, given to Rtk::Thread::traverse() and owned by the caller of
/// that. It is called on the calling thread, with the lock of the thread list held: it must not
/// wait for a thread that is being made or destroyed. Nothing is fatal here.
class ThreadTraverserApi {
 public:
  ThreadTraverserApi() = default;
  virtual ~ThreadTraverserApi() = default;
  ThreadTraverserApi(const ThreadTraverserApi&) = delete;
  ThreadTraverserApi& operator=(const ThreadTraverserApi&) = delete;

  /// True to go on with the next thread, false to stop.
  virtual bool visit(Thread& thread) = 0;
};

}  // namespace Rtk
