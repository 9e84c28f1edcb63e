// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

namespace Rtk {

template <class T>
class SList;

/// What one thread sends to another: something to be done on the thread that receives it. Messages
/// are objects of their sender, mostly on its stack; the framework neither makes nor ends them. A
/// message must outlive its stay in a mailbox, and be in at most one mailbox at a time. Nothing is
/// fatal here.
class Message {
 public:
  Message() = default;

  /// Does the work. Called once, by the thread that took the message from its mailbox.
  /// Server thread only.
  virtual void process() = 0;

  virtual ~Message() = default;
  Message(const Message&) = delete;
  Message& operator=(const Message&) = delete;

 private:
  friend class SList<Message>;

  // The queue's alone, guarded by the queue's lock; without a value while in no queue.
  Message* _next;
};

}  // namespace Rtk
