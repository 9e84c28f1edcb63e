// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "tool/Threads.h"

#include <sched.h>
#include <semaphore.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>

#include "rtk/messaging/Message.h"
#include "rtk/thread/PosixThread.h"

namespace {

/// Holds the thread that processes it for good.
class Standstill final : public Rtk::Message {
 public:
  explicit Standstill(Rtk::PostMessageApi& server) : _server(server) {
    ::sem_init(&_reached, 0, 0);
  }

  void process() override {
    ::sem_post(&_reached);
    for (;;) {
      ::pause();
    }
  }

  void bringAbout() {
    _server.post(*this);
    timespec limit = {};
    ::clock_gettime(CLOCK_REALTIME, &limit);
    ++limit.tv_sec;
    while (::sem_timedwait(&_reached, &limit) != 0 && errno == EINTR) {
    }
  }

 private:
  Rtk::PostMessageApi& _server;
  sem_t _reached;
};

/// Never deleted: the thread that processes it stays there.
Standstill* standstill = nullptr;

}  // namespace

void startThread(Rtk::Runnable& runnable, const char* name) {
  constexpr int priority = 31;
  constexpr int stackSize = 0x10000;
  // Never deleted: the thread is to run until the process ends.
  new Rtk::PosixThread(runnable, name, priority, stackSize, SCHED_OTHER);
}

void standStillAtExit(Rtk::PostMessageApi& server) {
  standstill = new Standstill(server);
  // What is registered last runs first: before the destructors of objects that are there by now.
  std::atexit([] { standstill->bringAbout(); });
}
