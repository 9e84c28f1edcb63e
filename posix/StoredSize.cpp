// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "posix/StoredSize.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace StoredSize {

std::int64_t of(int descriptor) {
  struct stat status = {};
  if (::fstat(descriptor, &status) != 0) {
    return 0;
  }
  std::int64_t stored = 0;
  for (off_t at = 0; at < status.st_size;) {
    const off_t data = ::lseek(descriptor, at, SEEK_DATA);
    if (data < 0 && errno == ENXIO) {
      // The rest is a hole.
      break;
    }
    const off_t hole = data >= 0 ? ::lseek(descriptor, data, SEEK_HOLE) : -1;
    if (hole <= data) {
      return status.st_size;
    }
    stored += hole - data;
    at = hole;
  }
  return stored;
}

}  // namespace StoredSize
