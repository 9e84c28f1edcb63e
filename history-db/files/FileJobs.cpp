// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/files/FileJobs.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <new>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include "history-db/files/Cleanup.h"

namespace HistoryDb {

namespace {

/// Outcomes that wait for one before them; more files are not begun meanwhile.
constexpr std::size_t mostWaitingPerJob = 8;

/// The threads that work, and what they have done. Started and ended by one thread, which takes the
/// outcomes.
class Workers {
 public:
  Workers(std::size_t count, std::size_t jobs, std::function<FileOutcome(std::size_t)> work)
      : _work(std::move(work)), _mostWaiting(jobs * mostWaitingPerJob), _outcomes(count) {
    const std::size_t threads = std::min(count, jobs);
    _threads.reserve(threads);
    // Signals are handled on the main thread, the only one that creates and removes folders.
    const BlockedSignals blocked;
    while (_threads.size() < threads) {
      try {
        _threads.emplace_back([this] { run(); });
      } catch (const std::system_error&) {
        // Those that run do all of it; without any there is nobody to.
        if (_threads.empty()) {
          throw Trouble("A thread cannot be started.");
        }
        break;
      }
    }
  }

  ~Workers() {
    {
      const std::lock_guard<std::mutex> lock(_mutex);
      _next = _outcomes.size();
    }
    _taken.notify_all();
    for (std::thread& thread : _threads) {
      thread.join();
    }
  }

  Workers(const Workers&) = delete;
  Workers& operator=(const Workers&) = delete;

  /// The next outcome, in order; none when it is not there within `patience`.
  std::optional<FileOutcome> take(std::chrono::milliseconds patience) {
    std::unique_lock<std::mutex> lock(_mutex);
    std::optional<FileOutcome>& due = _outcomes[_due];
    if (!_done.wait_for(lock, patience, [&] { return due.has_value(); })) {
      return std::nullopt;
    }
    std::optional<FileOutcome> outcome = std::exchange(due, std::nullopt);
    ++_due;
    lock.unlock();
    _taken.notify_all();
    return outcome;
  }

 private:
  void run() {
    std::unique_lock<std::mutex> lock(_mutex);
    for (;;) {
      _taken.wait(lock,
                  [this] { return _next == _outcomes.size() || _next < _due + _mostWaiting; });
      if (_next == _outcomes.size()) {
        return;
      }
      const std::size_t index = _next++;
      lock.unlock();
      FileOutcome outcome = _work(index);
      lock.lock();
      _outcomes[index] = std::move(outcome);
      _done.notify_one();
    }
  }

  // Constant after construction.
  const std::function<FileOutcome(std::size_t)> _work;
  const std::size_t _mostWaiting;
  std::vector<std::thread> _threads;

  std::mutex _mutex;
  std::condition_variable _done;
  std::condition_variable _taken;
  // Guarded by the lock.
  std::vector<std::optional<FileOutcome>> _outcomes;
  /// The file to be begun next, and the one that is to be taken next.
  std::size_t _next = 0;
  std::size_t _due = 0;
};

}  // namespace

Status workOnFiles(
    const std::vector<std::string>& files, int jobs, bool showsProgress,
    const std::function<FileOutcome(const std::string& path)>& work,
    const std::function<std::string(const std::string& path, const std::string& message)>& trouble,
    Console& console) {
  const auto workOn = [&](std::size_t index) -> FileOutcome {
    const std::string& path = files[index];
    std::string message;
    try {
      return work(path);
    } catch (const std::bad_alloc&) {
      message = path + ": There is not enough memory.";
    } catch (const std::exception& error) {
      message = error.what();
    } catch (...) {
      message = path + ": It cannot be worked on.";
    }
    return {Status::Trouble, trouble(path, message), message};
  };
  using Clock = std::chrono::steady_clock;
  // A run that is shorter needs no words.
  const Clock::time_point talkative = Clock::now() + std::chrono::seconds(1);
  constexpr std::chrono::milliseconds patience(200);
  Status status = Status::Fine;
  Workers workers(files.size(), static_cast<std::size_t>(jobs), workOn);
  for (std::size_t done = 0; done < files.size();) {
    const std::optional<FileOutcome> outcome = workers.take(patience);
    if (outcome) {
      ++done;
      status = worst(status, outcome->status);
      console.tell(outcome->message);
      console.print(outcome->output);
      console.finish();
    }
    if (showsProgress && done < files.size() && Clock::now() >= talkative) {
      console.progress(fmt::format("{} of {} files", done, files.size()));
    }
  }
  return status;
}

}  // namespace HistoryDb
