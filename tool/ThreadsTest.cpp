// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "tool/Threads.h"

#include <pthread.h>
#include <sched.h>

#include <cstddef>
#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "rtk/thread/PosixSemaphore.h"
#include "rtk/thread/Runnable.h"
#include "rtk/thread/Thread.h"
#include "tests/support/Child.h"

namespace {

using TestSupport::inChild;
using TestSupport::Outcome;

/// Looks at the thread that it runs on, and keeps it to the end of the process.
class Look final : public Rtk::Runnable {
 public:
  void run() override {
    name = Rtk::Thread::getCurrent()->getName();
    pthread_attr_t attribute;
    ::pthread_getattr_np(::pthread_self(), &attribute);
    ::pthread_attr_getstacksize(&attribute, &stackSize);
    ::pthread_attr_destroy(&attribute);
    started.wait();
    ::pthread_getschedparam(::pthread_self(), &policy, &parameter);
    looked.signal();
    Rtk::Thread::wait();
  }

  std::string name;
  std::size_t stackSize = 0;
  int policy = -1;
  sched_param parameter = {};
  Rtk::PosixSemaphore started;
  Rtk::PosixSemaphore looked;
};

TEST(ThreadsTest, RunUnderTheirNameOnASmallStackWithoutPriority) {
  // In a child, as the thread never ends.
  EXPECT_EQ(inChild([] {
              static Look look;
              startThread(look, "look");
              look.started.signal();
              look.looked.wait();
              std::printf("%s: stack %zu, policy %d, priority %d", look.name.c_str(),
                          look.stackSize, look.policy, look.parameter.sched_priority);
            }),
            (Outcome{0, "look: stack 65536, policy 0, priority 0", ""}));
}

}  // namespace
