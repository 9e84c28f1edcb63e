// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

// What the standard library has for it: a queue under a mutex and a condition variable, and
// promises of the answers.

#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

#include "bench/messaging/Peer.h"

namespace Bench::Messaging {

namespace {

template <class Item>
class Queue {
 public:
  void put(Item item) {
    {
      const std::lock_guard lock(_mutex);
      _items.push_back(std::move(item));
    }
    _changed.notify_one();
  }

  void close() {
    {
      const std::lock_guard lock(_mutex);
      _closed = true;
    }
    _changed.notify_one();
  }

  /// Blocks until there is an item. None when the queue is closed and empty.
  std::optional<Item> get() {
    std::unique_lock lock(_mutex);
    _changed.wait(lock, [this] { return _closed || !_items.empty(); });
    if (_items.empty()) {
      return {};
    }
    std::optional<Item> item(std::move(_items.front()));
    _items.pop_front();
    return item;
  }

 private:
  std::mutex _mutex;
  std::condition_variable _changed;
  std::deque<Item> _items;
  bool _closed = false;
};

/// A queue and the thread that handles its items.
template <class Item>
class QueueThread {
 public:
  QueueThread(int core, std::function<void(Item&)> handle)
      : _handle(std::move(handle)), _thread([this, core] {
          stayOn(core);
          while (std::optional<Item> item = _queue.get()) {
            _handle(*item);
          }
        }) {}

  ~QueueThread() {
    _queue.close();
    _thread.join();
  }

  QueueThread(const QueueThread&) = delete;
  QueueThread& operator=(const QueueThread&) = delete;

  void put(Item item) { _queue.put(std::move(item)); }

 private:
  Queue<Item> _queue;
  const std::function<void(Item&)> _handle;
  std::thread _thread;
};

struct Request {
  int value;
  std::promise<int> answer;
};

class PromiseClient final : public Client {
 public:
  explicit PromiseClient(QueueThread<Request>& thread) : _thread(thread) {}

  int request(int value) override {
    Request request{value, {}};
    std::future<int> answer = request.answer.get_future();
    _thread.put(std::move(request));
    return answer.get();
  }

 private:
  QueueThread<Request>& _thread;
};

class PromiseServer final : public Server {
 public:
  explicit PromiseServer(int core)
      : _thread(core, [](Request& request) { request.answer.set_value(request.value + 1); }) {}

  std::unique_ptr<Client> client() override { return std::make_unique<PromiseClient>(_thread); }

 private:
  QueueThread<Request> _thread;
};

class QueueDrain final : public Drain {
 public:
  QueueDrain(int core, Sink& sink) : _thread(core, [&sink](int& value) { sink.take(value); }) {}

  void post(int value) override { _thread.put(value); }

 private:
  QueueThread<int> _thread;
};

}  // namespace

std::unique_ptr<Server> promiseServer(int core) {
  return std::make_unique<PromiseServer>(core);
}

std::unique_ptr<Drain> queueDrain(int core, Sink& sink, int /*batch*/) {
  return std::make_unique<QueueDrain>(core, sink);
}

}  // namespace Bench::Messaging
