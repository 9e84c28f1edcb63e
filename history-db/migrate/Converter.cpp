// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/migrate/Converter.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <vector>

#include <fmt/format.h>

#include "history-db/base/Trouble.h"
#include "history-db/files/Cleanup.h"
#include "history-db/files/Descriptor.h"
#include "history-db/files/Folder.h"
#include "posix/StandardDescriptors.h"

namespace HistoryDb {

namespace {

constexpr const char* programName = "history-convert";

bool isProgram(const std::string& path) {
  struct stat status = {};
  return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
         ::access(path.c_str(), X_OK) == 0;
}

/// The path of this program; empty when it is not known.
std::string ownPath() {
  std::string path(PATH_MAX, '\0');
  const ssize_t size = ::readlink("/proc/self/exe", path.data(), path.size());
  path.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
  return path.rfind('/', 0) == 0 ? path : "";
}

std::string findInPath(const std::string& name) {
  const char* folders = std::getenv("PATH");
  std::istringstream list(folders == nullptr ? "" : folders);
  for (std::string folder; std::getline(list, folder, ':');) {
    if (!folder.empty() && folder.front() == '/') {
      folder.append("/").append(name);
      if (isProgram(folder)) {
        return folder;
      }
    }
  }
  return "";
}

/// The path as it is from every folder.
std::string absolute(const std::string& path) {
  if (!path.empty() && path.front() == '/') {
    return path;
  }
  const std::unique_ptr<char, void (*)(void*)> folder(::getcwd(nullptr, 0), ::free);
  if (folder == nullptr) {
    throwError(path, "Its folder cannot be found", errno);
  }
  return std::string(folder.get()) + "/" + path;
}

/// Two descriptors of a pipe.
struct Pipe {
  Pipe() {
    int ends[2] = {-1, -1};
    if (::pipe2(ends, O_CLOEXEC) != 0) {
      throwError("The converter", "It cannot be run", errno);
    }
    output = Descriptor(ends[0]);
    input = Descriptor(ends[1]);
  }

  Descriptor output{-1};
  Descriptor input{-1};
};

/// The converter as a child process, which leads a process group of its own.
class Child {
 public:
  /// Starts the program in a folder. Its standard input is empty, its standard output, where it
  /// warns about repeated keys, is discarded, and only this user may access its files.
  Child(const std::string& program, std::vector<std::string> arguments, int folder)
      : _program(program) {
    std::vector<char*> pointers;
    pointers.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) {
      pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    Pipe failure;
    // A signal is handled when it is known which child is to be killed.
    const BlockedSignals blocked;
    const pid_t parent = ::getpid();
    _child = ::fork();
    if (_child < 0) {
      throwError(program, "It cannot be run", errno);
    }
    if (_child == 0) {
      prepare(parent, folder, blocked.before());
      ::execv(program.c_str(), pointers.data());
      const int error = errno;
      // The parent takes silence for success.
      const bool isReported = ::write(failure.input.get(), &error, sizeof error) == sizeof error;
      ::_exit(isReported ? 0 : failed);
    }
    ::setpgid(_child, _child);
    noteChild(_child);
    failure.input.close();
    _messages.input.close();
    int error = 0;
    if (readFully(failure.output.get(), &error, sizeof error)) {
      reap();
      throwError(program, "It cannot be run", error);
    }
  }

  /// Passes its messages on and waits for its end. Returns what waitpid() says.
  int wait(Console& console) {
    std::string line;
    std::array<char, 4096> buffer{};
    ssize_t size = 0;
    while ((size = ::read(_messages.output.get(), buffer.data(), buffer.size())) != 0) {
      if (size < 0 && errno != EINTR) {
        break;
      }
      for (ssize_t i = 0; i < size; ++i) {
        const char c = buffer[static_cast<std::size_t>(i)];
        if (c == '\n') {
          console.passOn(line);
          line.clear();
        } else if (line.size() < longestLine) {
          line += c;
        }
      }
    }
    if (!line.empty()) {
      console.passOn(line);
    }
    siginfo_t ended = {};
    while (::waitid(P_PID, static_cast<id_t>(_child), &ended, WEXITED | WNOWAIT) != 0) {
      if (errno != EINTR) {
        throwError(_program, "Its end cannot be waited for", errno);
      }
    }
    const BlockedSignals blocked;
    return reap();
  }

 private:
  static constexpr int failed = 127;
  static constexpr std::size_t longestLine = 65536;

  /// In the child, where only async-signal-safe functions may be called.
  void prepare(pid_t parent, int folder, const sigset_t& signals) const {
    ::setpgid(0, 0);
    // It also ends when this program is killed so that it cannot clean up.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent || ::fchdir(folder) != 0) {
      ::_exit(failed);
    }
    ::umask(0077);
    ::close(STDIN_FILENO);
    ::close(STDOUT_FILENO);
    if (!StandardDescriptors::ensureOpen()) {
      ::_exit(failed);
    }
    ::dup2(_messages.input.get(), STDERR_FILENO);
    for (const int signal : endingSignals) {
      ::signal(signal, SIG_DFL);
    }
    ::pthread_sigmask(SIG_SETMASK, &signals, nullptr);
  }

  static bool readFully(int from, void* bytes, std::size_t size) {
    ssize_t got = 0;
    do {
      got = ::read(from, bytes, size);
    } while (got < 0 && errno == EINTR);
    return got == static_cast<ssize_t>(size);
  }

  /// REQUIRES: signals are blocked. The number may be another process's afterwards.
  int reap() const {
    noteChild(0);
    int status = 0;
    while (::waitpid(_child, &status, 0) < 0) {
      if (errno != EINTR) {
        throwError(_program, "Its end cannot be waited for", errno);
      }
    }
    return status;
  }

  const std::string _program;
  Pipe _messages;
  pid_t _child = 0;
};

}  // namespace

std::string findConverter(const std::string& given) {
  if (!given.empty()) {
    std::string path = given.find('/') != std::string::npos ? given : findInPath(given);
    if (!isProgram(path)) {
      throw Trouble(given + ": There is no such program.");
    }
    return path;
  }
  // Without /proc nobody knows where this program is.
  const std::string own = ownPath();
  const std::string beside =
      (own.empty() ? std::string(INSTALLED_PROGRAMS) : folderOf(own)) + "/" + programName;
  std::string path = isProgram(beside) ? beside : findInPath(programName);
  if (path.empty()) {
    throw Trouble(fmt::format("{} is neither beside history-db nor in PATH; --converter names it.",
                              programName));
  }
  return path;
}

void convert(const std::string& converter, const InputFile& original, const NewFile& converted,
             Console& console) {
  const PrivateFolder& folder = converted.privateFolder();
  // Only names in the private folder: other users may be able to exchange any part of another path
  // for a link, and the converter would follow it and create a file there.
  const std::string copy = converted.name() == "original" ? "original.mk" : "original";
  original.copyTo(folder.create(copy).get(), converted.path());
  const std::string name =
      converted.name().front() == '-' ? "./" + converted.name() : converted.name();
  Child child(absolute(converter), {converter, "-q", copy, "0", name, "1"}, folder.descriptor());
  const int status = child.wait(console);
  if (WIFSIGNALED(status)) {
    throw Trouble(fmt::format("{}: It was ended by signal {}.", converter, WTERMSIG(status)));
  }
  if (WEXITSTATUS(status) != 0) {
    throw Trouble(fmt::format("{}: It failed, with status {}.", converter, WEXITSTATUS(status)));
  }
}

}  // namespace HistoryDb
