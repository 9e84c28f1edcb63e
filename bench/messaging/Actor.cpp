// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

// The C++ Actor Framework: an actor with a thread of its own.

#include <caf/all.hpp>
#include <memory>

#include "bench/messaging/Peer.h"

namespace Bench::Messaging {

namespace {

/// The framework keeps what the threads of others have of its system, and waits for it at the end.
void letGoOfSystem() {
  caf::logger::set_current_actor_system(nullptr);
}

class ActorClient final : public Client {
 public:
  ActorClient(caf::actor_system& system, const caf::actor& server)
      : _self(std::make_unique<caf::scoped_actor>(system)), _server(server) {}

  ~ActorClient() override {
    _self.reset();
    letGoOfSystem();
  }

  ActorClient(const ActorClient&) = delete;
  ActorClient& operator=(const ActorClient&) = delete;

  int request(int value) override {
    int answer = value;
    (*_self)
        ->request(_server, caf::infinite, value)
        .receive([&](int got) { answer = got; }, [](const caf::error&) {});
    return answer;
  }

 private:
  std::unique_ptr<caf::scoped_actor> _self;
  const caf::actor _server;
};

/// Actors without a thread of their own share one here, so that no idle one looks for work.
class Config : public caf::actor_system_config {
 public:
  Config() {
    set("scheduler.policy", caf::atom("sharing"));
    set("scheduler.max-threads", 1);
  }
};

class ActorServer final : public Server {
 public:
  explicit ActorServer(int core)
      : _system(_config), _server(_system.spawn<caf::detached>([core](caf::blocking_actor* self) {
          stayOn(core);
          serve(*self);
        })) {}

  ~ActorServer() override {
    caf::anon_send_exit(_server, caf::exit_reason::user_shutdown);
    letGoOfSystem();
  }

  ActorServer(const ActorServer&) = delete;
  ActorServer& operator=(const ActorServer&) = delete;

  std::unique_ptr<Client> client() override {
    return std::make_unique<ActorClient>(_system, _server);
  }

 private:
  /// As a blocking actor: one with a behavior is slower.
  static void serve(caf::blocking_actor& self) {
    bool serving = true;
    self.receive_while(serving)([](int value) { return value + 1; },
                                [&](const caf::exit_msg&) { serving = false; });
  }

  Config _config;
  caf::actor_system _system;
  caf::actor _server;
};

}  // namespace

std::unique_ptr<Server> actorServer(int core) {
  return std::make_unique<ActorServer>(core);
}

}  // namespace Bench::Messaging
