// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "random/Random.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/Child.h"

namespace {

using TestSupport::inChild;
using TestSupport::Outcome;

/// Puts `bytes` before the reader of standard input.
void feedStandardInput(const std::string& bytes) {
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  ASSERT_EQ(::write(ends[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  ::close(ends[1]);
  ::dup2(ends[0], STDIN_FILENO);
}

void initializeWithoutFreeDescriptors() {
  rlimit before;
  ::getrlimit(RLIMIT_NOFILE, &before);
  const rlimit none = {0, before.rlim_max};
  ::setrlimit(RLIMIT_NOFILE, &none);
  Pvn::Random::initialize();
  ::setrlimit(RLIMIT_NOFILE, &before);
}

/// The number that lies in memory as `bytes`, filled up with zeros.
int asNumber(const std::string& bytes) {
  std::int32_t number = 0;
  std::memcpy(&number, bytes.data(), bytes.size());
  return number;
}

// Every case runs in a child, because the descriptor belongs to the whole process.

TEST(RandomTest, GivesDifferentNumbersOfBothSigns) {
  const Outcome outcome = inChild([] {
    Pvn::Random::initialize();
    std::set<int> numbers;
    for (int i = 0; i < 100; ++i) {
      numbers.insert(Pvn::Random::Signed::get());
    }
    std::printf("%d %d %d", numbers.size() > 90, *numbers.begin() < 0, *numbers.rbegin() > 0);
  });
  EXPECT_EQ(outcome, (Outcome{0, "1 1 1", ""}));
}

TEST(RandomTest, OpensTheDeviceForReadingOnly) {
  const Outcome outcome = inChild([] {
    Pvn::Random::initialize();
    char link[64];
    std::snprintf(link, sizeof(link), "/proc/self/fd/%d", Pvn::Random::Posix::fd);
    char target[64] = {};
    EXPECT_GT(::readlink(link, target, sizeof(target) - 1), 0);
    const int mode = ::fcntl(Pvn::Random::Posix::fd, F_GETFL) & O_ACCMODE;
    std::printf("%s %d", target, mode == O_RDONLY);
  });
  EXPECT_EQ(outcome, (Outcome{0, "/dev/urandom 1", ""}));
}

TEST(RandomTest, KeepsTheStandardDescriptorsFree) {
  for (unsigned closed = 0; closed < 8; ++closed) {
    const Outcome outcome = inChild([closed] {
      const int output = ::dup(STDOUT_FILENO);
      for (int descriptor = 0; descriptor <= 2; ++descriptor) {
        if ((closed >> descriptor & 1U) != 0) {
          ::close(descriptor);
        }
      }
      Pvn::Random::initialize();
      const int flags = ::fcntl(Pvn::Random::Posix::fd, F_GETFD);
      ::dprintf(output, "%d %d", Pvn::Random::Posix::fd > 2, flags == FD_CLOEXEC);
      for (int descriptor = 0; descriptor <= 2; ++descriptor) {
        const bool isOpen = ::fcntl(descriptor, F_GETFD) >= 0;
        ::dprintf(output, " %d", isOpen == ((closed >> descriptor & 1U) == 0));
      }
    });
    EXPECT_EQ(outcome, (Outcome{0, "1 1 1 1 1", ""})) << closed;
  }
}

TEST(RandomTest, ReadsStandardInputBeforeItIsInitialised) {
  const Outcome outcome = inChild([] {
    feedStandardInput("abcd\xff\xff\xff\xff");
    std::printf("%d ", Pvn::Random::Posix::fd);
    std::printf("%d ", Pvn::Random::Signed::get() == asNumber("abcd"));
    std::printf("%d", Pvn::Random::Signed::get());
  });
  EXPECT_EQ(outcome, (Outcome{0, "0 1 -1", ""}));
}

TEST(RandomTest, TakesAShortReadAsItIs) {
  const Outcome outcome = inChild([] {
    feedStandardInput("ab");
    std::printf("%d ", Pvn::Random::Signed::get() == asNumber("ab"));
    std::printf("%d", Pvn::Random::Signed::get());
  });
  EXPECT_EQ(outcome, (Outcome{0, "1 0", ""}));
}

TEST(RandomTest, TellsWhyADeviceThatIsOpenCannotBeRead) {
  const Outcome outcome = inChild([] {
    Pvn::Random::Posix::fd = ::open("/", O_RDONLY);
    std::printf("%d", Pvn::Random::Signed::get());
  });
  EXPECT_EQ(outcome,
            (Outcome{0, "0", "Pvn::Random::Signed::get(): read() failed: Is a directory\n"}));
}

TEST(RandomTest, TellsOnceWhenTheDeviceCannotBeOpenedAndAtEachRead) {
  const Outcome outcome = inChild([] {
    initializeWithoutFreeDescriptors();
    std::printf("%d", Pvn::Random::Posix::fd);
    std::printf(" %d", Pvn::Random::Signed::get());
    std::printf(" %d", Pvn::Random::Signed::get());
  });
  EXPECT_EQ(outcome,
            (Outcome{0, "-1 0 0",
                     "Pvn::Random::initialize() can't open /dev/urandom.: Too many open files\n"
                     "Pvn::Random::Signed::get(): read() failed: Bad file descriptor\n"
                     "Pvn::Random::Signed::get(): read() failed: Bad file descriptor\n"}));
}

}  // namespace
