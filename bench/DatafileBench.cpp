// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

// What the rows of a history table cost in a datafile: written, one commit each, looked up by key,
// and opened again.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <mk4.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "bench/CountedFiles.h"
#include "bench/Measure.h"

namespace {

using Bench::CountedFiles;
using Bench::fastestTenth;
using Bench::mean;
using Bench::median;
using Bench::secondsOf;
using Bench::tell;

constexpr const char* structure = "ZoneHistory[Key:I,Record:B]";
constexpr const char* path = "datafile_bench.mk";
constexpr const char* plainPath = "datafile_bench.plain";
constexpr int bodySize = 2040;
constexpr double microseconds = 1e6;

constexpr double mostWrittenPerRow = 1.2 * bodySize + 1024;
constexpr double mostOfBodies = 1.25;
constexpr double mostOfEarlyRow = 1.5;
constexpr double mostOfPlainWrite = 1.25;
constexpr double mostOfArray = 10;
constexpr double mostToOpen = 2000;

/// A measurement that did not do what it measures must not look like a fast one.
void require(bool condition, const char* what) {
  if (!condition) {
    std::fprintf(stderr, "datafile_bench: %s\n", what);
    std::exit(1);
  }
}

/// The bytes of the records. Each begins with a text of its own, by which it is found in a file.
class Bodies {
 public:
  Bodies() {
    std::mt19937 random(1);
    std::generate(_bytes.begin(), _bytes.end(), [&] { return static_cast<char>(random()); });
  }

  const char* operator[](int row) {
    std::snprintf(_bytes.data(), signatureSize + 1, "body-%011d", row);
    return _bytes.data();
  }

  /// Where the bodies stand in a file.
  static std::vector<std::int64_t> find(const char* file, int rows) {
    std::ifstream stream(file, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    std::vector<std::int64_t> found;
    for (std::size_t at = bytes.find("body-00"); at != std::string::npos;
         at = bytes.find("body-00", at + bodySize)) {
      found.push_back(static_cast<std::int64_t>(at));
    }
    require(found.size() == static_cast<std::size_t>(rows), "the bodies are not found in the file");
    return found;
  }

 private:
  static constexpr std::size_t signatureSize = 16;
  std::array<char, bodySize> _bytes;
};

/// A fresh datafile with one table, and its rows, each committed.
class Table {
 public:
  Table() : _storage(fresh(path), 1), _view(_storage.GetAs(structure)) {}
  ~Table() { std::filesystem::remove(path); }
  Table(const Table&) = delete;
  Table& operator=(const Table&) = delete;

  /// Appends a row and commits it; gives the seconds that took.
  double append() {
    // Keys are spread over all 32 bits, as random ones are.
    const auto key = static_cast<t4_i32>(static_cast<std::uint32_t>(_rows) * 2654435761U);
    const char* body = _bodies[_rows];
    bool committed = false;
    const double seconds = secondsOf([&] {
      c4_Row row;
      _key(row) = key;
      _record(row) = c4_Bytes(body, bodySize);
      _view.Add(row);
      committed = _storage.Commit();
    });
    require(committed, "a commit failed");
    ++_rows;
    return seconds;
  }

  void appendUpTo(int rows) {
    while (_rows < rows) {
      append();
    }
  }

  static const char* fresh(const char* file) {
    std::filesystem::remove(file);
    return file;
  }

 private:
  Bodies _bodies;
  c4_Storage _storage;
  c4_View _view;
  const c4_IntProp _key{"Key"};
  const c4_BytesProp _record{"Record"};
  int _rows = 0;
};

/// How much is written, and how long the file becomes.
void appendRows(benchmark::State& state) {
  const auto rows = static_cast<int>(state.range(0));
  CountedFiles files;
  double pages = 0;
  double size = 0;
  for ([[maybe_unused]] auto each : state) {
    Table table;
    for (int row = 0; row < rows; ++row) {
      files.counts.pages.clear();
      table.append();
      pages += static_cast<double>(files.counts.pages.size());
    }
    size = static_cast<double>(std::filesystem::file_size(path));
  }
  const auto written = static_cast<double>(files.counts.bytesWritten);
  const auto writes = static_cast<double>(files.counts.writes);
  tell(state, "bytes written per row", written / rows, mostWrittenPerRow);
  tell(state, "pages written per row", pages / rows);
  tell(state, "writes per row", writes / rows);
  tell(state, "file size / bodies", size / (static_cast<double>(rows) * bodySize), mostOfBodies);
}
BENCHMARK(appendRows)
    ->Iterations(1)
    ->Arg(100)
    ->Arg(1000)
    ->Arg(5000)
    ->Arg(20000)
    ->Unit(benchmark::kMillisecond);

/// What the rows around a late one cost, compared with those around an early one.
void lateRow(benchmark::State& state) {
  constexpr int repetitions = 5;
  constexpr int early = 100;
  constexpr int earlyWindow = 100;
  constexpr int late = 20000;
  constexpr int lateWindow = 1000;

  // The least of the means is the one that was disturbed least; what the engine itself does from
  // time to time is in each of them.
  struct Cost {
    std::vector<double> rows;
    double leastMean = 1e9;

    void take(Table& table, int count) {
      const Bench::AheadOfOthers ahead;
      std::vector<double> window(static_cast<std::size_t>(count));
      std::generate(window.begin(), window.end(), [&] { return table.append(); });
      rows.insert(rows.end(), window.begin(), window.end());
      leastMean = std::min(leastMean, mean(window));
    }
  };
  Cost earlyCost;
  Cost lateCost;
  for ([[maybe_unused]] auto each : state) {
    for (int repetition = 0; repetition < repetitions; ++repetition) {
      for (int file = 0; file < lateWindow / earlyWindow; ++file) {
        Table table;
        table.appendUpTo(early - earlyWindow / 2);
        earlyCost.take(table, earlyWindow);
      }
      Table table;
      table.appendUpTo(late - lateWindow / 2);
      ::sync();
      lateCost.take(table, lateWindow);
    }
  }
  const double earlyMedian = median(earlyCost.rows);
  const double lateMedian = median(lateCost.rows);
  tell(state, "100th row, median us", earlyMedian * microseconds);
  tell(state, "100th row, mean us", earlyCost.leastMean * microseconds);
  tell(state, "20000th row, median us", lateMedian * microseconds);
  tell(state, "20000th row, mean us", lateCost.leastMean * microseconds);
  tell(state, "20000th / 100th row, median", lateMedian / earlyMedian, mostOfEarlyRow);
  tell(state, "20000th / 100th row, mean", lateCost.leastMean / earlyCost.leastMean,
       mostOfEarlyRow);
}
BENCHMARK(lateRow)->Iterations(1)->Unit(benchmark::kMillisecond);

/// Bodies end to end in a file.
class PlainFile {
 public:
  PlainFile() : _descriptor(::open(Table::fresh(plainPath), O_RDWR | O_CREAT | O_CLOEXEC, 0666)) {}
  ~PlainFile() {
    ::close(_descriptor);
    std::filesystem::remove(plainPath);
  }
  PlainFile(const PlainFile&) = delete;
  PlainFile& operator=(const PlainFile&) = delete;

  void append() {
    require(::pwrite(_descriptor, _bodies[_rows], bodySize, off_t{bodySize} * _rows) == bodySize,
            "a write failed");
    ++_rows;
  }

  void appendUpTo(int rows) {
    while (_rows < rows) {
      append();
    }
  }

 private:
  Bodies _bodies;
  const int _descriptor;
  int _rows = 0;
};

/// A row and `sync()`, compared with a plain write and `sync()`, turn and turn about. Where other
/// work is done on the machine, `sync()` waits for that now and then: the fastest ones tell what is
/// asked of it.
void appendAndSync(benchmark::State& state) {
  constexpr int turns = 400;
  const auto rows = static_cast<int>(state.range(0));
  std::vector<double> commits;
  std::vector<double> writes;
  for ([[maybe_unused]] auto each : state) {
    Table table;
    PlainFile plain;
    table.appendUpTo(rows);
    plain.appendUpTo(rows);
    ::sync();
    const Bench::AheadOfOthers ahead;
    // Every other plain write begins a page and takes longer, so both go by twos.
    const auto secondsOfEach = [](auto&& action) {
      const auto andSync = [&] {
        action();
        ::sync();
      };
      return (secondsOf(andSync) + secondsOf(andSync)) / 2;
    };
    const auto commit = [&] { commits.push_back(secondsOfEach([&] { table.append(); })); };
    const auto write = [&] { writes.push_back(secondsOfEach([&] { plain.append(); })); };
    for (int turn = 0; turn < turns; turn += 2) {
      commit();
      write();
      write();
      commit();
    }
  }
  const double commitMedian = median(commits);
  const double writeMedian = median(writes);
  tell(state, "row and sync, median us", commitMedian * microseconds);
  tell(state, "plain write and sync, median us", writeMedian * microseconds);
  tell(state, "row / plain write, median", commitMedian / writeMedian);
  tell(state, "row / plain write, fastest tenth", fastestTenth(commits) / fastestTenth(writes),
       mostOfPlainWrite);
}
BENCHMARK(appendAndSync)
    ->Iterations(1)
    ->Arg(100)
    ->Arg(1000)
    ->Arg(5000)
    ->Arg(20000)
    ->Unit(benchmark::kMillisecond);

constexpr int scannedKeys = 100000;

t4_i32 keyOf(int row) {
  // Even ones, all different, so that an odd one is in no row.
  return static_cast<t4_i32>(static_cast<std::uint32_t>(row) * 2654435762U) & ~1;
}

/// The row of a key, as a table of the database looks for it.
int findInView(const c4_View& view, int key) {
  const c4_IntProp keyColumn("Key");
  const int rows = view.GetSize();
  for (int row = 0; row < rows; ++row) {
    if (static_cast<t4_i32>(keyColumn(view[row])) == key) {
      return row;
    }
  }
  return -1;
}

int findInArray(const std::vector<t4_i32>& keys, int key) {
  const int rows = static_cast<int>(keys.size());
  for (int row = 0; row < rows; ++row) {
    if (keys[static_cast<std::size_t>(row)] == key) {
      return row;
    }
  }
  return -1;
}

void compareScans(benchmark::State& state, const c4_View& view) {
  std::vector<t4_i32> keys(scannedKeys);
  std::generate(keys.begin(), keys.end(), [row = 0]() mutable { return keyOf(row++); });
  std::vector<double> inView;
  std::vector<double> inArray;
  const volatile int missing = 1;
  for ([[maybe_unused]] auto each : state) {
    int found = 0;
    inArray.push_back(secondsOf([&] {
      found = findInArray(keys, missing);
      benchmark::DoNotOptimize(std::as_const(found));
    }));
    inView.push_back(secondsOf([&] {
      found = findInView(view, missing);
      benchmark::DoNotOptimize(std::as_const(found));
    }));
    require(found == -1 && view.GetSize() == scannedKeys, "the keys are not those expected");
    state.SetIterationTime(inView.back());
  }
  const double viewMedian = median(inView);
  const double arrayMedian = median(inArray);
  tell(state, "view, median us", viewMedian * microseconds);
  tell(state, "array, median us", arrayMedian * microseconds);
  tell(state, "view / array, median", viewMedian / arrayMedian, mostOfArray);
}

void fillWithKeys(c4_View view) {
  const c4_IntProp keyColumn("Key");
  for (int i = 0; i < scannedKeys; ++i) {
    c4_Row row;
    keyColumn(row) = keyOf(i);
    view.Add(row);
  }
}

/// A file that was only opened.
void scanStoredKeys(benchmark::State& state) {
  {
    c4_Storage storage(Table::fresh(path), 1);
    fillWithKeys(storage.GetAs(structure));
    require(storage.Commit(), "a commit failed");
  }
  c4_Storage storage(path, 1);
  compareScans(state, storage.GetAs(structure));
  std::filesystem::remove(path);
}
BENCHMARK(scanStoredKeys)->Iterations(500)->UseManualTime()->Unit(benchmark::kMicrosecond);

/// A table that is being filled.
void scanFreshKeys(benchmark::State& state) {
  c4_Storage storage(Table::fresh(path), 1);
  const c4_View view = storage.GetAs(structure);
  fillWithKeys(view);
  compareScans(state, view);
  std::filesystem::remove(path);
}
BENCHMARK(scanFreshKeys)->Iterations(500)->UseManualTime()->Unit(benchmark::kMicrosecond);

/// Opening a file, and what of it is read for that.
void openFile(benchmark::State& state) {
  const auto rows = static_cast<int>(state.range(0));
  constexpr const char* kept = "datafile_bench.kept.mk";
  {
    Table table;
    table.appendUpTo(rows);
    std::filesystem::copy_file(path, kept, std::filesystem::copy_options::overwrite_existing);
  }
  std::vector<double> openings;
  for ([[maybe_unused]] auto each : state) {
    int found = 0;
    const double seconds = secondsOf([&] {
      c4_Storage storage(kept, 1);
      found = storage.GetAs(structure).GetSize();
    });
    require(found == rows, "the rows are not those expected");
    openings.push_back(seconds);
    state.SetIterationTime(seconds);
  }
  std::int64_t asked = 0;
  std::int64_t bodiesAsked = 0;
  {
    CountedFiles files;
    {
      c4_Storage storage(kept, 1);
      require(storage.GetAs(structure).GetSize() == rows, "the rows are not those expected");
    }
    const std::vector<std::int64_t> bodies = Bodies::find(kept, rows);
    for (const CountedFiles::Range& range : files.counts.asked) {
      asked += range.size;
      const auto first = std::upper_bound(bodies.begin(), bodies.end(), range.offset - bodySize);
      const auto last = std::lower_bound(bodies.begin(), bodies.end(), range.offset + range.size);
      bodiesAsked += std::max<std::int64_t>(0, last - first);
    }
  }
  std::filesystem::remove(kept);
  tell(state, "opening, median us", median(openings) * microseconds, mostToOpen);
  tell(state, "bytes asked for", static_cast<double>(asked));
  tell(state, "bodies asked for", static_cast<double>(bodiesAsked), 0);
}
BENCHMARK(openFile)->Arg(20000)->Iterations(200)->UseManualTime()->Unit(benchmark::kMicrosecond);

}  // namespace
