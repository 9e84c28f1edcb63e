// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sched.h>

#include <functional>
#include <utility>

#include "rtk/messaging/MailboxServer.h"
#include "rtk/thread/PosixSemaphore.h"
#include "rtk/thread/PosixThread.h"
#include "rtk/thread/Runnable.h"

namespace Examples {

//! [client]
/// The body of a thread that calls a server, and stops it in the end.
class Client final : public Rtk::Runnable {
 public:
  Client(Rtk::MailboxServer& server, std::function<void()> calls)
      : _server(server), _calls(std::move(calls)) {}

  void run() override {
    // A thread must not end before its PosixThread is complete.
    _start.wait();
    _calls();
    _server.pleaseStop();
  }

  void start() { _start.signal(); }

 private:
  Rtk::MailboxServer& _server;
  const std::function<void()> _calls;
  Rtk::PosixSemaphore _start;
};

/// Makes `calls` on a thread of the framework while `server` is served on another one. Blocks until
/// both have ended.
inline void callBeside(Rtk::MailboxServer& server, std::function<void()> calls) {
  constexpr int highest = 0;
  constexpr int stackSize = 0x10000;
  Client client(server, std::move(calls));
  const Rtk::PosixThread clientThread(client, "client", highest, stackSize, SCHED_OTHER);
  const Rtk::PosixThread serverThread(server, "server", highest, stackSize, SCHED_OTHER);
  client.start();
}
//! [client]

}  // namespace Examples
