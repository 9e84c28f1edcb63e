// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

namespace Rtk {

class Thread;

/// A visitor of the registered threads, given to Rtk::Thread::traverse() and owned by the caller of
/// that. It is called on the calling thread, with the lock of the thread list held: it must not
/// wait for a thread that is being made or destroyed.
///
/// A thread is in the list from the constructor of Rtk::Thread to its destructor. A visit can
/// therefore meet an object whose derived parts are not constructed yet, or destroyed already.
/// Compare or store its address only; to call an operation of it, getName() included, is undefined
/// behaviour and usually ends the process with "pure virtual method called". REQUIRES: a visitor
/// that calls operations of a thread knows that no thread is being made or destroyed meanwhile.
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
