// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

namespace Rtk {

class Message;

/// The end of a mailbox at which messages are put in. The poster keeps the ownership of a message,
/// which must live until it has been processed. Nothing is fatal but what the implementation says.
class PostMessageApi {
 public:
  PostMessageApi() = default;

  /// Any thread.
  virtual void post(Message& message) = 0;

  /// Posts, then blocks until the calling thread is signalled, mostly by the return handler of the
  /// message. Any thread of the framework but the server's own, which would wait for itself.
  virtual void postSync(Message& message) = 0;

  virtual ~PostMessageApi() = default;
  PostMessageApi(const PostMessageApi&) = delete;
  PostMessageApi& operator=(const PostMessageApi&) = delete;
};

}  // namespace Rtk
