// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "companion/Console.h"
#include "companion/Trouble.h"

namespace Companion {

/// Runs what the command line of history-db asks for and gives the process's status. All trouble
/// ends here, with a message.
Status runCommandLine(int argc, const char* const* argv, Console& console);

}  // namespace Companion
