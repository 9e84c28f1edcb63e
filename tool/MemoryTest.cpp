// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <pthread.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <mk4.h>

#include "tests/support/Child.h"
#include "tests/support/Golden.h"
#include "tests/support/TemporaryFolder.h"
#include "tool/testing/ConversionTesting.h"

namespace {

constexpr unsigned char paint = 0xA5;

/// The stacks of new threads in the order of their start: painted below what their start took, up
/// to where they begin.
struct Stack {
  const unsigned char* lowest;
  const unsigned char* begin;

  /// How much of it has been used, by the deepest byte that has lost its paint.
  std::size_t used() const {
    const unsigned char* at = lowest;
    while (at < begin && *at == paint) {
      ++at;
    }
    return static_cast<std::size_t>(begin - at);
  }
};
std::array<Stack, 4> stacks;
std::atomic<std::size_t> stackCount = 0;

struct Start {
  void* (*routine)(void*);
  void* argument;
};

/// Paints the stack of the calling thread, all but what stands on it.
[[gnu::noinline]] void paintStack() {
  pthread_attr_t attribute;
  ::pthread_getattr_np(::pthread_self(), &attribute);
  void* lowest = nullptr;
  std::size_t size = 0;
  std::size_t guard = 0;
  ::pthread_attr_getstack(&attribute, &lowest, &size);
  ::pthread_attr_getguardsize(&attribute, &guard);
  ::pthread_attr_destroy(&attribute);

  auto* const from = static_cast<unsigned char*>(lowest);
  // A function that paints must leave its own frame alone, which ends not far from any of its data.
  volatile unsigned char here = 0;
  const auto to = reinterpret_cast<std::uintptr_t>(&here) - 512;
  volatile unsigned char* at = from + guard;
  for (; reinterpret_cast<std::uintptr_t>(at) < to; ++at) {
    *at = paint;
  }
  stacks.at(stackCount++) = {from + guard, from + size};
}

void* paintAndRun(void* argument) {
  const Start start = *static_cast<Start*>(argument);
  paintStack();
  return start.routine(start.argument);
}

}  // namespace

// The linker puts this in the place of pthread_create, under a name of its making.
// NOLINTBEGIN(clang-diagnostic-reserved-identifier)
extern "C" {
int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attribute,
                          void* (*routine)(void*), void* argument);

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attribute,
                          void* (*routine)(void*), void* argument) {
  // Never freed: the thread looks at it when it likes.
  auto* const start = new Start{routine, argument};
  return __real_pthread_create(thread, attribute, paintAndRun, start);
}
}
// NOLINTEND(clang-diagnostic-reserved-identifier)

namespace {

using TestSupport::inChild;
using TestSupport::Outcome;
using TestSupport::readFile;

/// What the device has to spare.
class MemoryTest : public ::testing::Test {
 protected:
  MemoryTest() { makeInfile(100); }

  /// A database of schema 0 with one system.
  void makeInfile(int zones) {
    ::unlink(infile.c_str());
    c4_Storage storage(infile.c_str(), 1);
    fill(storage, "TormaQuilletHistory", 1, 4624);
    fill(storage, "ZoneHistory", zones, zoneSize);
    storage.Commit();
  }

  static void fill(c4_Storage& storage, const std::string& table, int rows, int size) {
    const c4_IntProp key("Key");
    const c4_BytesProp record("Record");
    c4_View view = storage.GetAs((table + "[Key:I,Record:B]").c_str());
    for (int i = 0; i < rows; ++i) {
      const std::string body(static_cast<std::size_t>(size), static_cast<char>('a' + i % 26));
      c4_Row row;
      key(row) = i * 7919;
      record(row) = c4_Bytes(body.data(), size);
      view.Add(row);
    }
  }

  /// The largest resident memory of a program, in KiB. Not this process's usage of its children:
  /// that counts what a child had of this process before it became the program.
  long peakOf(const std::vector<std::string>& arguments) {
    const std::string peak = folder.path("peak");
    const Outcome outcome =
        inChild([&] { TestSupport::execute(arguments, "/usr/bin/time -f %M -o " + peak); });
    EXPECT_EQ(outcome.status, 0) << outcome;
    return std::atol(readFile(peak).c_str());
  }

  /// Converts on this process's own two threads, and tells on standard output at its end how much
  /// of their stacks they have used.
  static Outcome convertOnPaintedStacks(const std::string& from, const std::string& to) {
    return inChild([&from, &to] {
      std::atexit([] {
        for (std::size_t i = 0; i < stackCount; ++i) {
          std::fprintf(stderr, "%zu ", stacks.at(i).used());
        }
      });
      TestSupport::convertHere(from, to);
    });
  }

  static constexpr int zoneSize = 2040;

  TestSupport::TemporaryFolder folder;
  const std::string infile = folder.path("in.mk");
  const std::string outfile = folder.path("out.mk");
};

// Than one of the same libraries. Under the emulator what it makes of the code counts, too.
TEST_F(MemoryTest, AConversionTakesAFewMegabytesMoreThanAnEmptyProgram) {
  const long empty = peakOf({TOLD_PROGRAM});
  const long conversion = peakOf({HISTORY_CONVERT, infile, "0", outfile, "1"});
  std::printf("empty %ld KiB, conversion %ld KiB more\n", empty, conversion - empty);
  EXPECT_GT(empty, 0);
  EXPECT_GT(conversion, empty);
  EXPECT_LE(conversion - empty, 3 * 1024);
}

// The converter holds all records of a table, once.
TEST_F(MemoryTest, ALongTableTakesLittleMoreThanItsRecords) {
  constexpr int zones = 3000;
  makeInfile(zones);
  const long empty = peakOf({TOLD_PROGRAM});
  const long conversion = peakOf({HISTORY_CONVERT, infile, "0", outfile, "1"});
  const long records = long{zones} * zoneSize / 1024;
  std::printf("records %ld KiB, conversion %ld KiB more than an empty program\n", records,
              conversion - empty);
  EXPECT_LE(conversion - empty, records * 13 / 10 + 2 * 1024);
}

TEST_F(MemoryTest, BothThreadsUseLessThanHalfOfTheirStacks) {
  std::vector<std::string> infiles = {infile};
  for (const char* name :
       {"typical.mk", "many-rows.mk", "lived-in.mk", "big-endian.mk", "torn-5.mk"}) {
    infiles.push_back(TestSupport::goldenFile(name).path);
  }
  for (const std::string& path : infiles) {
    ::unlink(outfile.c_str());
    const Outcome outcome = convertOnPaintedStacks(path, outfile);
    EXPECT_EQ(outcome.status, 0) << outcome;
    int creatorUses = 0;
    int serverUses = 0;
    ASSERT_EQ(std::sscanf(outcome.standardError.c_str(), "%d %d", &creatorUses, &serverUses), 2)
        << outcome;
    std::printf("%s: creator %d bytes, databaseServer %d bytes\n", path.c_str(), creatorUses,
                serverUses);
    for (const int uses : {creatorUses, serverUses}) {
      // No record fits into less.
      EXPECT_GT(uses, 2040);
      EXPECT_LT(uses, 32 * 1024);
    }
  }
}

}  // namespace
