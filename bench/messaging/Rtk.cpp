// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

// Messages of the framework: requests as the proxies of the database send them.

#include <sched.h>

#include <cstddef>
#include <memory>
#include <vector>

#include "bench/messaging/Peer.h"
#include "database/SyncCall.h"
#include "rtk/messaging/MailboxServer.h"
#include "rtk/messaging/Message.h"
#include "rtk/messaging/ReturnHandler.h"
#include "rtk/messaging/SAP.h"
#include "rtk/messaging/ServerRequest.h"
#include "rtk/thread/PosixSemaphore.h"
#include "rtk/thread/PosixThread.h"

namespace Bench::Messaging {

namespace {

constexpr int stackSize = 64 * 1024;

class PinnedServer final : public Rtk::MailboxServer {
 public:
  explicit PinnedServer(int core) : _core(core) {}

 protected:
  void initialize() override { stayOn(_core); }

 private:
  const int _core;
};

class StopHandler final : public Rtk::ReturnHandler {
 public:
  void rts() override { _stopped.signal(); }
  void wait() { _stopped.wait(); }

 private:
  Rtk::PosixSemaphore _stopped;
};

/// A mailbox and the thread that serves it.
class ServerThread {
 public:
  explicit ServerThread(int core)
      : _server(core), _thread(_server, "server", 0, stackSize, SCHED_OTHER) {}

  /// On a thread that is not of the framework, so that pleaseStop() cannot be called.
  ~ServerThread() {
    StopHandler handler;
    Rtk::MailboxServerStopReqApi::PleaseStopPayload payload;
    Rtk::ServerRequest<Rtk::MailboxServerStopReqApi,
                       Rtk::MailboxServerStopReqApi::PleaseStopPayload>
        stop(_server, payload, handler);
    _server.post(stop);
    handler.wait();
  }

  ServerThread(const ServerThread&) = delete;
  ServerThread& operator=(const ServerThread&) = delete;

  Rtk::PostMessageApi& mailbox() { return _server; }

 private:
  PinnedServer _server;
  Rtk::PosixThread _thread;
};

class CountApi {
 public:
  struct CountPayload {
    explicit CountPayload(int number) : value(number) {}
    int value;
  };
  using CountRequest = Rtk::ServerRequest<CountApi, CountPayload>;

  CountApi() = default;
  virtual void request(CountRequest& request) = 0;

  virtual ~CountApi() = default;
  CountApi(const CountApi&) = delete;
  CountApi& operator=(const CountApi&) = delete;
};

class RtkClient final : public Client {
 public:
  explicit RtkClient(Rtk::SAP<CountApi>& sap) : _sap(sap) {}

  int request(int value) override {
    return Pvn::Database::syncCall<CountApi::CountPayload>(_sap, value).value;
  }

 private:
  Rtk::SAP<CountApi>& _sap;
};

class RtkServer final : public Server, private CountApi {
 public:
  explicit RtkServer(int core) : _thread(core), _sap(*this, _thread.mailbox()) {}

  std::unique_ptr<Client> client() override { return std::make_unique<RtkClient>(_sap); }

 private:
  void request(CountRequest& request) override {
    ++request.getPayload().value;
    request.returnToSender();
  }

  ServerThread _thread;
  Rtk::SAP<CountApi> _sap;
};

class ValueMessage final : public Rtk::Message {
 public:
  void process() override { sink->take(value); }

  Sink* sink = nullptr;
  int value = 0;
};

class RtkDrain final : public Drain {
 public:
  RtkDrain(int core, Sink& sink, int batch)
      : _messages(static_cast<std::size_t>(batch)), _thread(core) {
    for (ValueMessage& message : _messages) {
      message.sink = &sink;
    }
  }

  void post(int value) override {
    ValueMessage& message = _messages[static_cast<std::size_t>(value)];
    message.value = value;
    _thread.mailbox().post(message);
  }

 private:
  std::vector<ValueMessage> _messages;
  ServerThread _thread;
};

}  // namespace

std::unique_ptr<Server> rtkServer(int core) {
  return std::make_unique<RtkServer>(core);
}

std::unique_ptr<Drain> rtkDrain(int core, Sink& sink, int batch) {
  return std::make_unique<RtkDrain>(core, sink, batch);
}

}  // namespace Bench::Messaging
