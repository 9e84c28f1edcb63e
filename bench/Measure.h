// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <benchmark/benchmark.h>

#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Bench {

/// Seconds that an action takes.
template <class Action>
double secondsOf(Action&& action) {
  const auto start = std::chrono::steady_clock::now();
  std::forward<Action>(action)();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// REQUIRES: there are values.
double median(std::vector<double> values);
/// What one in ten values is below: what an action takes when nothing else keeps the machine busy.
double fastestTenth(std::vector<double> values);
double mean(const std::vector<double>& values);
/// The median of over[i] / under[i]: what was measured in the same round was disturbed alike.
/// REQUIRES: there are values, as many of the one as of the other.
double medianOfRatios(const std::vector<double>& over, const std::vector<double>& under);

/// Lets this process go ahead of all others that are busy, while the object lives; without the
/// rights for that, it changes nothing.
class AheadOfOthers {
 public:
  AheadOfOthers();
  ~AheadOfOthers();
  AheadOfOthers(const AheadOfOthers&) = delete;
  AheadOfOthers& operator=(const AheadOfOthers&) = delete;
};

/// Tells a result, for the table of the results: what was measured, and the most that it may be.
/// `what` names the unit.
void tell(benchmark::State& state, const std::string& what, double value,
          std::optional<double> goal = {});

}  // namespace Bench
