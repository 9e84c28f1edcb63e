// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "companion/Converter.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <sstream>
#include <vector>

#include <fmt/format.h>

#include "companion/NewFile.h"
#include "companion/Trouble.h"

namespace Companion {

namespace {

constexpr const char* programName = "history-convert";

bool isProgram(const std::string& path) {
  struct stat status = {};
  return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
         ::access(path.c_str(), X_OK) == 0;
}

/// Where this program lies; empty when that cannot be told.
std::string ownPath() {
  std::string path(PATH_MAX, '\0');
  const ssize_t size = ::readlink("/proc/self/exe", path.data(), path.size());
  path.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
  return path;
}

std::string findInPath(const std::string& name) {
  const char* folders = std::getenv("PATH");
  std::istringstream list(folders == nullptr ? "" : folders);
  for (std::string folder; std::getline(list, folder, ':');) {
    std::string path = (folder.empty() ? "." : folder) + "/" + name;
    if (isProgram(path)) {
      return path;
    }
  }
  return "";
}

/// A path that the program does not take for an option.
std::string asArgument(const std::string& path) {
  return path.front() == '-' ? "./" + path : path;
}

/// Starts the program with nothing to read, and nobody to hear of the keys that it finds twice.
pid_t start(const std::string& program, std::vector<std::string> arguments) {
  std::vector<char*> pointers;
  pointers.reserve(arguments.size() + 1);
  for (std::string& argument : arguments) {
    pointers.push_back(argument.data());
  }
  pointers.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  int error = ::posix_spawn_file_actions_init(&actions);
  if (error != 0) {
    throwError(program, "It cannot be run", error);
  }
  pid_t child = 0;
  ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  error = ::posix_spawn(&child, program.c_str(), &actions, nullptr, pointers.data(), environ);
  ::posix_spawn_file_actions_destroy(&actions);
  if (error != 0) {
    throwError(program, "It cannot be run", error);
  }
  return child;
}

}  // namespace

std::string findConverter(const std::string& given) {
  if (!given.empty()) {
    std::string path = given.find('/') != std::string::npos ? given : findInPath(given);
    if (!isProgram(path)) {
      throw Trouble(given + ": There is no such program.");
    }
    return path;
  }
  const std::string beside = folderOf(ownPath()) + "/" + programName;
  std::string path = isProgram(beside) ? beside : findInPath(programName);
  if (path.empty()) {
    throw Trouble(fmt::format("{} is neither beside history-db nor in PATH; --converter names it.",
                              programName));
  }
  return path;
}

void convert(const std::string& converter, const std::string& original,
             const std::string& converted) {
  const pid_t child =
      start(converter, {converter, "-q", asArgument(original), "0", asArgument(converted), "1"});
  int status = 0;
  while (::waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) {
      throwError(converter, "Its end cannot be waited for", errno);
    }
  }
  if (WIFSIGNALED(status)) {
    throw Trouble(fmt::format("{}: It was ended by signal {}.", converter, WTERMSIG(status)));
  }
  if (WEXITSTATUS(status) != 0) {
    throw Trouble(fmt::format("{}: It failed, with status {}.", converter, WEXITSTATUS(status)));
  }
}

}  // namespace Companion
