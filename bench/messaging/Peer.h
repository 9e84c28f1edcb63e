// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <pthread.h>
#include <sched.h>

#include <memory>

#include "rtk/thread/PosixSemaphore.h"

// Ways of calling one thread from another, each behind the same interface: that of rtk/messaging
// and its peers.
namespace Bench::Messaging {

/// One thread's way to a server. The thread that made it uses it and ends it.
class Client {
 public:
  Client() = default;
  /// Sends a value. Blocks until the server's answer is there: one more.
  virtual int request(int value) = 0;

  virtual ~Client() = default;
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;
};

/// A thread that answers requests. It ends with this object, which outlives its clients.
class Server {
 public:
  Server() = default;
  /// Any thread; the client is the calling thread's.
  virtual std::unique_ptr<Client> client() = 0;

  virtual ~Server() = default;
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;
};

/// What a drain does with the values that are posted to it: 0 and so on in each batch.
class Sink {
 public:
  explicit Sink(int batch) : _batch(batch) {}

  /// The drain's thread.
  void take(int value) {
    _inOrder = _inOrder && value == _next;
    if (++_next == _batch) {
      _next = 0;
      _drained.signal();
    }
  }

  /// Blocks until a batch has been handled. Whether all values so far came in their order.
  bool waitForBatch() {
    _drained.wait();
    return _inOrder;
  }

 private:
  const int _batch;
  int _next = 0;
  bool _inOrder = true;
  Rtk::PosixSemaphore _drained;
};

/// A thread that gives what is posted to a sink. It ends with this object.
class Drain {
 public:
  Drain() = default;
  /// Always the same thread, which waits for a batch before it posts the next one.
  virtual void post(int value) = 0;

  virtual ~Drain() = default;
  Drain(const Drain&) = delete;
  Drain& operator=(const Drain&) = delete;
};

/// The thread of a server or drain stays on `core`. Null where the library is not installed.
using MakeServer = std::unique_ptr<Server>(int core);
MakeServer rtkServer;
MakeServer floorServer;
MakeServer promiseServer;
MakeServer asioServer;
MakeServer zeroMqServer;
MakeServer actorServer;

/// Likewise. A batch has as many values as `batch` tells.
using MakeDrain = std::unique_ptr<Drain>(int core, Sink& sink, int batch);
MakeDrain rtkDrain;
MakeDrain queueDrain;
MakeDrain asioDrain;

inline void stayOn(int core) {
  cpu_set_t cores;
  CPU_ZERO(&cores);
  CPU_SET(static_cast<unsigned int>(core), &cores);
  ::pthread_setaffinity_np(::pthread_self(), sizeof cores, &cores);
}

}  // namespace Bench::Messaging
