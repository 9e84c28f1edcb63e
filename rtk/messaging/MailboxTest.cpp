// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "rtk/messaging/Mailbox.h"

#include <cstddef>
#include <cstdio>
#include <functional>
#include <list>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "rtk/messaging/Message.h"
#include "rtk/messaging/SyncReturnHandler.h"
#include "rtk/testing/RecordedCalls.h"
#include "rtk/thread/PosixSemaphore.h"
#include "rtk/thread/PrivilegedMutex.h"
#include "rtk/thread/Thread.h"
#include "tests/support/Child.h"
#include "tests/support/ObjectLayout.h"
#include "tests/support/RtkThread.h"

namespace {

using TestSupport::inChild;
using TestSupport::onRtkThread;
using TestSupport::Outcome;
using TestSupport::RecordedCalls;
using TestSupport::RtkThread;

class Mail final : public Rtk::Message {
 public:
  void process() override {}
};

class MailboxTest : public ::testing::Test {
 protected:
  /// What the owner takes out: the letter of each message, '-' for a null, '.' before each sleep.
  std::string take(int count) {
    std::string taken;
    RecordedCalls recorded;
    recorded.before("sem_wait", [&] {
      taken += '.';
      asleep.signal();
    });
    for (int i = 0; i < count; ++i) {
      const Rtk::Message* const message = mailbox.waitNext();
      taken += message == &a ? 'a' : message == &b ? 'b' : message == &c ? 'c' : '-';
    }
    return taken;
  }

  /// The same, with `others` done on this thread once the owner sleeps. `calls` are
  /// those of them, `signals` and `suSignals` what the owner got.
  std::string takeAsleep(int count, const std::function<void()>& others) {
    std::string taken;
    {
      const RtkThread owner([&] { taken = take(count); });
      asleep.wait();
      RecordedCalls recorded;
      others();
      calls = recorded.text();
      signals = owner.signals();
      suSignals = owner.suSignals();
    }
    return taken;
  }

  /// What the mailbox holds now: a for message a at the head, s for a signal, w for a waiter.
  std::string state() const {
    std::string held;
    held += TestSupport::pointerAt(mailbox, 3) == &a ? 'a' : '-';
    held += reinterpret_cast<const char*>(&mailbox)[6 * sizeof(void*)] != 0 ? 's' : '-';
    held += TestSupport::pointerAt(mailbox, 5) != nullptr ? 'w' : '-';
    return held + ' ';
  }

  /// The states before each call named `call` that this thread makes in `change`, which wakes the
  /// owner from its sleep.
  std::string statesWhileAsleep(const char* call, const std::function<void()>& change) {
    std::string states;
    takeAsleep(1, [&] {
      RecordedCalls recorded;
      recorded.before(call, [&] { states += state(); });
      change();
    });
    return states;
  }

  /// The same, with `others` done before the owner looks.
  std::string takeAfter(int count, const std::function<void()>& others) {
    others();
    std::string taken;
    onRtkThread([&] { taken = take(count); });
    return taken;
  }

  Rtk::Mailbox mailbox;
  Rtk::PosixSemaphore asleep;
  std::string calls;
  int signals = 0;
  int suSignals = 0;
  Mail a;
  Mail b;
  Mail c;
};

class MailboxDeathTest : public MailboxTest {};

TEST_F(MailboxDeathTest, EndsTheProcessWhenAThreadOfAnotherKindHasToWait) {
  const Outcome expected = {
      255, "", "@@ FATAL ERROR: Thread::getCurrent().  Current thread is NOT a 'Rtk::Thread'..\n"};
  EXPECT_EQ(inChild([this] {
              onRtkThread([] {});
              mailbox.waitNext();
            }),
            expected);
  EXPECT_EQ(inChild([this] {
              onRtkThread([] {});
              mailbox.postSync(a);
            }),
            expected);
}

TEST_F(MailboxDeathTest, EndsWithoutWakingItsOwner) {
  const Outcome outcome = inChild([this] {
    auto* const other = new Rtk::Mailbox;
    static RtkThread& owner = *new RtkThread([this, other] {
      RecordedCalls recorded;
      recorded.before("sem_wait", [this] { asleep.signal(); });
      other->waitNext();
    });
    asleep.wait();
    delete other;
    std::printf("%d", owner.signals() + owner.suSignals());
  });
  EXPECT_EQ(outcome, (Outcome{0, "0", ""}));
}

TEST_F(MailboxTest, GivesMessagesInTheOrderTheyCame) {
  EXPECT_EQ(takeAfter(3,
                      [this] {
                        mailbox.post(b);
                        mailbox.post(a);
                        mailbox.post(c);
                      }),
            "bac");
}

TEST_F(MailboxTest, TakesAMessageAgainThatHasBeenTaken) {
  mailbox.post(a);
  mailbox.post(b);
  onRtkThread([this] {
    EXPECT_EQ(take(2), "ab");
    mailbox.post(b);
    mailbox.post(a);
    EXPECT_EQ(take(2), "ba");
  });
}

TEST_F(MailboxTest, WakesItsOwnerForAMessage) {
  EXPECT_EQ(takeAsleep(1, [this] { mailbox.post(a); }), ".a");
}

TEST_F(MailboxTest, WakesItsOwnerOnceForTwoMessages) {
  // The owner cannot look before the lock, which every mailbox shares, is free again.
  Rtk::PrivilegedMutex lock;
  EXPECT_EQ(takeAsleep(2,
                       [&] {
                         lock.lock();
                         mailbox.post(a);
                         mailbox.post(b);
                         lock.unlock();
                       }),
            ".ab");
  EXPECT_EQ(calls,
            "pthread_mutex_lock\n"
            "pthread_mutex_lock\nsem_post\npthread_mutex_unlock\n"
            "pthread_mutex_lock\npthread_mutex_unlock\n"
            "pthread_mutex_unlock\n");
}

TEST_F(MailboxTest, WakesItsOwnerBeforeItUnlocksForAMessage) {
  takeAsleep(1, [this] { mailbox.post(a); });
  EXPECT_EQ(calls, "pthread_mutex_lock\nsem_post\npthread_mutex_unlock\n");
}

TEST_F(MailboxTest, WakesItsOwnerAfterItUnlocksForASignal) {
  EXPECT_EQ(takeAsleep(1, [this] { mailbox.signal(); }), ".-");
  EXPECT_EQ(calls, "pthread_mutex_lock\npthread_mutex_unlock\nsem_post\n");
}

TEST_F(MailboxTest, WakesItsOwnerWithoutTheLockWhereNoLockIsAllowed) {
  EXPECT_EQ(takeAsleep(1, [this] { mailbox.suSignal(); }), ".-");
  EXPECT_EQ(calls, "sem_post\n");
}

TEST_F(MailboxTest, SignalsItsOwnerInTheWayItIsSignalled) {
  const auto expectSignals = [this](int expected, int expectedSu,
                                    const std::function<void()>& others) {
    takeAsleep(1, others);
    EXPECT_EQ(signals, expected);
    EXPECT_EQ(suSignals, expectedSu);
  };
  expectSignals(1, 0, [this] { mailbox.post(a); });
  expectSignals(1, 0, [this] { mailbox.signal(); });
  expectSignals(0, 1, [this] { mailbox.suSignal(); });
}

TEST_F(MailboxTest, WakesItsOwnerOnceForTwoSignals) {
  // The owner cannot look before the lock is free again.
  Rtk::PrivilegedMutex lock;
  takeAsleep(1, [&] {
    lock.lock();
    mailbox.signal();
    mailbox.signal();
    mailbox.suSignal();
    lock.unlock();
  });
  EXPECT_EQ(signals + suSignals, 1);
  takeAsleep(1, [&] {
    lock.lock();
    mailbox.suSignal();
    mailbox.suSignal();
    mailbox.signal();
    lock.unlock();
  });
  EXPECT_EQ(signals + suSignals, 1);
}

TEST_F(MailboxTest, WakesNobodyWhenNobodySleeps) {
  RecordedCalls recorded;
  mailbox.suSignal();
  mailbox.signal();
  mailbox.post(a);
  EXPECT_EQ(recorded.text(),
            "pthread_mutex_lock\npthread_mutex_unlock\npthread_mutex_lock\npthread_mutex_unlock\n");
}

TEST_F(MailboxTest, LetsASignalOvertakeTheMessages) {
  EXPECT_EQ(takeAfter(3,
                      [this] {
                        mailbox.post(a);
                        mailbox.post(b);
                        mailbox.signal();
                      }),
            "-ab");
  EXPECT_EQ(takeAfter(2,
                      [this] {
                        mailbox.post(a);
                        mailbox.suSignal();
                      }),
            "-a");
}

TEST_F(MailboxTest, TakesSeveralSignalsForOne) {
  EXPECT_EQ(takeAfter(2,
                      [this] {
                        mailbox.signal();
                        mailbox.signal();
                        mailbox.suSignal();
                        mailbox.post(a);
                      }),
            "-a");
}

TEST_F(MailboxTest, SleepsAgainAfterAWakeUpForNothing) {
  std::string taken;
  {
    RtkThread owner([&] { taken = take(1); });
    asleep.wait();
    owner.thread().signal();
    asleep.wait();
    mailbox.post(a);
  }
  EXPECT_EQ(taken, "..a");
}

TEST_F(MailboxTest, ReleasesTheLockWhenItGivesSomething) {
  std::string text;
  mailbox.post(a);
  mailbox.signal();
  onRtkThread([&] {
    RecordedCalls recorded;
    mailbox.waitNext();
    mailbox.waitNext();
    text = recorded.text();
  });
  EXPECT_EQ(text,
            "pthread_mutex_lock\npthread_mutex_unlock\npthread_mutex_lock\npthread_mutex_unlock\n");
}

TEST_F(MailboxTest, ChangesItsQueueAndSignalUnderTheLock) {
  std::string states;
  onRtkThread([&] {
    RecordedCalls recorded;
    recorded.before("pthread_mutex_lock", [&] { states += state(); });
    recorded.before("pthread_mutex_unlock", [&] { states += state(); });
    mailbox.post(a);
    mailbox.signal();
    mailbox.waitNext();
    mailbox.waitNext();
  });
  EXPECT_EQ(states, "--- a-- a-- as- as- a-- a-- --- ");
}

TEST_F(MailboxTest, TakesItsWaiterUnderTheLock) {
  EXPECT_EQ(statesWhileAsleep("pthread_mutex_lock", [this] { mailbox.post(a); }), "--w ");
  EXPECT_EQ(statesWhileAsleep("pthread_mutex_unlock", [this] { mailbox.post(a); }), "a-- ");
  EXPECT_EQ(statesWhileAsleep("pthread_mutex_lock", [this] { mailbox.signal(); }), "--w ");
  EXPECT_EQ(statesWhileAsleep("pthread_mutex_unlock", [this] { mailbox.signal(); }), "-s- ");
}

TEST_F(MailboxTest, IsChangedBeforeItWakesItsOwner) {
  EXPECT_EQ(statesWhileAsleep("sem_post", [this] { mailbox.post(a); }), "a-- ");
  EXPECT_EQ(statesWhileAsleep("sem_post", [this] { mailbox.signal(); }), "-s- ");
  std::string states;
  {
    RtkThread owner([this] { take(1); });
    asleep.wait();
    RecordedCalls recorded;
    recorded.before("sem_post", [&] { states += state(); });
    mailbox.suSignal();
    mailbox.signal();  // Lets the owner wake even if suSignal() lost its signal.
  }
  EXPECT_EQ(states, "-s- ");
}

TEST_F(MailboxTest, ReleasesTheLockBeforeItsOwnerSleeps) {
  std::string text;
  onRtkThread([&] {
    RecordedCalls recorded;
    recorded.before("sem_wait", [this] { mailbox.post(a); });
    mailbox.waitNext();
    text = recorded.text();
  });
  EXPECT_EQ(text,
            "pthread_mutex_lock\npthread_mutex_unlock\nsem_wait\n"
            "pthread_mutex_lock\npthread_mutex_unlock\n");
}

TEST_F(MailboxTest, TellsWhomToWakeBeforeItGivesTheLockBack) {
  std::string posting;
  onRtkThread([&] {
    RecordedCalls recorded;
    recorded.before("pthread_mutex_unlock", [&] {
      recorded.before("pthread_mutex_unlock", [] {});
      RecordedCalls inner;
      mailbox.post(a);
      posting = inner.text();
      Rtk::Thread::getCurrent()->signal();  // Not to sleep for ever where this fails.
    });
    EXPECT_EQ(mailbox.waitNext(), &a);
  });
  EXPECT_EQ(posting, "pthread_mutex_lock\nsem_post\npthread_mutex_unlock\n");
}

TEST_F(MailboxTest, LetsASynchronousSenderSleepUntilItIsSignalled) {
  std::string marks;
  Rtk::SyncReturnHandler* handler = nullptr;
  {
    const RtkThread sender([&] {
      Rtk::SyncReturnHandler onStack;
      handler = &onStack;
      RecordedCalls recorded;
      recorded.before("sem_wait", [this] { asleep.signal(); });
      mailbox.postSync(a);
      marks += "back";
    });
    asleep.wait();
    marks += takeAfter(1, [] {}) + " sent ";
    handler->rts();
  }
  EXPECT_EQ(marks, "a sent back");
}

TEST_F(MailboxTest, PostsSynchronousMessagesThroughItsOwnPost) {
  class Watched final : public Rtk::Mailbox {
   public:
    void post(Rtk::Message& message) override {
      posted = &message;
      Rtk::Thread::getCurrent()->signal();
    }
    Rtk::Message* posted = nullptr;
  };
  Watched watched;
  onRtkThread([&] { watched.postSync(a); });
  EXPECT_EQ(watched.posted, &a);
}

TEST_F(MailboxTest, KeepsTheOrderOfEachOfManySenders) {
  constexpr std::size_t senders = 2;
  constexpr std::size_t letters = 1000;
  std::vector<Mail> mail[senders] = {std::vector<Mail>(letters), std::vector<Mail>(letters)};
  onRtkThread([&] {
    std::list<RtkThread> threads;
    for (std::vector<Mail>& own : mail) {
      threads.emplace_back([&] {
        for (Mail& letter : own) {
          mailbox.post(letter);
        }
      });
    }
    std::vector<std::size_t> next(senders, 0);
    for (std::size_t i = 0; i < senders * letters; ++i) {
      const Rtk::Message* const message = mailbox.waitNext();
      for (std::size_t sender = 0; sender < senders; ++sender) {
        if (next[sender] < letters && message == &mail[sender][next[sender]]) {
          ++next[sender];
          break;
        }
      }
    }
    EXPECT_EQ(next, std::vector<std::size_t>(senders, letters));
  });
}

TEST_F(MailboxTest, AbandonsItsMessagesAtItsEnd) {
  {
    Rtk::Mailbox other;
    other.post(a);
    other.post(b);
  }
  EXPECT_EQ(takeAfter(1, [this] { mailbox.post(a); }), "a");
}

}  // namespace
