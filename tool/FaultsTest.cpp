// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "tool/Faults.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <string>

#include <gtest/gtest.h>

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

TEST(FaultsDeathTest, AFileThatCannotBeReadIsFatal) {
  const TestSupport::TemporaryFolder folder;
  const std::string path = folder.path("file");
  TestSupport::writeFile(path, std::string(10000, 'x'));
  const Outcome expected = {
      255, "", "@@ FATAL ERROR: A file cannot be read. Its device failed, or it was cut off.\n"};
  EXPECT_EQ(inChild([&path] {
              reportFaults();
              const int descriptor = ::open(path.c_str(), O_RDWR);
              const auto* bytes = static_cast<const volatile char*>(
                  ::mmap(nullptr, 10000, PROT_READ, MAP_SHARED, descriptor, 0));
              if (bytes[9000] == 'x' && ::ftruncate(descriptor, 100) == 0) {
                static_cast<void>(bytes[9000]);
              }
            }),
            expected);
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
