// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/files/Folder.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "history-db/base/Trouble.h"

namespace HistoryDb {

Folder::Folder(const std::string& file, const std::string& what)
    : _path(folderOf(file)),
      _descriptor(::open(_path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
  if (!_descriptor.isOpen()) {
    throwError(file, what, errno);
  }
}

std::optional<struct stat> Folder::find(const std::string& name) const {
  struct stat status = {};
  if (::fstatat(descriptor(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) {
    return status;
  }
  if (errno != ENOENT) {
    throwError(_path + "/" + name, "It cannot be opened", errno);
  }
  return std::nullopt;
}

void Folder::flush() const {
  // Some file systems cannot flush a folder, and say so.
  if (::fsync(descriptor()) != 0 && errno != EINVAL) {
    throwError(_path, "The folder cannot be written to its device", errno);
  }
}

std::string folderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

std::string nameOf(const std::string& path) {
  return path.substr(path.rfind('/') + 1);
}

int renameToNew(int from, const std::string& name, int to, const std::string& newName) {
  if (::renameat2(from, name.c_str(), to, newName.c_str(), RENAME_NOREPLACE) == 0) {
    return 0;
  }
  if (errno != EINVAL && errno != ENOSYS) {
    return errno;
  }
  // Not every file system can do that in one step.
  struct stat status = {};
  if (::fstatat(to, newName.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) {
    return EEXIST;
  }
  return ::renameat(from, name.c_str(), to, newName.c_str()) == 0 ? 0 : errno;
}

}  // namespace HistoryDb
