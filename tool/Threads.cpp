// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "tool/Threads.h"

#include <pthread.h>
#include <sched.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>

#include "rtk/messaging/Message.h"
#include "rtk/thread/PosixThread.h"

namespace {

/// Stops the thread that processes it: the thread never returns from process().
class StopMessage final : public Rtk::Message {
 public:
  StopMessage(Rtk::PostMessageApi& server, Rtk::Thread& thread) : _server(server), _thread(thread) {
    pthread_condattr_t attribute;
    ::pthread_condattr_init(&attribute);
    // A change of the system's date must not make the wait longer or shorter.
    ::pthread_condattr_setclock(&attribute, CLOCK_MONOTONIC);
    ::pthread_cond_init(&_changed, &attribute);
  }

  void process() override {
    ::pthread_mutex_lock(&_mutex);
    _isStopped = true;
    ::pthread_cond_signal(&_changed);
    ::pthread_mutex_unlock(&_mutex);
    for (;;) {
      ::pause();
    }
  }

  void stopServer() {
    if (_thread.getId() == static_cast<unsigned long>(::gettid())) {
      // The server's thread ends the process. It would wait for itself.
      return;
    }
    timespec limit = {};
    ::clock_gettime(CLOCK_MONOTONIC, &limit);
    ++limit.tv_sec;
    ::pthread_mutex_lock(&_mutex);
    _server.post(*this);
    while (!_isStopped && ::pthread_cond_timedwait(&_changed, &_mutex, &limit) == 0) {
    }
    ::pthread_mutex_unlock(&_mutex);
  }

 private:
  Rtk::PostMessageApi& _server;
  Rtk::Thread& _thread;
  pthread_mutex_t _mutex = PTHREAD_MUTEX_INITIALIZER;
  pthread_cond_t _changed;
  bool _isStopped = false;
};

/// Never deleted: the server's thread stays in it.
StopMessage* stopMessage = nullptr;

}  // namespace

Rtk::Thread& startThread(Rtk::Runnable& runnable, const char* name) {
  constexpr int priority = 31;
  constexpr int stackSize = 0x10000;
  // Never deleted: the thread runs until the process ends.
  return *new Rtk::PosixThread(runnable, name, priority, stackSize, SCHED_OTHER);
}

void stopServerAtExit(Rtk::PostMessageApi& server, Rtk::Thread& thread) {
  stopMessage = new StopMessage(server, thread);
  // Exit handlers run in reverse order: before the destructors of existing static objects.
  std::atexit([] { stopMessage->stopServer(); });
}
