// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "companion/KeptOriginal.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>

#include "companion/Descriptor.h"
#include "companion/Proof.h"
#include "companion/Sha256.h"
#include "companion/Trouble.h"

namespace Companion {

namespace {

/// Whether both files have the same bytes.
bool isCopy(const std::string& file, const struct stat& status, const std::string& other) {
  return S_ISREG(status.st_mode) && regularFile(file).st_size == status.st_size &&
         sha256OfFile(file) == sha256OfFile(other);
}

/// Appends all that a file holds to a new one.
void append(const std::string& from, NewFile& to) {
  const Descriptor file(from);
  std::array<char, 65536> buffer{};
  ssize_t size = 0;
  while ((size = ::read(file.get(), buffer.data(), buffer.size())) > 0) {
    to.write({buffer.data(), static_cast<std::size_t>(size)});
  }
  if (size < 0) {
    throwError(from, "It cannot be read", errno);
  }
}

/// Whether that says that the file system has no second names, or none for such a file.
bool isWithoutLinks(int error) {
  return error == EPERM || error == EOPNOTSUPP || error == ENOSYS || error == EMLINK;
}

}  // namespace

KeptOriginal::KeptOriginal(const std::string& file, bool force)
    : _file(file), _path(file + ".schema0"), _inode(regularFile(file).st_ino) {
  struct stat status = {};
  if (::lstat(_path.c_str(), &status) != 0) {
    return;
  }
  _isKept = isCopy(_file, status, _path);
  if (_isKept) {
    return;
  }
  if (!force) {
    throw Trouble(_path + ": It exists, and is no copy of " + _file + "; --force replaces it.");
  }
  _older = std::make_unique<NewFile>(_path, true);
}

void KeptOriginal::keep() {
  if (_isKept) {
    return;
  }
  if (_older != nullptr) {
    if (::rename(_path.c_str(), _older->temporaryPath().c_str()) != 0) {
      throwError(_path, "It cannot be replaced", errno);
    }
    _isAside = true;
  }
  if (::link(_file.c_str(), _path.c_str()) == 0) {
    _isMade = true;
    flushFolder(folderOf(_path));
  } else if (isWithoutLinks(errno)) {
    copy();
  } else {
    throwError(_path, "It cannot be created", errno);
  }
}

void KeptOriginal::copy() {
  NewFile file(_path, false);
  append(_file, file);
  giveOwnerAndMode(_file, file.temporaryPath());
  try {
    file.finish();
  } catch (const Trouble&) {
    _isMade = file.temporaryPath().empty();
    throw;
  }
  _isMade = true;
}

bool KeptOriginal::putBack() {
  struct stat status = {};
  const bool isReplaced = ::stat(_file.c_str(), &status) != 0 || status.st_ino != _inode;
  if (isReplaced) {
    if (::rename(_path.c_str(), _file.c_str()) != 0) {
      return false;
    }
  } else if (_isMade && ::unlink(_path.c_str()) != 0) {
    return false;
  }
  return !_isAside || ::rename(_older->temporaryPath().c_str(), _path.c_str()) == 0;
}

void giveOwnerAndMode(const std::string& from, const std::string& to) {
  const struct stat wanted = regularFile(from);
  const struct stat status = regularFile(to);
  if ((status.st_uid != wanted.st_uid || status.st_gid != wanted.st_gid) &&
      ::chown(to.c_str(), wanted.st_uid, wanted.st_gid) != 0) {
    throwError(from, "Its owner cannot be given to another file", errno);
  }
  // Behind that of the owner, which may take some of it away.
  if (regularFile(to).st_mode != wanted.st_mode &&
      ::chmod(to.c_str(), wanted.st_mode & 07777) != 0) {
    throwError(from, "Its mode cannot be given to another file", errno);
  }
}

}  // namespace Companion
