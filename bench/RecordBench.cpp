// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

// What a history record costs to be converted to the next schema, compared with a copy of its
// bytes.

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstring>
#include <new>

#include "bench/Turns.h"
#include "persist/history/Schema0System.h"
#include "persist/history/Schema0Zone.h"
#include "persist/history/Schema1System.h"
#include "persist/history/Schema1Zone.h"

namespace {

namespace Kiv = Pvn::Persist::History::Kiv;

/// As the converter of a table does it: the new record is made from the old one in memory that is
/// used over and over.
template <class Old, class New>
void compareWithCopy(benchmark::State& state, const char* name) {
  const Old old;
  const New stored(old);
  // A size that is known would have the compiler put instructions of its own in place of memcpy.
  const volatile std::size_t size = sizeof(New);
  alignas(New) unsigned char place[sizeof(New)];
  const auto convert = [&] {
    benchmark::DoNotOptimize(new (place) New(old));
    benchmark::ClobberMemory();
  };
  const auto copy = [&] {
    benchmark::DoNotOptimize(std::memcpy(place, &stored, size));
    benchmark::ClobberMemory();
  };
  Bench::compareInTurns(state, {Bench::contender(name, convert), Bench::contender("memcpy", copy)});
}

void convertSystem(benchmark::State& state) {
  compareWithCopy<Kiv::Schema0::Bramal::System::Record, Kiv::Schema1::Bramal::System::Record>(
      state, "System");
}
BENCHMARK(convertSystem)->Iterations(1)->Unit(benchmark::kMillisecond);

void convertZone(benchmark::State& state) {
  compareWithCopy<Kiv::Schema0::Bramal::Zone::Record, Kiv::Schema1::Bramal::Zone::Record>(state,
                                                                                          "Zone");
}
BENCHMARK(convertZone)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
