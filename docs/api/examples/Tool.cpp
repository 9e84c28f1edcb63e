// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <sys/stat.h>
#include <unistd.h>

#include "tool/Faults.h"
#include "tool/Servers.h"
#include "tool/Settings.h"
#include "tool/StoreCheck.h"
#include "tool/Threads.h"

/// Converts its first argument to its second one, from schema 0 to 1.
int main(int argc, char* argv[]) {
  if (argc != 3) {
    return 1;
  }
  //! [use]
  reportFaults();
  // In place of readCommandLine(), which would take OUTFILE out of the way, too.
  programName = argv[0];
  originalDatabaseFileName = argv[1];
  originalDatabaseVersionName = "0";
  struct stat status = {};
  if (!holdInfile(argv[1], status)) {
    return 1;
  }
  ::unlink(argv[2]);
  convertedDatabaseFileName = argv[2];
  convertedDatabaseVersionName = "1";
  startThread(creator, "creator");
  // The process ends from the creator's thread.
  for (;;) {
    ::pause();
  }
  //! [use]
}
