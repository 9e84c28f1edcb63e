// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "tool/StoreCheck.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "persist/history/RowLimit.h"
#include "posix/PrintableCharacter.h"
#include "posix/StandardDescriptors.h"
#include "posix/StoredSize.h"
#include "rtk/error/FatalError.h"
#include "rtk/string/DString.h"

namespace {

using Pvn::Database::Metakit::Persist::Service;

/// Characters of a name that a service keeps.
constexpr std::size_t longestName = 1024;

/// Appends a text so that a terminal displays it and does not act on it.
void appendEscaped(Rtk::DString& message, std::string_view text) {
  while (!text.empty()) {
    const std::size_t size = PrintableCharacter::sizeAtStart(text);
    char piece[8] = {};
    if (size == 0) {
      std::snprintf(piece, sizeof piece, "\\x%02x", static_cast<unsigned char>(text.front()));
    } else {
      text.copy(piece, size);
    }
    message += piece;
    text.remove_prefix(size == 0 ? 1 : size);
  }
}

[[noreturn]] void fail(const char* argument, const char* path, const char* what,
                       const char* reason) {
  Rtk::DString message(argument);
  message += " \"";
  appendEscaped(message, path);
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

/// Returns why a store on the file is not sound. `flags` are for opening the file.
const char* reasonFor(const char* path, int flags) {
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
  const bool isDatafile =
      ::pread(file.descriptor(), start, sizeof start, 0) == sizeof start &&
      (std::memcmp(start, "JL", sizeof start) == 0 || std::memcmp(start, "LJ", sizeof start) == 0);
  return isDatafile ? "It is damaged" : "It is not a history database";
}

/// Refers to INFILE as it was when the command line was checked.
int heldInfile = -1;

bool isSameFile(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

bool isHeld(const struct stat& status) {
  struct stat held = {};
  return ::fstatat(heldInfile, "", &held, AT_EMPTY_PATH) == 0 && isSameFile(held, status);
}

/// Whether `path` names the held file.
bool isHeld(const char* path) {
  struct stat found = {};
  return ::stat(path, &found) == 0 && isHeld(found);
}

/// The number that the next file of this process gets; negative if there is none.
int nextDescriptor() {
  const int next = ::fcntl(heldInfile, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  if (next >= 0) {
    ::close(next);
  }
  return next;
}

/// Nobody may read or write a file that is created with this mask.
constexpr mode_t allPermissions = 0777;

/// Removes the file `opened` if a service has created it in the place of INFILE. Such a file is
/// empty and has no permissions, because of the mask. Where the file system or an access control
/// list ignores the mask, or a file cannot be renamed so, the empty file stays. Another process may
/// move INFILE back at any moment, so the file gets another name first: what is removed is the file
/// that has that name then, and any other one gets its name back.
void removeCreatedInfile(const char* path, const struct stat& opened) {
  // INFILE may be a link, which stays.
  char* const target = ::realpath(path, nullptr);
  struct stat found = {};
  if (target != nullptr && ::lstat(target, &found) == 0 && isSameFile(found, opened) &&
      found.st_size == 0 && (found.st_mode & allPermissions) == 0) {
    Rtk::DString aside(target);
    aside += ".created";
    if (::renameat2(AT_FDCWD, target, AT_FDCWD, aside.getString(), RENAME_NOREPLACE) == 0) {
      if (::lstat(aside.getString(), &found) == 0 && isSameFile(found, opened)) {
        ::unlink(aside.getString());
      } else {
        ::renameat2(AT_FDCWD, aside.getString(), AT_FDCWD, target, RENAME_NOREPLACE);
      }
    }
  }
  std::free(target);
}

void requireSound(const Service& service, const char* argument, const char* path, int flags) {
  if (!service.isSound()) {
    fail(argument, path, "cannot be opened", reasonFor(path, flags));
  }
}

[[noreturn]] void failForChangedInfile(const char* path) {
  fail("INFILE", path, "cannot be opened", "It was renamed, removed or replaced");
}

}  // namespace

void checkName(const char* argument, const char* path) {
  if (std::strlen(path) > longestName) {
    fail(argument, path, "cannot be opened", "Its name has more than 1024 characters");
  }
}

bool holdInfile(const char* path, struct stat& status) {
  heldInfile = StandardDescriptors::moveAbove(::open(path, O_PATH | O_CLOEXEC));
  return heldInfile >= 0 && ::fstatat(heldInfile, "", &status, AT_EMPTY_PATH) == 0;
}

void openInfile(Service& service, const char* path) {
  // Without this, the service would create every missing file, not only one that is moved just now.
  if (!isHeld(path)) {
    failForChangedInfile(path);
  }
  const int next = nextDescriptor();
  const mode_t mask = ::umask(allPermissions);
  service.open();
  ::umask(mask);
  // The service keeps its file open, except for one that is damaged. Then only the path is left to
  // compare, and the conversion ends in any case.
  struct stat opened = {};
  const bool isOpen = ::fstat(next, &opened) == 0;
  if (isOpen ? !isHeld(opened) : !isHeld(path)) {
    removeCreatedInfile(path, opened);
    failForChangedInfile(path);
  }
  requireSound(service, "INFILE", path, O_RDONLY);
}

void openOutfile(Service& service, const char* path) {
  service.open();
  // If the file is missing, the service could not create it. Trying again tells why.
  const int flags = ::access(path, F_OK) == 0 ? O_RDONLY : O_RDWR | O_CREAT;
  requireSound(service, "OUTFILE", path, flags);
}

void checkRows(std::int64_t systemRows, std::int64_t zoneRows, const char* argument,
               const char* path) {
  const OpenFile file(path, O_RDONLY);
  if (!Pvn::Persist::History::areRowsPlausible(systemRows, zoneRows,
                                               StoredSize::of(file.descriptor()))) {
    fail(argument, path, "cannot be converted", "It has too many records for its size");
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
