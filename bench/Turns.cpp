// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "bench/Turns.h"

#include <cstddef>

#include "bench/Measure.h"

namespace Bench {

namespace {

constexpr int rounds = 400;
constexpr double nanoseconds = 1e9;

/// Seconds of each round of each contender.
using Times = std::vector<std::vector<double>>;

Times timesInTurns(const std::vector<Contender>& contenders) {
  const AheadOfOthers ahead;
  Times times(contenders.size());
  for (std::size_t round = 0; round < rounds; ++round) {
    for (std::size_t turn = 0; turn < contenders.size(); ++turn) {
      const std::size_t which = (round + turn) % contenders.size();
      times[which].push_back(secondsOf(contenders[which].round));
    }
  }
  return times;
}

}  // namespace

void compareInTurns(benchmark::State& state, const std::vector<Contender>& contenders) {
  Times times;
  for ([[maybe_unused]] auto each : state) {
    times = timesInTurns(contenders);
  }
  for (std::size_t i = 0; i < contenders.size(); ++i) {
    const std::string& name = contenders[i].name;
    tell(state, name + ", ns", median(times[i]) / timesInARound * nanoseconds);
    if (i + 1 < contenders.size()) {
      tell(state, name + " / " + contenders.back().name, medianOfRatios(times[i], times.back()));
    }
  }
}

}  // namespace Bench
