// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/base/Trouble.h"

#include <system_error>

namespace HistoryDb {

void throwError(const std::string& path, const std::string& what, int error) {
  throw Trouble(path + ": " + what + ". " + std::generic_category().message(error) + ".");
}

}  // namespace HistoryDb
