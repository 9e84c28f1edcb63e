#pragma once

#include "rtk/thread/Runnable.h"

/// Starts a thread of the tool for `runnable`, which runs until the process ends. Threads of the
/// tool have stacks of 64 KiB: nothing large may stand on them.
void startThread(Rtk::Runnable& runnable, const char* name);
