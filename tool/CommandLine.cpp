// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "tool/CommandLine.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tool/Settings.h"
#include "tool/StoreCheck.h"

namespace {

constexpr int argumentCount = 4;

void readOptions(int argc, char* argv[]) {
  // The message about an unknown option is this program's own.
  opterr = 0;
  for (int option = getopt(argc, argv, "hq"); option != -1; option = getopt(argc, argv, "hq")) {
    switch (option) {
      case 'h':
        printHelp(argv);
      case 'q':
        quiet = true;
        break;
      default:
        std::fprintf(stderr, "%s: unknown option: %c\n", programName, optopt);
        std::exit(1);
    }
  }
}

/// Ends the process if it is to be quiet. A caller that goes on tells what is wrong and prints the
/// usage, and so ends with status 0: scripts that want a status to go by ask with -q.
void exitIfQuiet() {
  if (quiet) {
    std::exit(1);
  }
}

/// `argument` is INFILE or OUTFILE, which `name` is the value of.
[[noreturn]] void exitWithAccessError(const char* argument, const char* name, int error,
                                      char* argv[]) {
  const char* text = std::strerror(error);
  exitIfQuiet();
  std::fprintf(stderr, "%s: Accessing %s argument \"%s\", produced the error: %s\n\n", programName,
               argument, name, text);
  printHelp(argv);
}

}  // namespace

void readCommandLine(int argc, char* argv[]) {
  programName = argv[0];
  readOptions(argc, argv);
  if (argc - optind < argumentCount) {
    exitIfQuiet();
    std::fprintf(stderr, "%s: Missing argument. Expected 4 arguments found %d\n\n", programName,
                 argc - optind);
    printHelp(argv);
  }
  originalDatabaseFileName = argv[optind];
  originalDatabaseVersionName = argv[optind + 1];
  convertedDatabaseFileName = argv[optind + 2];
  convertedDatabaseVersionName = argv[optind + 3];

  struct stat original = {};
  if (::stat(originalDatabaseFileName, &original) != 0 ||
      !holdInfile(originalDatabaseFileName, original)) {
    exitWithAccessError("INFILE", originalDatabaseFileName, errno, argv);
  }
  struct stat converted = {};
  if (::stat(convertedDatabaseFileName, &converted) == 0) {
    // If OUTFILE is the only name of INFILE, or what a link INFILE leads to, unlink() would destroy
    // the history. Any other link to INFILE would only lose that name. It is refused, too: whoever
    // names one file twice has made a mistake.
    if (converted.st_dev == original.st_dev && converted.st_ino == original.st_ino) {
      exitWithAccessError("OUTFILE", convertedDatabaseFileName, EINVAL, argv);
    }
    // A privileged user would replace the device for all programs.
    if (S_ISCHR(converted.st_mode) || S_ISBLK(converted.st_mode)) {
      exitWithAccessError("OUTFILE", convertedDatabaseFileName, ENOTSUP, argv);
    }
  }
  // A conversion starts from a fresh file.
  if (::unlink(convertedDatabaseFileName) != 0 && errno != ENOENT) {
    exitWithAccessError("OUTFILE", convertedDatabaseFileName, errno, argv);
  }
}

void printHelp(char* argv[]) {
  std::fprintf(stderr,
               "Usage: %s [OPTIONS] INFILE OLDVERS OUTFILE NEWVERS\n"
               "Convert the INFILE database of the version specified\n"
               "by the OLDVERS identifier to the version specified\n"
               "by NEWVERS and write the result to the OUTFILE database.\n"
               "OPTIONS:\n"
               "   -h                 Print this Help message.\n"
               "   -q                 Suppress progress/error messages\n",
               argv[0]);
  std::exit(0);
}
