// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <cstdio>

#include "history-db/base/Trouble.h"
#include "history-db/cli/CommandLine.h"
#include "history-db/cli/Process.h"

int main(int argc, char* argv[]) {
  if (!HistoryDb::prepareProcess()) {
    return static_cast<int>(HistoryDb::Status::Trouble);
  }
  HistoryDb::Console console(stdout, stderr);
  return static_cast<int>(HistoryDb::runCommandLine(argc, argv, console));
}
