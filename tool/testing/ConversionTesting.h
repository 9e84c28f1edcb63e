// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "tool/Servers.h"
#include "tool/Settings.h"
#include "tool/StoreCheck.h"
#include "tool/Threads.h"

namespace TestSupport {

/// Converts a file in the calling process, quietly, and ends it as the program does. For a child
/// process.
[[noreturn]] inline void convertHere(const std::string& from, const std::string& to) {
  programName = "tool";
  quiet = true;
  originalDatabaseFileName = from.c_str();
  originalDatabaseVersionName = "0";
  convertedDatabaseFileName = to.c_str();
  convertedDatabaseVersionName = "1";
  struct stat status = {};
  if (!holdInfile(originalDatabaseFileName, status)) {
    std::abort();
  }
  startThread(creator, "creator");
  for (;;) {
    ::pause();
  }
}

}  // namespace TestSupport
