// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "persist/history/RowLimit.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "persist/history/Schema0System.h"
#include "persist/history/Schema0Zone.h"

namespace Pvn::Persist::History {

namespace {

constexpr std::int64_t freeBytes = 16 * 1024 * 1024;

std::int64_t storedSize(int descriptor) {
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

}  // namespace

std::int64_t storedSize(const char* path) {
  // Without O_NONBLOCK a FIFO would block until a writer opens it.
  const int descriptor = ::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0) {
    return 0;
  }
  const std::int64_t stored = storedSize(descriptor);
  ::close(descriptor);
  return stored;
}

bool areRowsPlausible(std::int64_t systemRows, std::int64_t zoneRows, std::int64_t storedBytes) {
  constexpr auto systemSize =
      static_cast<std::int64_t>(sizeof(Kiv::Schema0::Bramal::System::Record));
  constexpr auto zoneSize = static_cast<std::int64_t>(sizeof(Kiv::Schema0::Bramal::Zone::Record));
  return systemRows * systemSize + zoneRows * zoneSize <= freeBytes + storedBytes;
}

}  // namespace Pvn::Persist::History
