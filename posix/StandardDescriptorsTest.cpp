// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "posix/StandardDescriptors.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/Child.h"

namespace {

bool isNullMissing = false;
bool isMemoryFileRefused = false;

}  // namespace

// The linker's --wrap option gives these names to the calls.
// NOLINTBEGIN(clang-diagnostic-reserved-identifier)
extern "C" {

int __real_open64(const char* path, int flags, ...);
int __real_memfd_create(const char* name, unsigned flags);
int __wrap_open64(const char* path, int flags, ...);
int __wrap_memfd_create(const char* name, unsigned flags);

int __wrap_open64(const char* path, int flags, ...) {
  if (isNullMissing && path == std::string("/dev/null")) {
    errno = ENOENT;
    return -1;
  }
  return __real_open64(path, flags, 0600);
}

int __wrap_memfd_create(const char* name, unsigned flags) {
  if (isMemoryFileRefused) {
    errno = ENOSYS;
    return -1;
  }
  return __real_memfd_create(name, flags);
}
}
// NOLINTEND(clang-diagnostic-reserved-identifier)

namespace {

using TestSupport::inChild;

/// Returns what `body` prints to a copy of standard output, with each standard descriptor closed
/// whose bit is set in `closed`.
std::string printedWithout(unsigned closed, const std::function<void(int output)>& body) {
  return inChild([closed, &body] {
           const int output = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 10);
           for (int descriptor = 0; descriptor <= 2; ++descriptor) {
             if ((closed >> descriptor & 1U) != 0) {
               ::close(descriptor);
             }
           }
           body(output);
         })
      .standardOutput;
}

/// Whether a descriptor reads as empty, accepts writes and is inherited by child processes.
bool isSink(int descriptor) {
  char byte = 0;
  return ::read(descriptor, &byte, 1) == 0 && ::write(descriptor, "text", 4) == 4 &&
         ::fcntl(descriptor, F_GETFD) == 0;
}

/// "1" for each standard descriptor that ensureOpen() opened correctly or left unchanged, and
/// whether the next file gets another number.
std::string openedBy(unsigned closed) {
  return printedWithout(closed, [closed](int output) {
    struct stat before[3] = {};
    for (int descriptor = 0; descriptor <= 2; ++descriptor) {
      ::fstat(descriptor, &before[descriptor]);
    }
    ::dprintf(output, "%d", StandardDescriptors::ensureOpen());
    for (int descriptor = 0; descriptor <= 2; ++descriptor) {
      struct stat after = {};
      ::fstat(descriptor, &after);
      const bool isUnchanged =
          after.st_dev == before[descriptor].st_dev && after.st_ino == before[descriptor].st_ino;
      ::dprintf(output, "%d", (closed >> descriptor & 1U) != 0 ? isSink(descriptor) : isUnchanged);
    }
    ::dprintf(output, "%d", ::open("/", O_RDONLY) > 2);
  });
}

class StandardDescriptorsTest : public ::testing::TestWithParam<unsigned> {
 protected:
  ~StandardDescriptorsTest() override { isNullMissing = isMemoryFileRefused = false; }
};

TEST_P(StandardDescriptorsTest, OpensThoseThatAreClosed) {
  EXPECT_EQ(openedBy(GetParam()), "11111");
}

TEST_P(StandardDescriptorsTest, OpensThoseThatAreClosedWithoutDevices) {
  isNullMissing = true;
  EXPECT_EQ(openedBy(GetParam()), "11111");
}

TEST_P(StandardDescriptorsTest, ReportsWhenNothingCanBeOpened) {
  isNullMissing = isMemoryFileRefused = true;
  const std::string result = printedWithout(
      GetParam(), [](int output) { ::dprintf(output, "%d", StandardDescriptors::ensureOpen()); });
  EXPECT_EQ(result, GetParam() == 0 ? "1" : "0");
}

TEST_P(StandardDescriptorsTest, MovesADescriptorAboveThem) {
  const std::string result = printedWithout(GetParam(), [](int output) {
    const int opened = ::open("/dev/zero", O_RDONLY);
    const int moved = StandardDescriptors::moveAbove(opened);
    char byte = 1;
    ::dprintf(output, "%d", moved > 2);
    ::dprintf(output, "%d", ::read(moved, &byte, 1) == 1 && byte == 0);
    ::dprintf(output, "%d", opened == moved || ::fcntl(opened, F_GETFD) < 0);
    ::dprintf(output, "%d", opened == moved || ::fcntl(moved, F_GETFD) == FD_CLOEXEC);
  });
  EXPECT_EQ(result, "1111");
}

INSTANTIATE_TEST_SUITE_P(ClosedSets, StandardDescriptorsTest, ::testing::Range(0U, 8U));

TEST(MoveAboveTest, KeepsErrorsAndHigherNumbers) {
  EXPECT_EQ(StandardDescriptors::moveAbove(-1), -1);
  EXPECT_EQ(StandardDescriptors::moveAbove(3), 3);
}

TEST(MoveAboveTest, ClosesTheDescriptorWhenNoneIsFree) {
  const std::string result = printedWithout(1, [](int output) {
    const int opened = ::open("/", O_RDONLY);
    const rlimit three = {3, 3};
    ::setrlimit(RLIMIT_NOFILE, &three);
    errno = 0;
    const int moved = StandardDescriptors::moveAbove(opened);
    const bool hasError = errno == EINVAL;
    ::dprintf(output, "%d %d %d", moved, hasError, ::fcntl(opened, F_GETFD));
  });
  EXPECT_EQ(result, "-1 1 -1");
}

}  // namespace
