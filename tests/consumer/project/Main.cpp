// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <sched.h>

#include <cstdio>

#include "database/SyncCall.h"
#include "database/metakit/Service.h"
#include "rtk/messaging/MailboxServer.h"
#include "rtk/messaging/SAP.h"
#include "rtk/thread/PosixSemaphore.h"
#include "rtk/thread/PosixThread.h"

namespace {

/// What an adder is asked for.
class AdderReqApi {
 public:
  struct AddPayload {
    AddPayload(int first, int second) : first(first), second(second) {}
    int first;
    int second;
    int sum = 0;
  };

  virtual ~AdderReqApi() = default;
  virtual void request(Rtk::ServerRequest<AdderReqApi, AddPayload>& request) = 0;
};

/// Adds on the thread that it is given to.
class Adder final : public Rtk::MailboxServer, public AdderReqApi {
 public:
  using Rtk::MailboxServer::request;
  void request(Rtk::ServerRequest<AdderReqApi, AddPayload>& request) override {
    AddPayload& payload = request.getPayload();
    payload.sum = payload.first + payload.second;
    request.returnToSender();
  }
};

/// Asks the adder once and stops it.
class Client final : public Rtk::Runnable {
 public:
  explicit Client(Adder& adder) : _adder(adder), _sap(adder, adder) {}

  /// Lets run() begin.
  void start() { _start.signal(); }

  void run() override {
    _start.wait();
    using Pvn::Database::syncCall;
    const auto answer = syncCall<AdderReqApi::AddPayload>(_sap, 17, 25);
    std::printf("%d + %d = %d\n", answer.first, answer.second, answer.sum);
    _adder.pleaseStop();
  }

 private:
  Adder& _adder;
  Rtk::SAP<AdderReqApi> _sap;
  Rtk::PosixSemaphore _start;
};

}  // namespace

int main() {
  constexpr int priority = 31;
  constexpr int stackSize = 0x10000;
  Adder adder;
  Client client(adder);
  const Rtk::PosixThread server(adder, "adder", priority, stackSize, SCHED_OTHER);
  const Rtk::PosixThread asker(client, "client", priority, stackSize, SCHED_OTHER);
  client.start();
}
