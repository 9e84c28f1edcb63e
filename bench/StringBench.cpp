// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

// What the strings of rtk/string cost, compared with those of the standard library.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

#include "bench/Turns.h"
#include "rtk/string/DString.h"
#include "rtk/string/FString.h"

namespace {

using Bench::compareInTurns;
using Bench::contender;

/// As the names of tables have it.
using FixedString = Rtk::FString<1024>;

constexpr const char* path = "/var/lib/history/history.mk";

/// A message about a file, piece by piece.
template <class Text>
void appendPieces(Text& text) {
  text = "INFILE";
  text += " \"";
  text += path;
  text += "\" ";
  text += "cannot be opened.";
  benchmark::DoNotOptimize(text);
}

void append(benchmark::State& state) {
  FixedString fixed;
  Rtk::DString dynamic;
  std::string standard;
  compareInTurns(state, {contender("FString append", [&] { appendPieces(fixed); }),
                         contender("DString append", [&] { appendPieces(dynamic); }),
                         contender("std::string", [&] { appendPieces(standard); })});
}
BENCHMARK(append)->Iterations(1)->Unit(benchmark::kMillisecond);

template <class Text>
void formatText(Text& text, int value) {
  text.format("%s: %d", path, value);
  benchmark::DoNotOptimize(text);
}

void format(benchmark::State& state) {
  constexpr int room = 63;
  const volatile int value = 1234567;
  Rtk::FString<room> fixed;
  // It does not grow for a text that is formatted.
  Rtk::DString dynamic("", room);
  char standard[room + 1];
  const auto print = [&] {
    std::snprintf(standard, sizeof standard, "%s: %d", path, value);
    benchmark::DoNotOptimize(standard);
  };
  compareInTurns(state, {contender("FString format", [&] { formatText(fixed, value); }),
                         contender("DString format", [&] { formatText(dynamic, value); }),
                         contender("snprintf", print)});
}
BENCHMARK(format)->Iterations(1)->Unit(benchmark::kMillisecond);

template <class Text>
void compareTexts(Text& one, Text& other) {
  benchmark::DoNotOptimize(one);
  benchmark::DoNotOptimize(other);
  benchmark::DoNotOptimize(one == other);
}

void compareNames(benchmark::State& state, const char* one, const char* other) {
  FixedString fixed(one);
  FixedString otherFixed(other);
  Rtk::DString dynamic(one);
  Rtk::DString otherDynamic(other);
  std::string standard(one);
  std::string otherStandard(other);
  compareInTurns(state, {contender("FString compare", [&] { compareTexts(fixed, otherFixed); }),
                         contender("DString compare", [&] { compareTexts(dynamic, otherDynamic); }),
                         contender("std::string", [&] { compareTexts(standard, otherStandard); })});
}

void compareEqual(benchmark::State& state) {
  compareNames(state, "nativeZoneHistory", "nativeZoneHistory");
}
BENCHMARK(compareEqual)->Iterations(1)->Unit(benchmark::kMillisecond);

/// Of one length, so that the texts themselves must be looked at.
void compareDifferent(benchmark::State& state) {
  compareNames(state, "nativeZoneHistory", "nativeZoneHistorz");
}
BENCHMARK(compareDifferent)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
