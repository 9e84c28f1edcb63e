// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "companion/NewFile.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <utility>

#include "companion/Trouble.h"

namespace Companion {

namespace {

/// The names of the files that are begun, for the signal handler. One that finds no place stays
/// behind when a signal ends the process; no command begins so many.
std::array<std::atomic<const char*>, 8> begunNames;

void note(const char* path) {
  for (auto& place : begunNames) {
    const char* none = nullptr;
    if (place.compare_exchange_strong(none, path)) {
      return;
    }
  }
}

void forget(const char* path) {
  for (auto& place : begunNames) {
    const char* noted = path;
    place.compare_exchange_strong(noted, nullptr);
  }
}

bool exists(const std::string& path) {
  struct stat status = {};
  return ::lstat(path.c_str(), &status) == 0;
}

/// Gives `from` the name `to`, which must not exist. Gives 0 or the number of the error.
int renameToNew(const std::string& from, const std::string& to) {
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
    return 0;
  }
  if (errno != EINVAL && errno != ENOSYS) {
    return errno;
  }
  // Not every file system can do that at once.
  if (exists(to)) {
    return EEXIST;
  }
  return ::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

}  // namespace

NewFile::NewFile(std::string path, bool force) : _path(std::move(path)), _force(force) {
  if (!_force && exists(_path)) {
    throw Trouble(_path + ": It exists; --force replaces it.");
  }
  const std::size_t slash = _path.rfind('/');
  const std::size_t name = slash == std::string::npos ? 0 : slash + 1;
  _temporaryPath = _path.substr(0, name) + "." + _path.substr(name) + ".XXXXXX";
  _descriptor = ::mkostemp(_temporaryPath.data(), O_CLOEXEC);
  if (_descriptor < 0) {
    throwError(_path, "It cannot be created", errno);
  }
  note(_temporaryPath.c_str());
  // mkostemp() lets nobody else read it; a new file is read by whom the user allows it.
  const mode_t masked = ::umask(0);
  ::umask(masked);
  ::fchmod(_descriptor, 0666 & ~masked);
}

NewFile::~NewFile() {
  if (!_temporaryPath.empty()) {
    ::unlink(_temporaryPath.c_str());
    forget(_temporaryPath.c_str());
  }
  if (_descriptor >= 0) {
    ::close(_descriptor);
  }
}

void NewFile::write(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(_descriptor, bytes.data(), bytes.size());
    if (written < 0 && errno != EINTR) {
      throwError(_path, "It cannot be written", errno);
    }
    if (written > 0) {
      bytes.remove_prefix(static_cast<std::size_t>(written));
    }
  }
}

void NewFile::finish() {
  // By its name: who wrote it by name may have made it anew.
  const int written = ::open(_temporaryPath.c_str(), O_RDONLY | O_CLOEXEC);
  int error = written < 0 || ::fsync(written) != 0 ? errno : 0;
  if (written >= 0 && ::close(written) != 0 && error == 0) {
    error = errno;
  }
  if (error != 0) {
    throwError(_path, "It cannot be written", error);
  }
  error = !_force ? renameToNew(_temporaryPath, _path)
          : ::rename(_temporaryPath.c_str(), _path.c_str()) == 0 ? 0
                                                                 : errno;
  if (error == EEXIST) {
    throw Trouble(_path + ": It exists; --force replaces it.");
  }
  if (error != 0) {
    throwError(_path, "It cannot be created", error);
  }
  forget(_temporaryPath.c_str());
  _temporaryPath.clear();
  flushFolder(folderOf(_path));
}

void removeNewFiles() {
  for (const auto& place : begunNames) {
    const char* path = place.load();
    if (path != nullptr) {
      ::unlink(path);
    }
  }
}

std::string folderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

void flushFolder(const std::string& folder) {
  const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  // Some file systems cannot flush a folder, and say so.
  const bool isFlushed = descriptor >= 0 && (::fsync(descriptor) == 0 || errno == EINVAL);
  const int error = errno;
  if (descriptor >= 0) {
    ::close(descriptor);
  }
  if (!isFlushed) {
    throwError(folder, "The folder cannot be written to its device", error);
  }
}

}  // namespace Companion
