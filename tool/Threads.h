// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "rtk/messaging/PostMessageApi.h"
#include "rtk/thread/Runnable.h"
#include "rtk/thread/Thread.h"

/// Starts a thread of the tool for `runnable`, which runs until the process ends. Threads of the
/// tool have stacks of 64 KiB: large objects must not be put on them. The result is never deleted.
Rtk::Thread& startThread(Rtk::Runnable& runnable, const char* name);

/// Makes the process, when it ends, stop the thread of a server before static objects are
/// destroyed: the server is one of them, and its thread may still be sending the last answer. The
/// exit waits for at most a second until the thread has stopped; not at all if that thread itself
/// ends the process. `thread` must be the server's thread. REQUIRES: called once.
void stopServerAtExit(Rtk::PostMessageApi& server, Rtk::Thread& thread);
