// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/messaging/MailboxServer.h"

#include "rtk/error/FatalError.h"
#include "rtk/error/UnexpectedError.h"
#include "rtk/messaging/SyncReturnHandler.h"

namespace Rtk {

std::atomic<Message*> _lastMessage{nullptr};

MailboxServer::MailboxServer() : _stopRequest(nullptr) {}

void MailboxServer::run() {
  initialize();
  while (_stopRequest == nullptr) {
    if (Message* const message = waitNext()) {
      _lastMessage = message;
      message->process();
    } else {
      mboxSignaled();
    }
  }
  // Only here, and not in request(): who waits for the stop may destroy what the loop works on.
  _stopRequest.load()->returnToSender();
}

void MailboxServer::pleaseStop() {
  if (_stopRequest != nullptr) {
    UnexpectedError::log("%p: Rtk::MailboxServer::pleaseStop: attempt to stop a stopped thread.\n",
                         static_cast<void*>(this));
    return;
  }
  SyncReturnHandler returnHandler;
  PleaseStopPayload payload;
  ServerRequest<MailboxServerStopReqApi, PleaseStopPayload> stopRequest(*this, payload,
                                                                        returnHandler);
  postSync(stopRequest);
}

void MailboxServer::request(ServerRequest<MailboxServerStopReqApi, PleaseStopPayload>& request) {
  _stopRequest = &request;
}

void MailboxServer::initialize() {}

void MailboxServer::mboxSignaled() {
  FatalError::logAndExit("Rtk::MailboxServer::mboxSignaled!\n", this);
}

}  // namespace Rtk
