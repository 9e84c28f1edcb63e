// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <benchmark/benchmark.h>
#include <sched.h>

namespace {

/// Keeps to one core, so that the caches stay warm and no measurement is taken on two.
void stayOnThisCore() {
  const int core = ::sched_getcpu();
  if (core >= 0) {
    cpu_set_t cores;
    CPU_ZERO(&cores);
    CPU_SET(static_cast<unsigned int>(core), &cores);
    ::sched_setaffinity(0, sizeof cores, &cores);
  }
}

}  // namespace

int main(int argc, char** argv) {
  stayOnThisCore();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 2;
  }
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
