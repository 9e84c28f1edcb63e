#include "tool/Threads.h"

#include <sched.h>

#include "rtk/thread/PosixThread.h"

void startThread(Rtk::Runnable& runnable, const char* name) {
  constexpr int priority = 31;
  constexpr int stackSize = 0x10000;
  // Never deleted: the thread is to run until the process ends.
  new Rtk::PosixThread(runnable, name, priority, stackSize, SCHED_OTHER);
}
