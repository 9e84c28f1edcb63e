// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/migrate/KeptOriginal.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <string_view>

#include "history-db/base/Trouble.h"
#include "history-db/files/Attributes.h"
#include "history-db/files/Sha256.h"

namespace HistoryDb {

namespace {

/// The name with the suffix; the end of a name that leaves no room for it is cut off.
std::string keptNameOf(const std::string& name) {
  constexpr std::string_view suffix = ".schema0";
  constexpr std::size_t room = NAME_MAX - suffix.size();
  if (name.size() <= room) {
    return name + suffix.data();
  }
  // A name that ends with the suffix must not become itself.
  std::size_t size = room - 1;
  // A character of UTF-8 is not divided.
  while (size > 1 && (static_cast<unsigned char>(name[size]) & 0xC0U) == 0x80) {
    --size;
  }
  return name.substr(0, size).append(suffix);
}

/// Whether both files have the same bytes.
bool isCopy(const InputFile& file, const InputFile& other) {
  return file.status().st_size == other.status().st_size &&
         sha256OfFile(file) == sha256OfFile(other);
}

/// Whether that says that the file system has no second names, or none for such a file.
bool isWithoutLinks(int error) {
  return error == EPERM || error == EOPNOTSUPP || error == ENOSYS || error == EMLINK;
}

}  // namespace

KeptOriginal::KeptOriginal(const Folder& folder, const std::string& name, const InputFile& original,
                           bool force)
    : _folder(folder),
      _name(name),
      _original(original),
      _keptName(keptNameOf(name)),
      _path(original.name().substr(0, original.name().size() - name.size()) + _keptName),
      _private(folder, original.name()),
      _older(folder.find(_keptName)) {
  if (!_older) {
    return;
  }
  if (!S_ISREG(_older->st_mode)) {
    throw Trouble(_path + ": It is not a regular file and is not replaced.");
  }
  if (!force && !isCopy(_original, openInFolder(folder, _keptName, _path))) {
    throw Trouble(_path + ": It exists, and is no copy of " + _original.name() +
                  "; --force replaces it.");
  }
}

void KeptOriginal::keep() {
  prepare();
  if (_older) {
    setAside();
  }
  const int from = _private.descriptor();
  const int to = _folder.descriptor();
  if (::fstatat(from, fresh, &_made, AT_SYMLINK_NOFOLLOW) != 0) {
    throwError(_path, "It cannot be created", errno);
  }
  // The name in the private folder stays, in case another process removes the second one.
  int error = ::linkat(from, fresh, to, _keptName.c_str(), 0) == 0 ? 0 : errno;
  if (isWithoutLinks(error)) {
    error = renameToNew(from, fresh, to, _keptName);
  }
  if (error != 0) {
    throwError(_path, "It cannot be created", error);
  }
  _isMade = true;
  _folder.flush();
}

void KeptOriginal::prepare() const {
  if (::linkat(_folder.descriptor(), _name.c_str(), _private.descriptor(), fresh, 0) != 0) {
    if (!isWithoutLinks(errno)) {
      throwError(_path, "It cannot be created", errno);
    }
    copy();
    return;
  }
  struct stat status = {};
  if (::fstatat(_private.descriptor(), fresh, &status, AT_SYMLINK_NOFOLLOW) != 0 ||
      !isSameFile(status, _original.status())) {
    throw Trouble(_original.name() + ": Somebody has changed it meanwhile.");
  }
  // Who wrote it may have left that to the system.
  if (::fsync(_original.descriptor()) != 0) {
    throwError(_original.name(), "It cannot be written", errno);
  }
}

void KeptOriginal::copy() const {
  Descriptor file = _private.create(fresh);
  _original.copyTo(file.get(), _path);
  copyAttributes(_original.descriptor(), file.get(), _original.name());
  if (::fsync(file.get()) != 0) {
    throwError(_path, "It cannot be written", errno);
  }
  const int error = file.close();
  if (error != 0) {
    throwError(_path, "It cannot be written", error);
  }
}

void KeptOriginal::setAside() {
  if (::renameat(_folder.descriptor(), _keptName.c_str(), _private.descriptor(), older) != 0) {
    throwError(_path, "It cannot be replaced", errno);
  }
  _isAside = true;
  struct stat status = {};
  if (::fstatat(_private.descriptor(), older, &status, AT_SYMLINK_NOFOLLOW) != 0 ||
      !isSameFile(status, *_older)) {
    throw Trouble(_path + ": Somebody has changed it meanwhile.");
  }
}

bool KeptOriginal::isKept() const {
  struct stat status = {};
  return ::fstatat(_folder.descriptor(), _keptName.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
         isSameFile(status, _made);
}

void KeptOriginal::confirm() const {
  if (!isKept()) {
    throw Trouble(_path + ": Somebody has changed it meanwhile.");
  }
}

bool KeptOriginal::putBack(const struct stat& replacement) {
  const int folder = _folder.descriptor();
  const char* const name = _name.c_str();
  const char* const keptName = _keptName.c_str();
  if (_isMade) {
    struct stat status = {};
    if (::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
      return false;
    }
    const bool isReplaced = isSameFile(status, replacement);
    if (!isReplaced && !isSameFile(status, _original.status())) {
      // It is another program's: the second name is the only one of the original.
      return false;
    }
    if (isReplaced && ::renameat(_private.descriptor(), fresh, folder, name) != 0 &&
        (!isKept() || ::renameat(folder, keptName, folder, name) != 0)) {
      return false;
    }
    if (isKept() && ::unlinkat(folder, keptName, 0) != 0) {
      return false;
    }
  }
  return !_isAside || renameToNew(_private.descriptor(), older, folder, _keptName) == 0;
}

}  // namespace HistoryDb
