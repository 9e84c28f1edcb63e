// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "persist/history/RowLimit.h"

#include "persist/history/Schema0System.h"
#include "persist/history/Schema0Zone.h"

namespace Pvn::Persist::History {

bool areBytesPlausible(std::int64_t bytes, std::int64_t storedBytes) {
  constexpr std::int64_t freeBytes = 16 * 1024 * 1024;
  return bytes <= freeBytes + storedBytes;
}

bool areRowsPlausible(std::int64_t systemRows, std::int64_t zoneRows, std::int64_t storedBytes) {
  constexpr auto systemSize =
      static_cast<std::int64_t>(sizeof(Kiv::Schema0::Bramal::System::Record));
  constexpr auto zoneSize = static_cast<std::int64_t>(sizeof(Kiv::Schema0::Bramal::Zone::Record));
  return areBytesPlausible(systemRows * systemSize + zoneRows * zoneSize, storedBytes);
}

}  // namespace Pvn::Persist::History
