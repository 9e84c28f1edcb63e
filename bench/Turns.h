// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace Bench {

/// A short action that is compared with others that do the same.
struct Contender {
  std::string name;
  /// Does it `timesInARound` times.
  std::function<void()> round;
};

constexpr int timesInARound = 1000;

/// What `action` refers to must outlive the contender. It must use DoNotOptimize.
template <class Action>
Contender contender(std::string name, Action action) {
  return {std::move(name), [action] {
            for (int i = 0; i < timesInARound; ++i) {
              action();
            }
          }};
}

/// Measures the contenders turn and turn about, so that what disturbs one disturbs the others, too.
/// Tells how long each takes, and what that is of the last one's time.
void compareInTurns(benchmark::State& state, const std::vector<Contender>& contenders);

}  // namespace Bench
