// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <cstdio>

#include "companion/CommandLine.h"
#include "companion/Process.h"

int main(int argc, char* argv[]) {
  Companion::prepareProcess();
  Companion::Console console(stdout, stderr);
  return static_cast<int>(Companion::runCommandLine(argc, argv, console));
}
