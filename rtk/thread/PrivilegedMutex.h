// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "rtk/thread/Mutex.h"
#include "rtk/thread/PosixMutex.h"

namespace Rtk {

/// A face of the one privileged lock of the process: whoever holds any privileged mutex excludes
/// the users of all of them, and may take it again, through this or another face. The lock itself
/// is made before main and ends with the process; a face may be made before the lock is, because
/// it only notes where that will be. Any thread may lock it. Nothing is fatal here.
class PrivilegedMutex : public Mutex {
 public:
  PrivilegedMutex();
  ~PrivilegedMutex() override = default;

  int lock() override;
  int unlock() override;

 private:
  static PosixMutex _mutex;

  PosixMutex* _shared;
};

}  // namespace Rtk
