// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "bench/Measure.h"

#include <sched.h>

#include <algorithm>
#include <functional>
#include <numeric>
#include <utility>

namespace Bench {

namespace {

double inOrder(std::vector<double>& values, std::size_t place) {
  const auto at = values.begin() + static_cast<std::ptrdiff_t>(place);
  std::nth_element(values.begin(), at, values.end());
  return *at;
}

}  // namespace

double median(std::vector<double> values) {
  return inOrder(values, values.size() / 2);
}

double fastestTenth(std::vector<double> values) {
  return inOrder(values, values.size() / 10);
}

double mean(const std::vector<double>& values) {
  return std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size());
}

double medianOfRatios(const std::vector<double>& over, const std::vector<double>& under) {
  std::vector<double> ratios(over.size());
  std::transform(over.begin(), over.end(), under.begin(), ratios.begin(), std::divides<>());
  return median(std::move(ratios));
}

AheadOfOthers::AheadOfOthers() {
  sched_param priority = {};
  priority.sched_priority = 1;
  ::sched_setscheduler(0, SCHED_FIFO, &priority);
}

AheadOfOthers::~AheadOfOthers() {
  const sched_param priority = {};
  ::sched_setscheduler(0, SCHED_OTHER, &priority);
}

void tell(benchmark::State& state, const std::string& what, double value,
          std::optional<double> goal) {
  state.counters[what] = value;
  if (goal) {
    state.counters[what + " goal"] = *goal;
  }
}

}  // namespace Bench
