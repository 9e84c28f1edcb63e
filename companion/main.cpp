// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <cstdio>

#include "companion/CommandLine.h"
#include "companion/Process.h"
#include "companion/Trouble.h"

int main(int argc, char* argv[]) {
  if (!Companion::prepareProcess()) {
    return static_cast<int>(Companion::Status::Trouble);
  }
  Companion::Console console(stdout, stderr);
  return static_cast<int>(Companion::runCommandLine(argc, argv, console));
}
