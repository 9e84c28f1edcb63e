// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <ctime>

#include "fuzz/Check.h"
#include "fuzz/Targets.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  // Of the processor, so that a busy machine makes no findings.
  const std::clock_t start = std::clock();
  Fuzz::FUZZ_TARGET(bytes, size);
  Fuzz::check(std::clock() - start <= FUZZ_SECONDS * CLOCKS_PER_SEC,
              "an input takes its time at most");
  return 0;
}
