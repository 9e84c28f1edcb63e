// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "tests/reliability/Trial.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <set>

#include <mk4.h>

#include "tests/support/Nobody.h"

namespace Reliability {

namespace {

constexpr unsigned int secondsForARun = 10;
constexpr long mostMemory = 256 * 1024;

/// The largest resident memory of any child so far, in KiB.
long peak() {
  rusage usage = {};
  ::getrusage(RUSAGE_CHILDREN, &usage);
  return usage.ru_maxrss;
}

void befall(const Mishap& mishap, const std::string& library = PRELOAD) {
  for (const auto& [name, value] : mishap) {
    ::setenv(name.c_str(), value.c_str(), 1);
  }
  if (!mishap.empty()) {
    // An emulator is to pass it on, and not to load the library itself.
    if (TestSupport::emulated()) {
      ::setenv("QEMU_SET_ENV", ("LD_PRELOAD=" + library).c_str(), 1);
    } else {
      ::setenv("LD_PRELOAD", library.c_str(), 1);
    }
  }
  // Not every environment leaves them as they are.
  for (const int signal : {SIGXFSZ, SIGPIPE}) {
    ::signal(signal, SIG_DFL);
  }
  // A run that hangs ends with a signal.
  ::alarm(secondsForARun);
}

bool isSameTime(const timespec& a, const timespec& b) {
  return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

}  // namespace

const Outcome Trial::complete = {0, "Conversion complete.\n", ""};

bool isSoak() {
  return std::getenv("SOAK_SEED") != nullptr;
}

int trials(int few, int many) {
  return isSoak() ? many : few;
}

unsigned int seed(unsigned int number) {
  const char* text = std::getenv("SOAK_SEED");
  return number +
         (text != nullptr ? static_cast<unsigned int>(std::strtoul(text, nullptr, 10)) : 0);
}

void count(const std::string& what, int number) {
  std::printf("COUNT %d %s\n", number, what.c_str());
}

Outcome Trial::convert(const Mishap& mishap, const std::string& under) {
  return run({HISTORY_CONVERT, infile, "0", outfile, "1"}, mishap, under);
}

Outcome Trial::run(const std::vector<std::string>& arguments, const Mishap& mishap,
                   const std::string& under) {
  Outcome outcome = TestSupport::inChild([&] {
    befall(mishap);
    TestSupport::execute(arguments, under);
  });
  EXPECT_LE(peak(), mostMemory) << outcome;
  return outcome;
}

Outcome Trial::runAsNobody(std::vector<std::string> arguments, const Mishap& mishap) {
  ::chmod(folder.path("").c_str(), 0777);
  TestSupport::Reachable reachable;
  const std::string program = arguments[0];
  arguments[0] = reachable.copy(program);
  const std::string library = reachable.copy(PRELOAD);
  Outcome outcome = TestSupport::inChild([&] {
    befall(mishap, library);
    TestSupport::becomeNobody();
    TestSupport::execute(arguments);
  });
  // It calls itself what it was called.
  std::string& text = outcome.standardError;
  for (std::size_t at = text.find(arguments[0]); at != std::string::npos;
       at = text.find(arguments[0], at + program.size())) {
    text.replace(at, arguments[0].size(), program);
  }
  return outcome;
}

void Trial::makeInfile(const std::string& bytes) {
  _bytes = bytes;
  TestSupport::writeFile(infile, bytes);
  ASSERT_EQ(::stat(infile.c_str(), &_status), 0);
}

void Trial::expectNothingElseTouched() const {
  struct stat status = {};
  EXPECT_EQ(::stat(infile.c_str(), &status), 0);
  EXPECT_EQ(status.st_size, _status.st_size);
  EXPECT_TRUE(isSameTime(status.st_mtim, _status.st_mtim));
  // Not compared by a macro: megabytes of differences help nobody.
  EXPECT_TRUE(TestSupport::readFile(infile) == _bytes);

  std::set<std::string> entries = {"in.mk", "out.mk"};
  entries.insert(otherEntries.begin(), otherEntries.end());
  for (const auto& entry : std::filesystem::directory_iterator(folder.path(""))) {
    EXPECT_EQ(entries.count(entry.path().filename()), 1U) << entry.path();
  }
}

bool Trial::expectTruth(const Outcome& outcome, const GoldenFile& golden) const {
  expectNothingElseTouched();
  const auto tells = [](const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
  };
  const bool converted = tells(outcome.standardOutput, "Conversion complete.\n");
  if (converted) {
    EXPECT_EQ(outcome.status, 0) << outcome;
    EXPECT_EQ(TestSupport::readTables(outfile, golden.converted), golden.converted) << outcome;
  } else if (tells(outcome.standardError, "FILE argument \"")) {
    EXPECT_EQ(outcome.status, 0) << outcome;
    EXPECT_NE(::access(outfile.c_str(), F_OK), 0) << "nothing is begun";
  } else {
    EXPECT_EQ(outcome.status, 255) << outcome;
    EXPECT_TRUE(tells(outcome.standardError, "@@ FATAL ERROR")) << outcome;
  }
  rowsConverted(golden);
  return converted;
}

int Trial::rowsConverted(const GoldenFile& golden) const {
  struct stat status = {};
  if (::stat(outfile.c_str(), &status) != 0) {
    return 0;
  }
  const mode_t mask = ::umask(0);
  ::umask(mask);
  EXPECT_EQ(status.st_mode & 0777, 0666 & ~mask);
  EXPECT_TRUE(c4_Storage(outfile.c_str(), 0).Strategy().IsValid());
  int rows = 0;
  bool isLast = false;
  const std::vector<Table> found = TestSupport::readTables(outfile, golden.converted);
  for (std::size_t i = 0; i < found.size(); ++i) {
    const auto& wanted = golden.converted[i].rows;
    const auto& there = found[i].rows;
    EXPECT_TRUE(!isLast || there.empty()) << found[i];
    EXPECT_LE(there.size(), wanted.size()) << found[i];
    EXPECT_TRUE(std::equal(
        there.begin(), there.end(), wanted.begin(),
        wanted.begin() + static_cast<std::ptrdiff_t>(std::min(there.size(), wanted.size()))))
        << found[i];
    isLast = isLast || there.size() < wanted.size();
    rows += static_cast<int>(there.size());
  }
  return rows;
}

}  // namespace Reliability
