// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <unistd.h>

#include "posix/StandardDescriptors.h"
#include "tool/CommandLine.h"
#include "tool/Faults.h"
#include "tool/Servers.h"
#include "tool/Threads.h"

int main(int argc, char* argv[]) {
  if (!StandardDescriptors::ensureOpen()) {
    // A message would be written into INFILE, or lost.
    return 255;
  }
  reportFaults();
  readCommandLine(argc, argv);
  startThread(creator, "creator");
  // The process ends from the creator's thread.
  for (;;) {
    ::pause();
  }
}
