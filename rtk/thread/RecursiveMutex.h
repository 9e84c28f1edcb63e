// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "rtk/thread/Mutex.h"

namespace Rtk {

/// A lock that the thread which holds it may take again; it is free once it has been given back as
/// often as it was taken. The class names the kind and adds no operation: owner, threads and
/// failures are those of Rtk::Mutex.
class RecursiveMutex : public Mutex {};

}  // namespace Rtk
