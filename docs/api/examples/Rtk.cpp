// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <cstdio>

#include "docs/api/examples/Beside.h"
#include "rtk/messaging/MailboxServer.h"
#include "rtk/messaging/PostMessageApi.h"
#include "rtk/messaging/SAP.h"
#include "rtk/messaging/ServerRequest.h"
#include "rtk/messaging/SyncReturnHandler.h"

namespace {

//! [service]
/// The server's side of a counter.
class CounterReqApi {
 public:
  /// The argument there, and the result back.
  struct AddPayload {
    int amount;
    int total;
  };

  CounterReqApi() = default;
  virtual ~CounterReqApi() = default;
  CounterReqApi(const CounterReqApi&) = delete;
  CounterReqApi& operator=(const CounterReqApi&) = delete;

  /// Server thread only.
  virtual void request(Rtk::ServerRequest<CounterReqApi, AddPayload>& request) = 0;
};

class Counter final : public CounterReqApi {
 public:
  explicit Counter(Rtk::PostMessageApi& server) : _sap(*this, server) {}

  void request(Rtk::ServerRequest<CounterReqApi, AddPayload>& request) override {
    _total += request.getPayload().amount;
    request.getPayload().total = _total;
    request.returnToSender();
  }

  Rtk::SAP<CounterReqApi>& getSAP() { return _sap; }

 private:
  Rtk::SAP<CounterReqApi> _sap;
  // Touched by the server thread only, so that it needs no lock.
  int _total = 0;
};
//! [service]

//! [call]
/// Blocks until the server has added. Any thread of the framework but the server's own.
int add(Rtk::SAP<CounterReqApi>& counter, int amount) {
  Rtk::SyncReturnHandler returnHandler;
  CounterReqApi::AddPayload payload = {amount, 0};
  Rtk::ServerRequest<CounterReqApi, CounterReqApi::AddPayload> request(counter.getRequestApi(),
                                                                       payload, returnHandler);
  counter.postSync(request);
  return payload.total;
}
//! [call]

}  // namespace

int main() {
  //! [main]
  Rtk::MailboxServer server;
  Counter counter(server);
  Examples::callBeside(server, [&] {
    for (const int amount : {1, 2, 3}) {
      std::printf("%d\n", add(counter.getSAP(), amount));
    }
  });
  //! [main]
}
