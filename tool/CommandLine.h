// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

/// Reads the command line into the settings, checks that INFILE exists, holds it (holdInfile()) and
/// removes OUTFILE. Returns only when all is well; otherwise tells what is wrong, unless it is to
/// be quiet, and ends the process.
void readCommandLine(int argc, char* argv[]);

/// Writes the usage to standard error and ends the process with status 0.
[[noreturn]] void printHelp(char* argv[]);
