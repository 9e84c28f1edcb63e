// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

// Prints one table of what the benchmarks measured: bench_results FILE.json...
// Status 1 when a goal is missed, 2 when there is no sound result.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace {

/// What Google Benchmark itself tells of a run.
const std::set<std::string> general = {"family_index", "per_family_instance_index",
                                       "repetitions",  "repetition_index",
                                       "threads",      "iterations",
                                       "real_time",    "cpu_time"};

const std::string goalSuffix = " goal";

bool isGoal(const std::string& name) {
  return name.size() > goalSuffix.size() &&
         name.compare(name.size() - goalSuffix.size(), goalSuffix.size(), goalSuffix) == 0;
}

std::string numberText(double value) {
  char text[32];
  std::snprintf(text, sizeof text, value >= 100 ? "%.0f" : value >= 10 ? "%.1f" : "%.3f", value);
  return text;
}

/// Where no measurement could be taken: "missing: NAME" stands for the NAME of what is not
/// installed.
const std::string missingPrefix = "missing: ";

bool isMissing(const std::string& name) {
  return name.compare(0, missingPrefix.size(), missingPrefix) == 0;
}

constexpr std::size_t columnCount = 5;
using Line = std::array<std::string, columnCount>;

struct Results {
  std::vector<Line> lines{{"benchmark", "what", "measured", "goal", ""}};
  std::set<std::string> missing;
  bool met = true;
};

void add(Results& results, const std::string& benchmark, const std::string& what, double measured,
         std::optional<double> goal) {
  if (!goal) {
    results.lines.push_back({benchmark, what, numberText(measured), "", ""});
    return;
  }
  const bool met = measured <= *goal;
  results.met = results.met && met;
  results.lines.push_back(
      {benchmark, what, numberText(measured), "<= " + numberText(*goal), met ? "met" : "MISSED"});
}

void addBenchmark(Results& results, const nlohmann::json& run) {
  const std::string full = run.at("name");
  const std::string name = full.substr(0, full.find("/iterations:"));
  for (const auto& [what, value] : run.items()) {
    if (!value.is_number() || general.count(what) > 0 || isGoal(what)) {
      continue;
    }
    if (isMissing(what)) {
      results.missing.insert(what.substr(missingPrefix.size()));
      continue;
    }
    const auto goal = run.find(what + goalSuffix);
    add(results, name, what, value,
        goal != run.end() ? std::optional<double>(*goal) : std::nullopt);
  }
}

constexpr bool isNumberColumn(std::size_t column) {
  return column == 2 || column == 3;
}

void printLine(const Line& line, const std::array<int, columnCount>& widths) {
  for (std::size_t i = 0; i < columnCount; ++i) {
    std::printf("| %*s ", isNumberColumn(i) ? widths[i] : -widths[i], line[i].c_str());
  }
  std::printf("|\n");
}

void printRuler(const std::array<int, columnCount>& widths) {
  for (std::size_t i = 0; i < columnCount; ++i) {
    const std::string dashes(static_cast<std::size_t>(widths[i]) + 1, '-');
    std::printf("|%s%c", dashes.c_str(), isNumberColumn(i) ? ':' : '-');
  }
  std::printf("|\n");
}

void print(const Results& results) {
  std::array<int, columnCount> widths{};
  for (const Line& line : results.lines) {
    for (std::size_t i = 0; i < columnCount; ++i) {
      widths[i] = std::max(widths[i], static_cast<int>(line[i].size()));
    }
  }
  printLine(results.lines.front(), widths);
  printRuler(widths);
  for (auto line = results.lines.begin() + 1; line != results.lines.end(); ++line) {
    printLine(*line, widths);
  }
  if (!results.missing.empty()) {
    std::string names;
    for (const std::string& name : results.missing) {
      names += (names.empty() ? "" : ", ") + name;
    }
    std::printf("\n%s%s\n", missingPrefix.c_str(), names.c_str());
  }
}

int printAll(int argc, char** argv) {
  Results results;
  for (int i = 1; i < argc; ++i) {
    std::ifstream file(argv[i]);
    const auto json = nlohmann::json::parse(file);
    for (const auto& run : json.at("benchmarks")) {
      addBenchmark(results, run);
    }
  }
  print(results);
  return results.met ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return printAll(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "bench_results: %s\n", error.what());
    return 2;
  }
}
