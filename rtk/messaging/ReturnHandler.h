// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

namespace Rtk {

/// The way of a request back to whoever sent it. The sender makes and owns it, beside the request,
/// and keeps it until the request has come back. The thread that handled the request calls it.
/// Nothing is fatal here.
class ReturnHandler {
 public:
  ReturnHandler() = default;

  /// Returns to sender. Called once for each request. Server thread only.
  virtual void rts() = 0;

  virtual ~ReturnHandler() = default;
  ReturnHandler(const ReturnHandler&) = delete;
  ReturnHandler& operator=(const ReturnHandler&) = delete;
};

}  // namespace Rtk
