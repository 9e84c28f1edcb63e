// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

// What a request to another thread takes until its answer is there, and what a message takes that
// has none: the framework and its peers, turn and turn about. A counter `missing: ...` names what
// could not be measured on this machine.

#include <benchmark/benchmark.h>
#include <sched.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "bench/Measure.h"
#include "bench/messaging/Peer.h"
#include "rtk/thread/PosixSemaphore.h"
#include "rtk/thread/PosixThread.h"
#include "rtk/thread/Runnable.h"

namespace {

using namespace Bench::Messaging;

using Clock = std::chrono::steady_clock;

constexpr std::size_t rounds = 120;
/// Of each client.
constexpr int requestsOfTurn = 500;
constexpr int batch = 1000;
constexpr int batchesOfTurn = 50;

struct Unit {
  const char* name;
  double inASecond;
};
constexpr Unit microseconds = {"us", 1e6};
constexpr Unit nanoseconds = {"ns", 1e9};

/// The most that a request of the framework may take, compared with that of a peer.
using Goals = std::map<std::string, double>;

/// A measurement that did not do what it measures must not look like a fast one.
void require(bool condition, const char* what) {
  if (!condition) {
    std::fprintf(stderr, "messaging_bench: %s\n", what);
    std::exit(1);
  }
}

std::vector<int> allowedCores() {
  cpu_set_t set;
  CPU_ZERO(&set);
  require(::sched_getaffinity(0, sizeof set, &set) == 0, "the cores cannot be told");
  std::vector<int> cores;
  for (unsigned int core = 0; core < CPU_SETSIZE; ++core) {
    if (CPU_ISSET(core, &set)) {
      cores.push_back(static_cast<int>(core));
    }
  }
  return cores;
}

/// Found out before main(), which keeps to one of them.
const std::vector<int> allCores = allowedCores();

/// A thread of the framework, which any peer's client may run on. It stays on one core and works
/// when it is told to.
class Worker final : private Rtk::Runnable {
 public:
  using Work = std::function<void()>;

  /// `prepare` gives the work; it is called, and the work ended, on the thread.
  Worker(int core, std::function<Work()> prepare)
      : _core(core),
        _prepare(std::move(prepare)),
        _thread(*this, "worker", 0, stackSize, SCHED_OTHER) {}

  ~Worker() override {
    _ending = true;
    _begin.signal();
  }

  void beginTurn() { _begin.signal(); }
  void awaitTurn() { _end.wait(); }

  /// When the last turn began and ended.
  Clock::time_point began() const { return _began; }
  Clock::time_point ended() const { return _ended; }

 private:
  static constexpr int stackSize = 1 << 20;

  void run() override {
    stayOn(_core);
    const Work work = _prepare();
    for (_begin.wait(); !_ending; _begin.wait()) {
      _began = Clock::now();
      work();
      _ended = Clock::now();
      _end.signal();
    }
  }

  const int _core;
  const std::function<Work()> _prepare;
  bool _ending = false;
  Clock::time_point _began;
  Clock::time_point _ended;
  Rtk::PosixSemaphore _begin;
  Rtk::PosixSemaphore _end;
  Rtk::PosixThread _thread;
};

/// The workers of a peer, and the seconds of each of their turns. What they work with must outlive
/// the object.
class Contestant {
 public:
  Contestant(std::string name, const std::vector<int>& cores,
             const std::function<Worker::Work()>& prepare)
      : _name(std::move(name)) {
    for (const int core : cores) {
      _workers.push_back(std::make_unique<Worker>(core, prepare));
    }
  }

  const std::string& name() const { return _name; }
  const std::vector<double>& times() const { return _times; }

  void takeTurn() { _times.push_back(secondsOfTurn()); }

  /// A turn that does not count.
  double secondsOfTurn() {
    for (const auto& worker : _workers) {
      worker->beginTurn();
    }
    Clock::time_point began = Clock::time_point::max();
    Clock::time_point ended = Clock::time_point::min();
    for (const auto& worker : _workers) {
      worker->awaitTurn();
      began = std::min(began, worker->began());
      ended = std::max(ended, worker->ended());
    }
    return std::chrono::duration<double>(ended - began).count();
  }

 private:
  const std::string _name;
  std::vector<std::unique_ptr<Worker>> _workers;
  std::vector<double> _times;
};

using Contestants = std::vector<std::unique_ptr<Contestant>>;

void takeTurns(const Contestants& contestants) {
  for (const auto& contestant : contestants) {
    contestant->secondsOfTurn();
  }
  for (std::size_t round = 0; round < rounds; ++round) {
    for (std::size_t turn = 0; turn < contestants.size(); ++turn) {
      contestants[(round + turn) % contestants.size()]->takeTurn();
    }
  }
}

/// Tells the times, and those of the first contestant compared with each other one's.
void tellTimes(benchmark::State& state, const Contestants& contestants, int messagesOfTurn,
               Unit unit, const Goals& goals) {
  const Contestant& first = *contestants.front();
  for (const auto& contestant : contestants) {
    Bench::tell(state, contestant->name() + ", " + unit.name,
                Bench::median(contestant->times()) / messagesOfTurn * unit.inASecond);
  }
  for (std::size_t i = 1; i < contestants.size(); ++i) {
    const Contestant& other = *contestants[i];
    const auto goal = goals.find(other.name());
    const double ratio = Bench::medianOfRatios(first.times(), other.times());
    if (goal == goals.end()) {
      Bench::tell(state, first.name() + " / " + other.name(), ratio);
    } else {
      Bench::tell(state, first.name() + " / " + other.name(), ratio, goal->second);
    }
  }
}

void tellMissing(benchmark::State& state, const std::string& name) {
  Bench::tell(state, "missing: " + name, 1);
}

Worker::Work sendRequests(Server& server) {
  return [client = std::shared_ptr<Client>(server.client())] {
    for (int value = 0; value < requestsOfTurn; ++value) {
      require(client->request(value) == value + 1, "an answer is wrong");
    }
  };
}

struct ServerPeer {
  const char* name;
  MakeServer* make;
};

const std::vector<ServerPeer> serverPeers = {{"Rtk", rtkServer},
                                             {"promise and queue", promiseServer},
                                             {"Asio", asioServer},
                                             {"ZeroMQ", zeroMqServer},
                                             {"Actor Framework", actorServer}};

void compareRequests(benchmark::State& state, const std::vector<ServerPeer>& peers, int serverCore,
                     const std::vector<int>& clientCores, const Goals& goals) {
  std::vector<std::unique_ptr<Server>> servers;
  Contestants contestants;
  for (const ServerPeer& peer : peers) {
    std::unique_ptr<Server> server = peer.make(serverCore);
    if (server == nullptr) {
      tellMissing(state, peer.name);
      continue;
    }
    contestants.push_back(std::make_unique<Contestant>(
        peer.name, clientCores, [&server = *server] { return sendRequests(server); }));
    servers.push_back(std::move(server));
  }
  for ([[maybe_unused]] auto each : state) {
    takeTurns(contestants);
  }
  const int requests = requestsOfTurn * static_cast<int>(clientCores.size());
  tellTimes(state, contestants, requests, microseconds, goals);
}

void compareSingleRequests(benchmark::State& state, int serverCore, int clientCore,
                           const Goals& goals) {
  std::vector<ServerPeer> peers = serverPeers;
  peers.insert(peers.begin() + 1, {"floor", floorServer});
  compareRequests(state, peers, serverCore, {clientCore}, goals);
}

void requestOnOneCore(benchmark::State& state) {
  compareSingleRequests(state, allCores.front(), allCores.front(),
                        {{"floor", 1.4}, {"ZeroMQ", 1}, {"Actor Framework", 1}});
}
BENCHMARK(requestOnOneCore)->Iterations(1)->Unit(benchmark::kMillisecond);

/// True on a machine with two cores; tells that there is only one otherwise.
bool hasTwoCores(benchmark::State& state) {
  if (allCores.size() > 1) {
    return true;
  }
  for ([[maybe_unused]] auto each : state) {
  }
  tellMissing(state, "a second core");
  return false;
}

void requestOnTwoCores(benchmark::State& state) {
  if (hasTwoCores(state)) {
    compareSingleRequests(state, allCores.back(), allCores.front(),
                          {{"floor", 1.15}, {"Asio", 1}, {"ZeroMQ", 1}, {"Actor Framework", 1}});
  }
}
BENCHMARK(requestOnTwoCores)->Iterations(1)->Unit(benchmark::kMillisecond);

/// The time of each request of all clients together.
void requestOfFourClients(benchmark::State& state) {
  std::vector<int> clientCores;
  for (std::size_t client = 0; client < 4; ++client) {
    clientCores.push_back(allCores[client % allCores.size()]);
  }
  compareRequests(state, serverPeers, allCores.back(), clientCores,
                  {{"ZeroMQ", 1}, {"Actor Framework", 1}});
}
BENCHMARK(requestOfFourClients)->Iterations(1)->Unit(benchmark::kMillisecond);

struct DrainPeer {
  const char* name;
  MakeDrain* make;
};

const std::vector<DrainPeer> drainPeers = {
    {"Rtk", rtkDrain}, {"locked queue", queueDrain}, {"Asio", asioDrain}};

struct SinkAndDrain {
  Sink sink{batch};
  std::unique_ptr<Drain> drain;
};

Worker::Work postBatches(Drain& drain, Sink& sink) {
  return [&drain, &sink] {
    for (int i = 0; i < batchesOfTurn; ++i) {
      for (int value = 0; value < batch; ++value) {
        drain.post(value);
      }
      require(sink.waitForBatch(), "messages are not in the order they were posted in");
    }
  };
}

void comparePosts(benchmark::State& state, int drainCore, int postingCore) {
  std::vector<std::unique_ptr<SinkAndDrain>> targets;
  Contestants contestants;
  for (const DrainPeer& peer : drainPeers) {
    auto target = std::make_unique<SinkAndDrain>();
    target->drain = peer.make(drainCore, target->sink, batch);
    if (target->drain == nullptr) {
      tellMissing(state, peer.name);
      continue;
    }
    contestants.push_back(std::make_unique<Contestant>(
        peer.name, std::vector<int>{postingCore},
        [&target = *target] { return postBatches(*target.drain, target.sink); }));
    targets.push_back(std::move(target));
  }
  for ([[maybe_unused]] auto each : state) {
    takeTurns(contestants);
  }
  tellTimes(state, contestants, batchesOfTurn * batch, nanoseconds, {});
}

void postsOnOneCore(benchmark::State& state) {
  comparePosts(state, allCores.front(), allCores.front());
}
BENCHMARK(postsOnOneCore)->Iterations(1)->Unit(benchmark::kMillisecond);

void postsOnTwoCores(benchmark::State& state) {
  if (hasTwoCores(state)) {
    comparePosts(state, allCores.back(), allCores.front());
  }
}
BENCHMARK(postsOnTwoCores)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
