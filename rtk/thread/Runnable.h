// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

namespace Rtk {

/// The body of a thread. Whoever implements it owns it; it must outlive the thread that it is given
/// to. run() is called once, on the new thread, as soon as that exists; the thread ends when run()
/// returns. Nothing is fatal here.
class Runnable {
 public:
  Runnable() = default;
  virtual ~Runnable() = default;
  Runnable(const Runnable&) = delete;
  Runnable& operator=(const Runnable&) = delete;

  virtual void run() = 0;

  /// Asks run() to return; a body that cannot be asked ignores it. Another thread than the body's.
  virtual void pleaseStop() {}
};

}  // namespace Rtk
