// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <atomic>

#include "rtk/messaging/Mailbox.h"
#include "rtk/messaging/MailboxServerStopReqApi.h"
#include "rtk/messaging/Message.h"
#include "rtk/messaging/ServerRequest.h"
#include "rtk/thread/Runnable.h"

namespace Rtk {

/// The message that some mailbox server began to process last. Nothing reads it; it is there to be
/// found in a core dump. The last writer wins.
extern std::atomic<Message*> _lastMessage;

/// A thread body that serves a mailbox: it processes the messages one at a time, in the order they
/// came, each to its end before the next, until it is asked to stop. Its owner, mostly a static
/// object, gives it to one thread and must keep it until that has ended. Messages behind the stop
/// request are never processed. A signal is fatal unless a derived server handles it;
/// pleaseStop() is fatal on a thread that is not an Rtk::Thread.
class MailboxServer : public Runnable, public Mailbox, public MailboxServerStopReqApi {
 public:
  /// Any thread, before main too.
  MailboxServer();
  ~MailboxServer() override = default;

  /// Returns when the server has been asked to stop. Server thread only.
  void run() override;

  /// Blocks until the server has left its loop; for ever, if it has no thread. A server that has
  /// stopped already is logged and left alone. Any thread of the framework but the server's own,
  /// which would wait for itself.
  ///
  /// REQUIRES: the constructor of the server's PosixThread has returned. If a stop request already
  /// waits in the mailbox, run() may return before that constructor sets the scheduling of the
  /// thread, and a thread that has ended makes the constructor fatal ("pthread_getschedparam
  /// failed" or "pthread_setschedparam failed").
  void pleaseStop() override;

  /// Ends the loop behind the current message; the request comes back after that.
  /// Server thread only.
  void request(ServerRequest<MailboxServerStopReqApi, PleaseStopPayload>& request) override;

 protected:
  /// Called once, before the first message. Server thread only.
  virtual void initialize();

  /// Called for each signal that the mailbox got; fatal by default. Server thread only.
  virtual void mboxSignaled();

 private:
  // Written by the server thread, read by the callers of pleaseStop(). Never reset.
  std::atomic<ServerRequest<MailboxServerStopReqApi, PleaseStopPayload>*> _stopRequest;
};

}  // namespace Rtk
