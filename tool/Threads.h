// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "rtk/messaging/PostMessageApi.h"
#include "rtk/thread/Runnable.h"

/// Starts a thread of the tool for `runnable`, which runs until the process ends. Threads of the
/// tool have stacks of 64 KiB: nothing large may stand on them.
void startThread(Rtk::Runnable& runnable, const char* name);

/// Brings the thread of a server to a stand, where it touches nothing any more, when the process
/// ends, before static objects are destroyed: the server is one of them, and its thread may just
/// have answered the last request. To be called once, when the thread has been started. Where that
/// thread itself ends the process, or cannot be had, this takes a second.
void standStillAtExit(Rtk::PostMessageApi& server);
