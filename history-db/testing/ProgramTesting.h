// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <vector>

#include "tests/support/Child.h"

namespace HistoryDbTesting {

/// Runs history-db with these arguments.
inline TestSupport::Outcome historyDb(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), HISTORY_DB);
  return TestSupport::run(arguments);
}

}  // namespace HistoryDbTesting
