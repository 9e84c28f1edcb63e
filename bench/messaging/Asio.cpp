// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

// Boost.Asio: a context that one thread runs, and promises of the answers.

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <future>
#include <memory>
#include <thread>
#include <utility>

#include "bench/messaging/Peer.h"

namespace Bench::Messaging {

namespace {

/// A context and the thread that runs it.
class ContextThread {
 public:
  explicit ContextThread(int core)
      : _work(_context.get_executor()), _thread([this, core] {
          stayOn(core);
          _context.run();
        }) {}

  ~ContextThread() {
    _work.reset();
    _thread.join();
  }

  ContextThread(const ContextThread&) = delete;
  ContextThread& operator=(const ContextThread&) = delete;

  template <class Task>
  void post(Task task) {
    boost::asio::post(_context, std::move(task));
  }

 private:
  // The 1 promises that no other thread runs it, which makes it faster.
  boost::asio::io_context _context{1};
  boost::asio::executor_work_guard<boost::asio::io_context::executor_type> _work;
  std::thread _thread;
};

class AsioClient final : public Client {
 public:
  explicit AsioClient(ContextThread& thread) : _thread(thread) {}

  int request(int value) override {
    std::promise<int> promise;
    std::future<int> answer = promise.get_future();
    _thread.post([value, promise = std::move(promise)]() mutable { promise.set_value(value + 1); });
    return answer.get();
  }

 private:
  ContextThread& _thread;
};

class AsioServer final : public Server {
 public:
  explicit AsioServer(int core) : _thread(core) {}

  std::unique_ptr<Client> client() override { return std::make_unique<AsioClient>(_thread); }

 private:
  ContextThread _thread;
};

class AsioDrain final : public Drain {
 public:
  AsioDrain(int core, Sink& sink) : _sink(sink), _thread(core) {}

  void post(int value) override {
    _thread.post([this, value] { _sink.take(value); });
  }

 private:
  Sink& _sink;
  ContextThread _thread;
};

}  // namespace

std::unique_ptr<Server> asioServer(int core) {
  return std::make_unique<AsioServer>(core);
}

std::unique_ptr<Drain> asioDrain(int core, Sink& sink, int /*batch*/) {
  return std::make_unique<AsioDrain>(core, sink);
}

}  // namespace Bench::Messaging
