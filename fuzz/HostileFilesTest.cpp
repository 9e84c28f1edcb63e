// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <numeric>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fuzz/HostileFiles.h"
#include "tests/support/Child.h"
#include "tests/support/Golden.h"
#include "tests/support/TemporaryFolder.h"
#ifdef FUZZ_HISTORY_DB
#include "history-db/base/Console.h"
#include "history-db/cli/CommandLine.h"
#endif

namespace Fuzz {

namespace {

using TestSupport::readFile;

constexpr std::int64_t kibi = 1024;

/// What a program may take for one file. CPU time, as that does not depend on other processes.
struct Limits {
  std::int64_t memoryKib;
  double seconds;
  /// Whether it is longer than a proof should read: its digest covers the holes.
  bool isLong;
};

Limits limitsFor(const SparseFile& file) {
  const std::int64_t stored =
      std::accumulate(file.parts.begin(), file.parts.end(), std::int64_t{0},
                      [](std::int64_t sum, const SparseFile::Part& part) {
                        return sum + static_cast<std::int64_t>(part.bytes.size());
                      });
  return {64 * kibi + 4 * stored / kibi, 2 + static_cast<double>(stored) / (10 * mebi),
          file.length > 64 * mebi};
}

double secondsOf(const rusage& usage) {
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// Ends a child that exceeds its limits by far, before it harms the machine.
void limitChild(const Limits& limits) {
  const auto seconds = static_cast<rlim_t>(20 * limits.seconds);
  const rlimit time = {seconds, seconds};
  ::setrlimit(RLIMIT_CPU, &time);
  const auto bytes = static_cast<rlim_t>((limits.memoryKib * 4 + kibi * kibi) * kibi);
  const rlimit memory = {bytes, bytes};
  ::setrlimit(RLIMIT_DATA, &memory);
}

/// How a child ended, and what it took.
struct Ended {
  int status = 0;
  rusage usage = {};
};

Ended runChild(const std::function<void()>& body) {
  std::fflush(nullptr);
  const pid_t child = ::fork();
  if (child < 0) {
    std::abort();
  }
  if (child == 0) {
    body();
    ::_exit(0);
  }
  Ended ended;
  while (::wait4(child, &ended.status, 0, &ended.usage) < 0 && errno == EINTR) {
  }
  return ended;
}

void write(const std::string& path, const SparseFile& file) {
  const int descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  ASSERT_GE(descriptor, 0);
  for (const SparseFile::Part& part : file.parts) {
    ASSERT_EQ(::pwrite(descriptor, part.bytes.data(), part.bytes.size(), part.position),
              static_cast<ssize_t>(part.bytes.size()));
  }
  ASSERT_EQ(::ftruncate(descriptor, file.length), 0);
  ASSERT_EQ(::close(descriptor), 0);
}

std::vector<std::string> samples() {
  std::vector<std::string> all;
  for (const char* name : {"typical.mk", "duplicate-keys.mk", "odd-sizes.mk", "other-views.mk",
                           "lived-in.mk", "big-endian.mk", "torn-5.mk"}) {
    all.push_back(readFile(TestSupport::goldenFile(name).path));
  }
  return all;
}

const std::vector<HostileFamily>& families() {
  static const std::vector<std::string> sound = samples();
  static const std::vector<HostileFamily> all = hostileFamilies(sound);
  return all;
}

/// Part `part` of the `parts` that a family is tested in, side by side.
struct Share {
  const HostileFamily* family;
  std::size_t part;
};

constexpr std::size_t parts = 4;

std::vector<Share> shares() {
  std::vector<Share> all;
  for (const HostileFamily& family : families()) {
    for (std::size_t part = 0; part < parts; ++part) {
      all.push_back({&family, part});
    }
  }
  return all;
}

/// Every program that reads a file ends within the limits, and normally. With HOSTILE_FILE in the
/// environment only the file of that name is tried, which is kept then.
class HostileFilesTest : public ::testing::TestWithParam<Share> {
 protected:
  void expectWithin(const Limits& limits, const Ended& ended, const std::string& program) {
    EXPECT_TRUE(WIFEXITED(ended.status))
        << program << " ended by signal " << WTERMSIG(ended.status);
    expectWithin(limits, ended.usage, program);
  }

  static void expectWithin(const Limits& limits, const rusage& usage, const std::string& program) {
    EXPECT_LE(usage.ru_maxrss, limits.memoryKib) << "KiB of memory: " << program;
    EXPECT_LE(secondsOf(usage), limits.seconds) << "seconds: " << program;
    if (std::getenv("HOSTILE_FILE") != nullptr) {
      std::printf("%s: %ld KiB of %ld, %.2f s of %.2f\n", program.c_str(), usage.ru_maxrss,
                  static_cast<long>(limits.memoryKib), secondsOf(usage), limits.seconds);
    }
  }

  void convert(const Limits& limits) {
    const std::string messages = folder.path("messages");
    const std::string output = folder.path("out.mk");
    const Ended ended = runChild([&] {
      limitChild(limits);
      ::setenv("LD_PRELOAD", PRELOAD, 1);
      redirect(messages, STDERR_FILENO);
      redirect("/dev/null", STDOUT_FILENO);
      TestSupport::execute({HISTORY_CONVERT, infile, "0", output, "1"});
    });
    expectWithin(limits, ended, "history-convert");
    const int status = WEXITSTATUS(ended.status);
    EXPECT_TRUE(status == 0 || status == 255) << status;
    EXPECT_EQ(status == 255, readFile(messages).find("]: INFILE \"") != std::string::npos)
        << readFile(messages);
    ::unlink(output.c_str());
  }

  static void redirect(const std::string& path, int descriptor) {
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    ::dup2(file, descriptor);
    ::close(file);
  }

#ifdef FUZZ_HISTORY_DB
  /// All subcommands, one after the other in a child: the time of each counts, the memory is that
  /// of the greediest so far.
  void inspect(const Limits& limits) {
    const std::vector<std::vector<const char*>> commands = {{"info"},
                                                            {"check"},
                                                            {"check", "--json"},
                                                            {"dump"},
                                                            {"dump", "--format", "csv"},
                                                            {"verify", infile.c_str()},
                                                            {"plot", "--terminal"}};
    const std::string messages = folder.path("messages");
    const Ended ended = runChild([&] {
      limitChild(limits);
      redirect(messages, STDOUT_FILENO);
      redirect("/dev/null", STDERR_FILENO);
      std::FILE* const nowhere = std::fopen("/dev/null", "w");
      for (const auto& command : commands) {
        if (limits.isLong && std::string(command[0]) == "verify") {
          continue;
        }
        std::vector<const char*> arguments = {"history-db", command[0], infile.c_str()};
        arguments.insert(arguments.end(), command.begin() + 1, command.end());
        rusage before = {};
        ::getrusage(RUSAGE_SELF, &before);
        HistoryDb::Console console(nowhere, nowhere);
        HistoryDb::runCommandLine(static_cast<int>(arguments.size()), arguments.data(), console);
        rusage after = {};
        ::getrusage(RUSAGE_SELF, &after);
        const double seconds = secondsOf(after) - secondsOf(before);
        const bool isTooMuch = seconds > limits.seconds || after.ru_maxrss > limits.memoryKib;
        if (isTooMuch || std::getenv("HOSTILE_FILE") != nullptr) {
          std::printf("%s history-db %s: %ld KiB of %ld, %.2f s of %.2f\n",
                      isTooMuch ? "too much:" : "", command[0], after.ru_maxrss,
                      static_cast<long>(limits.memoryKib), seconds, limits.seconds);
        }
      }
      std::fflush(stdout);
    });
    EXPECT_TRUE(WIFEXITED(ended.status)) << "history-db ended by signal " << WTERMSIG(ended.status);
    const std::string told = readFile(messages);
    EXPECT_EQ(told.find("too much:"), std::string::npos) << told;
    if (std::getenv("HOSTILE_FILE") != nullptr) {
      std::printf("%s", told.c_str());
    }
  }
#endif

  TestSupport::TemporaryFolder folder;
  const std::string infile = folder.path("in.mk");
};

TEST_P(HostileFilesTest, TakeLittleMemoryAndTime) {
  const char* const wanted = std::getenv("HOSTILE_FILE");
  const HostileFamily& family = *GetParam().family;
  for (std::size_t i = GetParam().part; i < family.files.size(); i += parts) {
    const HostileFile& one = family.files[i];
    const std::string name = family.name + "/" + one.name;
    if (wanted != nullptr && name != wanted) {
      continue;
    }
    SCOPED_TRACE("HOSTILE_FILE=" + name);
    Limits limits = {};
    {
      const SparseFile file = one.make();
      limits = limitsFor(file);
      write(infile, file);
      if (wanted != nullptr) {
        write("hostile-file.mk", file);
      }
    }
    convert(limits);
#ifdef FUZZ_HISTORY_DB
    inspect(limits);
#endif
  }
}

TEST(HostileFamiliesTest, AreThousandsOfFilesWithNamesOfTheirOwn) {
  std::set<std::string> names;
  std::size_t count = 0;
  for (const HostileFamily& family : families()) {
    for (const HostileFile& file : family.files) {
      names.insert(family.name + "/" + file.name);
      ++count;
    }
  }
  EXPECT_EQ(names.size(), count);
  EXPECT_GE(count, 3000U);
}

INSTANTIATE_TEST_SUITE_P(Of, HostileFilesTest, ::testing::ValuesIn(shares()),
                         [](const ::testing::TestParamInfo<Share>& share) {
                           return share.param.family->name + "_" + std::to_string(share.param.part);
                         });

}  // namespace

}  // namespace Fuzz
