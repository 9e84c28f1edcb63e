// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/files/Descriptor.h"

#include <unistd.h>

#include <cerrno>

namespace HistoryDb {

int Descriptor::close() {
  const int descriptor = std::exchange(_descriptor, -1);
  return descriptor < 0 || ::close(descriptor) == 0 ? 0 : errno;
}

}  // namespace HistoryDb
