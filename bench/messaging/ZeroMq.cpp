// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

// ZeroMQ: sockets for requests and answers within the process.

#include <zmq.h>

#include <memory>
#include <thread>

#include "bench/messaging/Peer.h"

namespace Bench::Messaging {

namespace {

constexpr const char* address = "inproc://server";

class ZeroMqClient final : public Client {
 public:
  explicit ZeroMqClient(void* context) : _socket(::zmq_socket(context, ZMQ_REQ)) {
    ::zmq_connect(_socket, address);
  }

  ~ZeroMqClient() override { ::zmq_close(_socket); }

  ZeroMqClient(const ZeroMqClient&) = delete;
  ZeroMqClient& operator=(const ZeroMqClient&) = delete;

  int request(int value) override {
    int answer = value;
    ::zmq_send(_socket, &value, sizeof value, 0);
    ::zmq_recv(_socket, &answer, sizeof answer, 0);
    return answer;
  }

 private:
  void* const _socket;
};

class ZeroMqServer final : public Server {
 public:
  explicit ZeroMqServer(int core) {
    // Threads that would serve sockets of other kinds.
    ::zmq_ctx_set(_context, ZMQ_IO_THREADS, 0);
    _socket = ::zmq_socket(_context, ZMQ_REP);
    ::zmq_bind(_socket, address);
    _thread = std::thread([this, core] {
      stayOn(core);
      serve();
    });
  }

  ~ZeroMqServer() override {
    ::zmq_ctx_shutdown(_context);
    _thread.join();
    ::zmq_ctx_term(_context);
  }

  ZeroMqServer(const ZeroMqServer&) = delete;
  ZeroMqServer& operator=(const ZeroMqServer&) = delete;

  std::unique_ptr<Client> client() override { return std::make_unique<ZeroMqClient>(_context); }

 private:
  /// Until the context is shut down, which makes the calls fail.
  void serve() {
    int value = 0;
    while (::zmq_recv(_socket, &value, sizeof value, 0) != -1) {
      ++value;
      ::zmq_send(_socket, &value, sizeof value, 0);
    }
    ::zmq_close(_socket);
  }

  void* const _context = ::zmq_ctx_new();
  void* _socket = nullptr;
  std::thread _thread;
};

}  // namespace

std::unique_ptr<Server> zeroMqServer(int core) {
  return std::make_unique<ZeroMqServer>(core);
}

}  // namespace Bench::Messaging
