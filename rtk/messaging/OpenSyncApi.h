// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

namespace Rtk {

/// The client's side of opening a service. The service implements and owns it. Fatal on a thread
/// that is not an Rtk::Thread.
class OpenSyncApi {
 public:
  OpenSyncApi() = default;
  virtual ~OpenSyncApi() = default;
  OpenSyncApi(const OpenSyncApi&) = delete;
  OpenSyncApi& operator=(const OpenSyncApi&) = delete;

  /// Blocks until the service has handled it. Any thread of the framework but the server's own.
  virtual void open() = 0;
};

}  // namespace Rtk
