// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sched.h>

#include <atomic>
#include <functional>
#include <utility>

#include "rtk/thread/PosixSemaphore.h"
#include "rtk/thread/PosixThread.h"
#include "rtk/thread/Runnable.h"

namespace TestSupport {

/// Runs a body on a new thread of the framework, which is joined when this object goes. The body
/// begins when the thread is complete, so that it may be as short as it likes. A test that compares
/// whole records can give the thread an id of its own choice.
class RtkThread final : private Rtk::Runnable {
 public:
  explicit RtkThread(std::function<void()> body, const char* name = "test", unsigned long id = 0)
      : _body(std::move(body)), _thread(*this, name, id) {
    _complete.signal();
  }

  /// Blocks until the body has ended, which sees the thread whole up to then, and joins the thread.
  ~RtkThread() override { _ended.wait(); }

  Rtk::Thread& thread() { return _thread; }

  /// How often the thread has been signalled in each way.
  int signals() const { return _thread.signals; }
  int suSignals() const { return _thread.suSignals; }

 private:
  class Thread final : public Rtk::PosixThread {
   public:
    Thread(Rtk::Runnable& runnable, const char* name, unsigned long id)
        : Rtk::PosixThread(runnable, name, 0, 1 << 20, SCHED_OTHER), _chosenId(id) {}

    void signal() override {
      ++signals;
      Rtk::PosixThread::signal();
    }
    void suSignal() override {
      ++suSignals;
      Rtk::PosixThread::suSignal();
    }
    unsigned long getId() override {
      return _chosenId != 0 ? _chosenId : Rtk::PosixThread::getId();
    }

    std::atomic<int> signals{0};
    std::atomic<int> suSignals{0};

   private:
    unsigned long _chosenId;
  };

  void run() override {
    _complete.wait();
    _body();
    _ended.signal();
  }

  std::function<void()> _body;
  Rtk::PosixSemaphore _complete;
  Rtk::PosixSemaphore _ended;
  Thread _thread;
};

/// Runs `body` on a new thread of the framework and blocks until it has ended.
inline void onRtkThread(std::function<void()> body, const char* name = "test",
                        unsigned long id = 0) {
  const RtkThread thread(std::move(body), name, id);
}

}  // namespace TestSupport
