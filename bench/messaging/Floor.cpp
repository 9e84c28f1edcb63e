// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

// The least that a wake-up there and one back take: two semaphores, and a value that both sides
// see.

#include <atomic>
#include <memory>
#include <thread>

#include "bench/messaging/Peer.h"
#include "rtk/thread/PosixSemaphore.h"

namespace Bench::Messaging {

namespace {

/// For one client.
class FloorServer final : public Server {
 public:
  explicit FloorServer(int core)
      : _thread([this, core] {
          stayOn(core);
          serve();
        }) {}

  ~FloorServer() override {
    _ending = true;
    _asked.signal();
    _thread.join();
  }

  std::unique_ptr<Client> client() override { return std::make_unique<FloorClient>(*this); }

 private:
  class FloorClient final : public Client {
   public:
    explicit FloorClient(FloorServer& server) : _server(server) {}

    int request(int value) override {
      _server._value = value;
      _server._asked.signal();
      _server._answered.wait();
      return _server._value;
    }

   private:
    FloorServer& _server;
  };

  void serve() {
    for (_asked.wait(); !_ending; _asked.wait()) {
      ++_value;
      _answered.signal();
    }
  }

  Rtk::PosixSemaphore _asked;
  Rtk::PosixSemaphore _answered;
  int _value = 0;
  std::atomic<bool> _ending{false};
  std::thread _thread;
};

}  // namespace

std::unique_ptr<Server> floorServer(int core) {
  return std::make_unique<FloorServer>(core);
}

}  // namespace Bench::Messaging
