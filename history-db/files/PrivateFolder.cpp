// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/files/PrivateFolder.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string_view>

#include "history-db/base/Trouble.h"

namespace HistoryDb {

namespace {

constexpr mode_t onlyOwner = 0700;
constexpr mode_t ofOthers = 0077;

std::string randomName() {
  constexpr std::string_view characters = "abcdefghijklmnopqrstuvwxyz234567";
  std::array<unsigned char, 8> numbers{};
  if (::getrandom(numbers.data(), numbers.size(), 0) != static_cast<ssize_t>(numbers.size())) {
    throwError("The system's random numbers", "They cannot be read", errno);
  }
  std::string name = ".history-db.";
  for (const unsigned char number : numbers) {
    name += characters[number % characters.size()];
  }
  return name;
}

/// Whether nothing is in a folder. The owner of the folder around it can have exchanged the new
/// folder for an older one of the same user, whose files would be removed at the end.
bool isEmpty(int folder) {
  const int other = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  DIR* const entries = other >= 0 ? ::fdopendir(other) : nullptr;
  if (entries == nullptr) {
    return false;
  }
  int count = 0;
  while (::readdir(entries) != nullptr) {
    ++count;
  }
  ::closedir(entries);
  // "." and "..".
  return count <= 2;
}

bool isWithoutOthers(const struct stat& status) {
  return status.st_uid == ::geteuid() && (status.st_mode & ofOthers) == 0;
}

/// Whether only this user, or root, can rename what is in a folder.
bool isOwn(const struct stat& status) {
  return (status.st_uid == ::geteuid() || status.st_uid == 0) && (status.st_mode & 022U) == 0;
}

}  // namespace

PrivateFolder::PrivateFolder(const Folder& parent, const std::string& file) : _file(file) {
  const BlockedSignals blocked;
  make(parent);
  _removal = {parent.descriptor(), _descriptor.get(), _name.c_str()};
  try {
    protect(parent);
  } catch (const Trouble&) {
    // It may be another user's: only its name is tried.
    ::unlinkat(parent.descriptor(), _name.c_str(), AT_REMOVEDIR);
    throw;
  }
  note(_removal);
}

PrivateFolder::~PrivateFolder() {
  remove();
}

void PrivateFolder::remove() {
  if (!_name.empty()) {
    removeFolder(_removal);
    forget(_removal);
    _name.clear();
  }
}

void PrivateFolder::make(const Folder& parent) {
  const mode_t masked = ::umask(ofOthers);
  _fileMode = 0666 & ~masked;
  int error = EEXIST;
  constexpr int attempts = 100;
  for (int attempt = 0; attempt < attempts && error == EEXIST; ++attempt) {
    _name = randomName();
    error = ::mkdirat(parent.descriptor(), _name.c_str(), onlyOwner) == 0 ? 0 : errno;
  }
  ::umask(masked);
  if (error != 0) {
    throwError(_file, "It cannot be created", error);
  }
  _descriptor = Descriptor(::openat(parent.descriptor(), _name.c_str(),
                                    O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (!_descriptor.isOpen()) {
    error = errno;
    ::unlinkat(parent.descriptor(), _name.c_str(), AT_REMOVEDIR);
    throwError(_file, "It cannot be created", error);
  }
}

void PrivateFolder::protect(const Folder& parent) const {
  struct stat own = {};
  struct stat around = {};
  if (::fstat(descriptor(), &own) != 0 || ::fstat(parent.descriptor(), &around) != 0) {
    throwError(_file, "It cannot be created", errno);
  }
  if (own.st_dev != around.st_dev || !isEmpty(descriptor())) {
    throw Trouble(_file + ": Another process has exchanged the private folder.");
  }
  // A file system without owners and modes shows the same ones everywhere.
  if (!isWithoutOthers(own) && !isOwn(around)) {
    throw Trouble(_file +
                  ": Its folder can be written by other users, and no private folder can "
                  "be made in it.");
  }
  // The access control list that new files in the parent get would come before their modes.
  ::fremovexattr(descriptor(), "system.posix_acl_default");
}

Descriptor PrivateFolder::create(const std::string& name) const {
  Descriptor file(::openat(descriptor(), name.c_str(),
                           O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!file.isOpen()) {
    throwError(_file, "It cannot be created", errno);
  }
  return file;
}

}  // namespace HistoryDb
