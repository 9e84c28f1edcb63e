// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "tool/StoreCheck.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>

#include "posix/StandardDescriptors.h"
#include "rtk/error/FatalError.h"
#include "rtk/string/DString.h"

namespace {

using Pvn::Database::Metakit::Persist::Service;

/// Characters of a name that a service keeps.
constexpr std::size_t longestName = 1024;

[[noreturn]] void fail(const char* argument, const char* path, const char* what,
                       const char* reason) {
  Rtk::DString message(argument);
  message += " \"";
  message += path;
  message += "\" ";
  message += what;
  Rtk::FatalError::logAndExit(message.getString(), reason);
}

/// A file that is open while the object lives.
class OpenFile {
 public:
  // Without O_NONBLOCK a FIFO would hold the caller up until somebody writes to it.
  OpenFile(const char* path, int flags)
      : _descriptor(
            StandardDescriptors::moveAbove(::open(path, flags | O_CLOEXEC | O_NONBLOCK, 0666))) {}
  ~OpenFile() {
    if (_descriptor >= 0) {
      ::close(_descriptor);
    }
  }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  /// -1, and errno tells why, when it could not be opened.
  int descriptor() const { return _descriptor; }

 private:
  const int _descriptor;
};

/// Whether the system lets this process read that much of the file; else errno tells why.
bool canBeMapped(int descriptor, std::size_t size) {
  void* mapped = ::mmap(nullptr, size, PROT_READ, MAP_SHARED, descriptor, 0);
  return mapped != MAP_FAILED && ::munmap(mapped, size) == 0;
}

/// Why a store on the file is not sound, as far as a look at the file tells.
const char* reasonFor(const char* path) {
  // One that is missing now could not be created.
  const int flags = ::access(path, F_OK) == 0 ? O_RDONLY : O_RDWR | O_CREAT;
  const OpenFile file(path, flags);
  struct stat status = {};
  if (file.descriptor() < 0 || ::fstat(file.descriptor(), &status) != 0) {
    return std::strerror(errno);
  }
  if (!S_ISREG(status.st_mode)) {
    return S_ISDIR(status.st_mode) ? std::strerror(EISDIR) : "It is not a regular file";
  }
  if (status.st_size > 0 &&
      !canBeMapped(file.descriptor(), static_cast<std::size_t>(status.st_size))) {
    return std::strerror(errno);
  }
  char start[2] = {};
  const bool isDatafile = ::pread(file.descriptor(), start, sizeof start, 0) == sizeof start &&
                          (std::memcmp(start, "JL", 2) == 0 || std::memcmp(start, "LJ", 2) == 0);
  return isDatafile ? "It is damaged" : "It is not a history database";
}

}  // namespace

void checkName(const char* argument, const char* path) {
  if (std::strlen(path) > longestName) {
    fail(argument, path, "cannot be opened", "Its name has more than 1024 characters");
  }
}

void checkOpened(const Service& service, const char* argument, const char* path) {
  if (!service.isSound()) {
    fail(argument, path, "cannot be opened", reasonFor(path));
  }
}

void checkWritten(const Service& service, const char* argument, const char* path) {
  int error = service.getCommitError();
  if (error == 0) {
    // What the device refused after it had been written is told to whoever flushes the file.
    const OpenFile file(path, O_RDONLY);
    error = file.descriptor() >= 0 && ::fsync(file.descriptor()) == 0 ? 0 : errno;
  }
  if (error != 0) {
    fail(argument, path, "is incomplete", std::strerror(error));
  }
}
