// Prints one table of what the benchmarks measured: bench_results FILE.json...
// Status 1 when a goal is missed, 2 when there is no sound result.

#include <cstdio>
#include <exception>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>
#include <string>

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
  std::snprintf(text, sizeof text, value >= 100 ? "%.0f" : "%.2f", value);
  return text;
}

void printLine(const std::string& benchmark, const std::string& what, const std::string& measured,
               const std::string& goal, const std::string& outcome) {
  std::printf("| %-20s | %-33s | %12s | %12s | %-6s |\n", benchmark.c_str(), what.c_str(),
              measured.c_str(), goal.c_str(), outcome.c_str());
}

/// Whether all goals of a benchmark are met.
bool printBenchmark(const nlohmann::json& run) {
  const std::string full = run.at("name");
  const std::string name = full.substr(0, full.find("/iterations:"));
  bool met = true;
  for (const auto& [what, value] : run.items()) {
    if (!value.is_number() || general.count(what) > 0 || isGoal(what)) {
      continue;
    }
    const double measured = value;
    const auto goal = run.find(what + goalSuffix);
    if (goal == run.end()) {
      printLine(name, what, numberText(measured), "", "");
      continue;
    }
    const double most = *goal;
    met = met && measured <= most;
    printLine(name, what, numberText(measured), "<= " + numberText(most),
              measured <= most ? "met" : "MISSED");
  }
  return met;
}

int printAll(int argc, char** argv) {
  bool met = true;
  printLine("benchmark", "what", "measured", "goal", "");
  std::printf("|---|---|--:|--:|---|\n");
  for (int i = 1; i < argc; ++i) {
    std::ifstream file(argv[i]);
    const auto results = nlohmann::json::parse(file);
    for (const auto& run : results.at("benchmarks")) {
      met = printBenchmark(run) && met;
    }
  }
  return met ? 0 : 1;
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
