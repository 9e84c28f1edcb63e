#include <cstdio>

#include "companion/CommandLine.h"
#include "companion/Process.h"

int main(int argc, char* argv[]) {
  Companion::prepareProcess();
  Companion::Console console(stdout, stderr);
  return static_cast<int>(Companion::runCommandLine(argc, argv, console));
}
