// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

// Does nothing but what it is told: `told_program OUTPUT [ERROR [STATUS]]` writes a text to
// standard output, another one to standard error, and ends with a status.

#include <cstdio>
#include <cstdlib>

int main(int argc, char* argv[]) {
  std::fputs(argc > 1 ? argv[1] : "", stdout);
  std::fputs(argc > 2 ? argv[2] : "", stderr);
  return argc > 3 ? std::atoi(argv[3]) : 0;
}
