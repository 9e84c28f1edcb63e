// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

namespace Rtk {

/// The client's side of closing a service. The service implements and owns it. Fatal on a thread
/// that is not an Rtk::Thread.
class CloseSyncApi {
 public:
  CloseSyncApi() = default;

  /// Blocks until the service has handled it. Any thread of the framework but the server's own.
  virtual void close() = 0;

  virtual ~CloseSyncApi() = default;
  CloseSyncApi(const CloseSyncApi&) = delete;
  CloseSyncApi& operator=(const CloseSyncApi&) = delete;
};

}  // namespace Rtk
