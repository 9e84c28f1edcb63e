// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <atomic>
#include <cstring>
#include <functional>
#include <mutex>
#include <new>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "rtk/messaging/MailboxServer.h"
#include "rtk/thread/Thread.h"
#include "tests/support/RtkThread.h"

namespace DatabaseTesting {

/// A mailbox server on a thread of its own, and the marks that clients and server-side objects
/// leave in the order in which things happen.
class Server : public Rtk::MailboxServer {
 public:
  ~Server() override { stop(); }

  void start() {
    _thread.emplace([this] { run(); }, "server");
  }

  /// Blocks until the server thread has ended; nothing, without one.
  void stop() {
    if (_thread.has_value()) {
      TestSupport::onRtkThread([this] { pleaseStop(); }, "stopper");
      _thread.reset();
    }
  }

  void postSync(Rtk::Message& message) override {
    ++_requests;
    Rtk::MailboxServer::postSync(message);
  }

  /// The number of requests so far whose sender waits for the reply. Any thread.
  int requests() const { return _requests; }

  /// Any thread.
  void mark(const std::string& text) {
    const std::lock_guard<std::mutex> lock(_lock);
    _marks += text;
  }

  std::string marks() {
    const std::lock_guard<std::mutex> lock(_lock);
    return _marks;
  }

  /// Marks that `operation` has been done, and where, and returns its request.
  template <class Request>
  void reply(Request& request, const std::string& operation) {
    mark(operation + (Rtk::Thread::getCurrent() == _self ? " " : " off the server thread "));
    request.returnToSender();
  }

 protected:
  void initialize() override { _self = Rtk::Thread::getCurrent(); }

 private:
  std::atomic<int> _requests = 0;
  std::mutex _lock;
  std::string _marks;                  // Guarded by the lock.
  const Rtk::Thread* _self = nullptr;  // Touched by the server thread only.
  std::optional<TestSupport::RtkThread> _thread;
};

/// A server-side object in memory that a client supplied. It may end itself there.
template <class Target>
class InPlace {
 public:
  explicit InPlace(Server& server) : _target(new (_memory) Target(server)) {}
  ~InPlace() {
    if (_target != nullptr) {
      _target->~Target();
    }
  }
  InPlace(const InPlace&) = delete;
  InPlace& operator=(const InPlace&) = delete;

  Target* operator->() { return _target; }

  /// Overwrites the memory, as a client may whose target has ended itself.
  void reuse() {
    std::memset(_memory, 0xDD, sizeof _memory);
    _target = nullptr;
  }

 private:
  alignas(Target) unsigned char _memory[sizeof(Target)];
  Target* _target;
};

/// A running server, one target on it, and client calls that are marked.
template <class Target>
class SyncTest : public ::testing::Test {
 protected:
  SyncTest() { server.start(); }

  /// Runs `body` on a client thread and blocks until it has ended.
  void call(const std::function<void()>& body) {
    TestSupport::onRtkThread(
        [this, &body] {
          server.mark("call ");
          body();
          server.mark("return");
        },
        "client");
  }

  char memory[16] = {};
  Server server;
  InPlace<Target> target{server};
};

/// The memory that a client supplied, seen as the handle that it asked for.
template <class Handle>
Handle* handleIn(void* memory) {
  return static_cast<Handle*>(memory);
}

}  // namespace DatabaseTesting
