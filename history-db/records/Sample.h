// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <string>

#include "history-db/base/Console.h"
#include "history-db/base/Trouble.h"

namespace HistoryDb {

/// What sample() is to make up.
struct SampleOptions {
  std::string file;
  int schema = 0;
  int systems = 1;
  int zones = 8;
  int nativeZones = 4;
  std::uint64_t seed = 1;
  /// Fill every field with a value that tells where it belongs.
  bool label = false;
  bool force = false;
};

/// Writes a database with plausible histories; the same options give the same bytes.
Status sample(const SampleOptions& options, Console& console);

}  // namespace HistoryDb
