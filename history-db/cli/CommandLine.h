// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "history-db/base/Console.h"
#include "history-db/base/Trouble.h"

namespace HistoryDb {

/// Runs what the command line of history-db asks for and gives the process's status. All trouble
/// ends here, with a message.
Status runCommandLine(int argc, const char* const* argv, Console& console);

}  // namespace HistoryDb
