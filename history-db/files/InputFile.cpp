// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/files/InputFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "history-db/base/Trouble.h"
#include "metakit/PosixFile.h"

namespace HistoryDb {

namespace {

void expectRegular(const std::string& name, const struct stat& status) {
  if (!S_ISREG(status.st_mode)) {
    throw Trouble(name + ": It is not a regular file.");
  }
}

Descriptor opened(const std::string& path) {
  // A device may act on being opened, so it is not.
  struct stat status = {};
  if (::stat(path.c_str(), &status) != 0) {
    throwError(path, "It cannot be opened", errno);
  }
  expectRegular(path, status);
  // Without O_NONBLOCK a FIFO that has just taken the name would block.
  Descriptor descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!descriptor.isOpen()) {
    throwError(path, "It cannot be opened", errno);
  }
  return descriptor;
}

}  // namespace

InputFile::InputFile(const std::string& path) : InputFile(path, opened(path)) {}

InputFile::InputFile(std::string name, Descriptor descriptor)
    : _name(std::move(name)), _descriptor(std::move(descriptor)) {
  const struct stat opened = status();
  expectRegular(_name, opened);
  _size = opened.st_size;
}

struct stat InputFile::status() const {
  struct stat status = {};
  if (::fstat(_descriptor.get(), &status) != 0) {
    throwError(_name, "It cannot be opened", errno);
  }
  return status;
}

void InputFile::copyTo(int descriptor, const std::string& target) const {
  constexpr std::int64_t bufferSize = 65536;
  std::array<char, bufferSize> buffer{};
  for (std::int64_t at = 0; at < _size;) {
    const auto wanted = static_cast<std::size_t>(std::min(bufferSize, _size - at));
    const ssize_t got = ::pread(_descriptor.get(), buffer.data(), wanted, at);
    if (got < 0) {
      throwError(_name, "It cannot be read", errno);
    }
    if (got == 0) {
      break;
    }
    const ssize_t written = ::pwrite(descriptor, buffer.data(), static_cast<std::size_t>(got), at);
    if (written <= 0) {
      throwError(target, "It cannot be written", errno);
    }
    at += written;
  }
  if (status().st_size != _size) {
    throw Trouble(_name + ": Somebody has changed it meanwhile.");
  }
}

std::unique_ptr<Metakit::File> InputFile::open() const {
  auto file = Metakit::PosixFile::share(_descriptor.get(), false);
  if (file == nullptr) {
    throwError(_name, "It cannot be opened", errno);
  }
  return file;
}

InputFile openInFolder(const Folder& folder, const std::string& name, const std::string& path) {
  struct stat status = {};
  if (::fstatat(folder.descriptor(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
    throwError(path, "It cannot be opened", errno);
  }
  expectRegular(path, status);
  Descriptor descriptor(
      ::openat(folder.descriptor(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
  if (!descriptor.isOpen()) {
    throwError(path, "It cannot be opened", errno);
  }
  return {path, std::move(descriptor)};
}

bool isSameFile(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

}  // namespace HistoryDb
