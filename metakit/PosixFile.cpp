// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "metakit/PosixFile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>

namespace Metakit {

namespace {

constexpr std::size_t smallestMapping = 64 * 1024;

bool mayOnlyBeRead(int error) {
  return error == EACCES || error == EPERM || error == EROFS;
}

/// Opens a file under a descriptor above standard error: in a process that was started without
/// standard descriptors, text for standard output or standard error would be written into the file.
int openAboveStandardError(const char* path, int flags) {
  const int descriptor = ::open(path, flags, 0666);
  if (descriptor < 0 || descriptor > STDERR_FILENO) {
    return descriptor;
  }
  const int moved = ::fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  const int error = errno;
  ::close(descriptor);
  errno = error;
  return moved;
}

}  // namespace

std::unique_ptr<File> PosixFile::open(const char* path, bool write) {
  // Without O_NONBLOCK a FIFO would hold the caller up until somebody writes to it.
  const int flags = O_CLOEXEC | O_NONBLOCK;
  bool writable = write;
  int descriptor = write ? openAboveStandardError(path, O_RDWR | O_CREAT | flags) : -1;
  if (descriptor < 0 && (!write || mayOnlyBeRead(errno))) {
    writable = false;
    descriptor = openAboveStandardError(path, O_RDONLY | flags);
  }
  return adopt(descriptor, writable);
}

std::unique_ptr<File> PosixFile::share(int descriptor, bool writable) {
  return adopt(::fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1), writable);
}

std::unique_ptr<File> PosixFile::adopt(int descriptor, bool writable) {
  struct stat status = {};
  if (descriptor < 0) {
    return nullptr;
  }
  if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
    ::close(descriptor);
    return nullptr;
  }
  return std::unique_ptr<File>(new PosixFile(descriptor, writable, status.st_size));
}

PosixFile::~PosixFile() {
  if (_descriptor >= 0) {
    ::close(_descriptor);
  }
  for (const Mapping& mapping : _mappings) {
    ::munmap(mapping.start, mapping.size);
  }
}

const std::uint8_t* PosixFile::bytes(std::int64_t offset, std::size_t size) {
  const auto start = static_cast<std::uint64_t>(offset);
  const std::uint64_t needed = start + size;
  if (_mappings.empty() || _mappings.back().size < needed) {
    // Room for the file to double, so that one that grows is not mapped anew at each commit. The
    // part past its end cannot be read, and is not.
    const std::uint64_t wanted = std::max<std::uint64_t>(2 * needed, smallestMapping);
    if (!map(wanted) && !map(needed)) {
      return nullptr;
    }
  }
  return _mappings.back().start + start;
}

// The pages stay in the system's cache. That they do not count as this process's any more is of use
// to it alone, so an error is none.
void PosixFile::letGo() {
  for (const Mapping& mapping : _mappings) {
    ::madvise(mapping.start, mapping.size, MADV_DONTNEED);
  }
}

File::Range PosixFile::storedFrom(std::int64_t offset) {
  const off_t data = ::lseek(_descriptor, offset, SEEK_DATA);
  if (data < 0 && errno == ENXIO) {
    return {_length, _length};
  }
  // Some file systems do not report holes.
  const off_t hole = data >= 0 ? ::lseek(_descriptor, data, SEEK_HOLE) : -1;
  return hole > data ? Range{data, hole} : Range{offset, _length};
}

bool PosixFile::map(std::uint64_t size) {
  if (size > static_cast<std::uint64_t>(std::numeric_limits<std::ptrdiff_t>::max())) {
    return false;
  }
  const auto room = static_cast<std::size_t>(size);
  void* mapped = ::mmap(nullptr, room, PROT_READ, MAP_SHARED, _descriptor, 0);
  if (mapped == MAP_FAILED) {
    return false;
  }
  // From now on the new one is looked at, as a rule.
  letGo();
  _mappings.push_back({static_cast<std::uint8_t*>(mapped), room});
  return true;
}

/// Where the limit does not allow a file that ends at `end`, the system would send a signal that
/// ends the process.
int PosixFile::checkLimit(std::int64_t end) {
  if (end <= _allowed) {
    return 0;
  }
  rlimit limit = {};
  if (::getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY &&
      static_cast<std::uint64_t>(end) > limit.rlim_cur) {
    return EFBIG;
  }
  _allowed = end;
  return 0;
}

int PosixFile::write(std::int64_t offset, const void* bytes, std::size_t size) {
  const int error = checkLimit(offset + static_cast<std::int64_t>(size));
  if (error != 0) {
    return error;
  }
  const auto* at = static_cast<const std::uint8_t*>(bytes);
  while (size > 0) {
    const ssize_t written = ::pwrite(_descriptor, at, size, offset);
    if (written < 0 && errno != EINTR) {
      return errno;
    }
    if (written == 0) {
      return EIO;
    }
    if (written > 0) {
      at += written;
      offset += written;
      size -= static_cast<std::size_t>(written);
      _length = std::max(_length, offset);
    }
  }
  return 0;
}

int PosixFile::truncate(std::int64_t length) {
  while (::ftruncate(_descriptor, length) != 0) {
    if (errno != EINTR) {
      return errno;
    }
  }
  _length = length;
  return 0;
}

int PosixFile::flush() {
  while (::fdatasync(_descriptor) != 0) {
    if (errno != EINTR) {
      return errno;
    }
  }
  return 0;
}

void PosixFile::close() {
  if (_descriptor >= 0) {
    // What was written since the last mapping may be asked for later.
    if (_length > 0) {
      bytes(0, static_cast<std::size_t>(_length));
    }
    ::close(_descriptor);
    _descriptor = -1;
  }
}

}  // namespace Metakit
