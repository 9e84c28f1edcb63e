// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "tests/support/Child.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <ostream>
#include <sstream>

#include <gtest/gtest.h>

namespace TestSupport {

namespace {

/// A file without a name that takes one of the child's output streams.
class Capture {
 public:
  Capture() : _file(std::tmpfile()) {}
  ~Capture() { std::fclose(_file); }
  Capture(const Capture&) = delete;
  Capture& operator=(const Capture&) = delete;

  int descriptor() const { return ::fileno(_file); }

  std::string text() const {
    std::string all;
    std::rewind(_file);
    for (int c = std::fgetc(_file); c != EOF; c = std::fgetc(_file)) {
      all += static_cast<char>(c);
    }
    return all;
  }

 private:
  std::FILE* _file;
};

int shellStatus(int status) {
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace

Outcome inChild(const std::function<void()>& body) {
  Capture output;
  Capture error;
  std::fflush(nullptr);
  const pid_t child = ::fork();
  if (child < 0) {
    std::abort();
  }
  if (child == 0) {
    ::dup2(output.descriptor(), STDOUT_FILENO);
    ::dup2(error.descriptor(), STDERR_FILENO);
    body();
    std::exit(0);
  }
  Outcome outcome;
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  outcome.status = shellStatus(status);
  outcome.standardOutput = output.text();
  outcome.standardError = error.text();
  return outcome;
}

void execute(const std::vector<std::string>& arguments, const std::string& under) {
  std::istringstream words(under + ' ' + TEST_EMULATOR);
  std::vector<std::string> all{std::istream_iterator<std::string>(words), {}};
  all.insert(all.end(), arguments.begin(), arguments.end());
  std::vector<char*> pointers;
  pointers.reserve(all.size() + 1);
  for (std::string& argument : all) {
    pointers.push_back(argument.data());
  }
  pointers.push_back(nullptr);
  ::execvp(pointers[0], pointers.data());
  std::perror(pointers[0]);
  ::_exit(127);
}

bool emulated() {
  return *TEST_EMULATOR != '\0';
}

Outcome run(const std::vector<std::string>& arguments) {
  return inChild([&arguments] { execute(arguments); });
}

bool operator==(const Outcome& a, const Outcome& b) {
  return a.status == b.status && a.standardOutput == b.standardOutput &&
         a.standardError == b.standardError;
}

std::ostream& operator<<(std::ostream& stream, const Outcome& outcome) {
  return stream << "status " << outcome.status
                << "\nstandard output: " << ::testing::PrintToString(outcome.standardOutput)
                << "\nstandard error: " << ::testing::PrintToString(outcome.standardError);
}

}  // namespace TestSupport
