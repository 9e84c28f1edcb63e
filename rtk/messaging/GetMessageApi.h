// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

namespace Rtk {

class Message;

/// The end of a mailbox at which its owner, one thread, takes messages out. Nothing is fatal but
/// what the implementation says.
class GetMessageApi {
 public:
  GetMessageApi() = default;

  /// Blocks until there is a message or a signal. Null for a signal. Server thread only.
  virtual Message* waitNext() = 0;

  virtual ~GetMessageApi() = default;
  GetMessageApi(const GetMessageApi&) = delete;
  GetMessageApi& operator=(const GetMessageApi&) = delete;
};

}  // namespace Rtk
