// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "bench/conversion/Process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "bench/Measure.h"

namespace Bench {

namespace {

constexpr const char* noted = "conversion_bench.noted";

/// Starts a program. With `errors`, what it says on standard error goes there.
pid_t start(Arguments arguments, const char* errors) {
  std::vector<char*> pointers;
  pointers.reserve(arguments.size() + 1);
  for (std::string& argument : arguments) {
    pointers.push_back(argument.data());
  }
  pointers.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  if (errors != nullptr) {
    ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errors,
                                       O_WRONLY | O_CREAT | O_TRUNC, 0666);
  }
  pid_t child = 0;
  const int error =
      ::posix_spawnp(&child, pointers[0], &actions, nullptr, pointers.data(), environ);
  ::posix_spawn_file_actions_destroy(&actions);
  require(error == 0, arguments[0] + " cannot be started");
  return child;
}

/// Waits for the end of a process, and leaves it to be asked and reaped.
void awaitEnd(pid_t child) {
  siginfo_t info = {};
  require(::waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT) == 0,
          "a process was lost");
}

void reap(pid_t child, const std::string& program) {
  int status = 0;
  require(::waitpid(child, &status, 0) == child && status == 0, program + " failed");
}

double bytesWrittenBy(pid_t process) {
  std::ifstream io("/proc/" + std::to_string(process) + "/io");
  std::string name;
  double value = -1;
  while (io >> name >> value && name != "wchar:") {
  }
  require(name == "wchar:", "the system does not tell what a process has written");
  return value;
}

std::string noteOf(const Arguments& arguments) {
  const pid_t child = start(arguments, noted);
  reap(child, arguments[0]);
  std::ifstream stream(noted);
  std::string text{std::istreambuf_iterator<char>(stream), {}};
  std::filesystem::remove(noted);
  return text;
}

double numberBehind(const std::string& text, const std::string& label) {
  const std::size_t at = text.find(label);
  require(at != std::string::npos, "\"" + label + "\" was not told");
  return std::atof(text.c_str() + at + label.size());
}

Arguments behind(Arguments command, const Arguments& arguments) {
  command.insert(command.end(), arguments.begin(), arguments.end());
  return command;
}

}  // namespace

OnEveryCore::OnEveryCore() {
  ::sched_getaffinity(0, sizeof _before, &_before);
  cpu_set_t every;
  CPU_ZERO(&every);
  for (unsigned int core = 0; core < CPU_SETSIZE; ++core) {
    CPU_SET(core, &every);
  }
  ::sched_setaffinity(0, sizeof every, &every);
}

OnEveryCore::~OnEveryCore() {
  ::sched_setaffinity(0, sizeof _before, &_before);
}

Run run(const Arguments& arguments) {
  ::sync();
  pid_t child = 0;
  const double seconds = secondsOf([&] {
    child = start(arguments, nullptr);
    awaitEnd(child);
  });
  const double written = bytesWrittenBy(child);
  reap(child, arguments[0]);
  return {seconds, written};
}

bool isInstalled(const std::string& program) {
  return std::system(("command -v " + program + " >/dev/null").c_str()) == 0;
}

// Not what the system tells of the children of this process: that counts what a child had of this
// process before it became the program.
double peakMemory(const Arguments& arguments) {
  return numberBehind(noteOf(behind({"time", "-f", "peak %M"}, arguments)), "peak ");
}

double instructions(const Arguments& arguments) {
  return numberBehind(
      noteOf(behind({"valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null"}, arguments)),
      "Collected : ");
}

void require(bool condition, const std::string& what) {
  if (!condition) {
    std::fprintf(stderr, "conversion_bench: %s\n", what.c_str());
    std::exit(1);
  }
}

}  // namespace Bench
