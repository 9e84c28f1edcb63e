// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "tool/Faults.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <new>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "rtk/testing/WrittenPieces.h"
#include "tests/support/Child.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using TestSupport::inChild;
using TestSupport::Outcome;

TEST(FaultsDeathTest, MemoryThatCannotBeHadIsFatal) {
  const Outcome expected = {255, "", "@@ FATAL ERROR: Out of memory.\n"};
  EXPECT_EQ(inChild([] {
              reportFaults();
              volatile std::size_t tooMuch = SIZE_MAX - 1000;
              ::operator delete(::operator new(tooMuch));
            }),
            expected);
}

constexpr char unreadableFile[] =
    "@@ FATAL ERROR: A file cannot be read. Its device failed, or it was cut off.\n";

/// Reads from a mapped file behind its end.
void readTruncatedFile(const std::string& path) {
  reportFaults();
  const int descriptor = ::open(path.c_str(), O_RDWR | O_CREAT, 0600);
  if (::ftruncate(descriptor, 10000) == 0) {
    const auto* bytes = static_cast<const volatile char*>(
        ::mmap(nullptr, 10000, PROT_READ, MAP_SHARED, descriptor, 0));
    if (bytes[9000] == 0 && ::ftruncate(descriptor, 100) == 0) {
      static_cast<void>(bytes[9000]);
    }
  }
}

TEST(FaultsDeathTest, AFileThatCannotBeReadIsFatal) {
  const TestSupport::TemporaryFolder folder;
  const std::string path = folder.path("file");
  EXPECT_EQ(inChild([&path] {
              std::printf("printed before");
              readTruncatedFile(path);
            }),
            (Outcome{255, "printed before", unreadableFile}));
}

TEST(FaultsDeathTest, AFileThatCannotBeReadIsReportedByOneWrite) {
  const TestSupport::TemporaryFolder folder;
  const std::string path = folder.path("file");
  EXPECT_EQ(TestSupport::piecesWrittenBy([&path] { readTruncatedFile(path); }),
            std::vector<std::string>{unreadableFile});
}

/// What `cause` does to a process that reports faults.
Outcome endBy(const std::function<void()>& cause) {
  return inChild([&cause] {
    const rlimit none = {0, 0};
    ::setrlimit(RLIMIT_CORE, &none);
    reportFaults();
    cause();
  });
}

/// What a bus error of that cause does to a process. Calls the handler as the system does: most
/// causes cannot be produced at will.
Outcome endByBusError(int code) {
  return endBy([code] {
    struct sigaction action = {};
    ::sigaction(SIGBUS, nullptr, &action);
    siginfo_t info = {};
    info.si_signo = SIGBUS;
    info.si_code = code;
    action.sa_sigaction(SIGBUS, &info, nullptr);
  });
}

TEST(FaultsDeathTest, AnUnreadablePageIsFatal) {
  for (const int code : {BUS_ADRERR, BUS_OBJERR, BUS_MCEERR_AR}) {
    EXPECT_EQ(endByBusError(code), (Outcome{255, "", unreadableFile})) << code;
  }
}

TEST(FaultsDeathTest, OtherBusErrorsEndTheProcessByTheSignal) {
  const std::string report =
      TestSupport::emulated() ? "qemu: uncaught target signal 7 (Bus error) - core dumped\n" : "";
  const Outcome expected = {128 + SIGBUS, "", report};
  // 0x80 is the code of a bus error without a known cause.
  const int codes[] = {BUS_ADRALN, BUS_MCEERR_AO, 0x80, SI_USER, SI_QUEUE, SI_TKILL};
  for (const int code : codes) {
    EXPECT_EQ(endByBusError(code), expected) << code;
  }
  EXPECT_EQ(endBy([] { std::raise(SIGBUS); }), expected);
}

TEST(FaultsDeathTest, ALimitOfTheFileSizeEndsNothing) {
  const TestSupport::TemporaryFolder folder;
  const std::string path = folder.path("file");
  const Outcome expected = {0, "", ""};
  EXPECT_EQ(inChild([&path] {
              reportFaults();
              const rlimit limit = {100, 100};
              ::setrlimit(RLIMIT_FSIZE, &limit);
              const int descriptor = ::open(path.c_str(), O_RDWR | O_CREAT, 0666);
              if (::pwrite(descriptor, "x", 1, 200) >= 0 || errno != EFBIG) {
                std::exit(1);
              }
            }),
            expected);
}

}  // namespace
