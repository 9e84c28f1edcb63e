// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/files/NewFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <utility>

#include "history-db/base/Trouble.h"
#include "history-db/files/Attributes.h"
#include "metakit/PosixFile.h"

namespace HistoryDb {

namespace {

/// Opens the folder of a file that may be created there.
Folder folderFor(const std::string& path) {
  if (nameOf(path).empty()) {
    throwError(path, "It cannot be created", EISDIR);
  }
  return Folder(path, "It cannot be created");
}

}  // namespace

NewFile::NewFile(const std::string& path, bool force)
    : _path(path),
      _name(nameOf(path)),
      _force(force),
      _folder(folderFor(path)),
      _private(checkedFolder(), path),
      _descriptor(_private.create(_name)) {}

const Folder& NewFile::checkedFolder() const {
  const auto existing = _folder.find(_name);
  if (!existing) {
    return _folder;
  }
  if (S_ISLNK(existing->st_mode)) {
    throw Trouble(_path + ": It is a symbolic link and is not replaced.");
  }
  if (!S_ISREG(existing->st_mode)) {
    throw Trouble(_path + ": It is not a regular file and is not replaced.");
  }
  if (!_force) {
    throw Trouble(_path + ": It exists; --force replaces it.");
  }
  return _folder;
}

void NewFile::failToWrite(int error) const {
  throwError(_path, "It cannot be written", error);
}

void NewFile::limitPermissions(const InputFile& source) {
  _allowed &= source.status().st_mode;
}

void NewFile::write(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(descriptor(), bytes.data(), bytes.size());
    if (written < 0 && errno != EINTR) {
      failToWrite(errno);
    }
    if (written > 0) {
      bytes.remove_prefix(static_cast<std::size_t>(written));
    }
  }
}

std::unique_ptr<Metakit::File> NewFile::open() const {
  auto file = Metakit::PosixFile::share(descriptor(), true);
  if (file == nullptr) {
    throw Trouble(_path + ": It cannot be opened for writing.");
  }
  return file;
}

InputFile NewFile::takeOver(const std::string& name, const std::string& otherwise) {
  const int flags = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
  Descriptor written(::openat(_private.descriptor(), _name.c_str(), O_RDWR | flags));
  Descriptor read(::openat(_private.descriptor(), _name.c_str(), O_RDONLY | flags));
  struct stat status = {};
  if (!written.isOpen() || !read.isOpen() || ::fstat(written.get(), &status) != 0 ||
      !S_ISREG(status.st_mode) || status.st_nlink != 1) {
    throw Trouble(otherwise);
  }
  _descriptor = std::move(written);
  return {name, std::move(read)};
}

struct stat NewFile::status() const {
  struct stat status = {};
  if (::fstat(descriptor(), &status) != 0) {
    failToWrite(errno);
  }
  return status;
}

/// Looks at what it replaces when nobody else can reach that any more.
int NewFile::exchange(const struct stat& replaced) const {
  const Trouble changed(_path + ": Somebody has changed it meanwhile.");
  const int from = _private.descriptor();
  const int to = _folder.descriptor();
  const char* const name = _name.c_str();
  struct stat status = {};
  if (::renameat2(from, name, to, name, RENAME_EXCHANGE) == 0) {
    const bool isIt =
        ::fstatat(from, name, &status, AT_SYMLINK_NOFOLLOW) == 0 && isSameFile(status, replaced);
    if (!isIt) {
      ::renameat2(from, name, to, name, RENAME_EXCHANGE);
      throw changed;
    }
    return 0;
  }
  if (errno != EINVAL && errno != ENOSYS) {
    return errno;
  }
  // Not every file system can exchange two names.
  if (::fstatat(to, name, &status, AT_SYMLINK_NOFOLLOW) != 0 || !isSameFile(status, replaced)) {
    throw changed;
  }
  return ::renameat(from, name, to, name) == 0 ? 0 : errno;
}

void NewFile::finish(const struct stat* replaced) {
  if (replaced == nullptr) {
    giveInitialPermissions(_folder.descriptor(), descriptor(), _private.fileMode(), _allowed,
                           _path);
  }
  if (::fsync(descriptor()) != 0) {
    failToWrite(errno);
  }
  int error = _descriptor.close();
  if (error != 0) {
    failToWrite(error);
  }
  checkedFolder();
  const int from = _private.descriptor();
  const int to = _folder.descriptor();
  error = replaced != nullptr ? exchange(*replaced)
          : !_force           ? renameToNew(from, _name, to, _name)
          : ::renameat(from, _name.c_str(), to, _name.c_str()) == 0 ? 0
                                                                    : errno;
  if (error == EEXIST) {
    throw Trouble(_path + ": It exists; --force replaces it.");
  }
  if (error != 0) {
    throwError(_path, "It cannot be created", error);
  }
  _private.remove();
  _folder.flush();
}

}  // namespace HistoryDb
