// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

// What whole conversions cost, from the start of the program to its end: beside the least that any
// program would take, beside the same job on other databases, and by themselves.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <mk4.h>

#include "bench/Measure.h"
#include "bench/conversion/Process.h"
#include "bench/conversion/Rows.h"

namespace {

using Bench::Arguments;
using Bench::isInstalled;
using Bench::median;
using Bench::medianOfRatios;
using Bench::OnEveryCore;
using Bench::require;
using Bench::Rows;
using Bench::secondsOf;
using Bench::systemWith;
using Bench::tell;

constexpr const char* outfile = "conversion_bench.out";
constexpr const char* scannedFile = "conversion_bench.scanned.mk";
constexpr double microseconds = 1e6;
constexpr double milliseconds = 1e3;
constexpr double mebibyte = 1024.0 * 1024;

constexpr double mostOfFloor = 1.25;
constexpr double mostOfPeer = 1;
constexpr double mostOfHundred = 1.15;
constexpr double mostOfBodiesInMemory = 1.3;
constexpr double mostMemoryBesides = 4 * mebibyte;

/// Few for the conversions that take seconds, many for those where little things disturb.
int turnsFor(const Rows& rows) {
  return std::clamp(25000 / rows.count(), 3, 60);
}

void removeOutfile() {
  for (const char* suffix : {"", "-wal", "-shm", "-lock"}) {
    std::filesystem::remove(std::string(outfile) + suffix);
  }
}

/// A database of schema 0 that is there while the object lives.
class Infile {
 public:
  explicit Infile(const Rows& rows)
      : _rows(rows), _path("conversion_bench." + std::to_string(rows.zones) + ".mk") {
    require(Bench::makeInfile(_path.c_str(), _rows), "INFILE cannot be made");
  }
  ~Infile() { std::filesystem::remove(_path); }
  Infile(const Infile&) = delete;
  Infile& operator=(const Infile&) = delete;

  const Rows& rows() const { return _rows; }
  const std::string& path() const { return _path; }

 private:
  const Rows _rows;
  const std::string _path;
};

/// A program that writes the new records of a database, and what was seen of it.
class Program {
 public:
  Program(Arguments arguments, const Rows& rows) : _arguments(std::move(arguments)), _rows(rows) {}

  void takeTurn() {
    removeOutfile();
    const Bench::Run run = Bench::run(_arguments);
    require(static_cast<double>(std::filesystem::file_size(outfile)) >= _rows.newBytes(),
            _arguments[0] + " wrote too little");
    _seconds.push_back(run.seconds);
    _bytesWritten = run.bytesWritten;
    removeOutfile();
  }

  const Arguments& arguments() const { return _arguments; }
  const std::vector<double>& seconds() const { return _seconds; }
  double secondsPerRow() const { return median(_seconds) / _rows.count(); }
  double bytesPerRow() const { return _bytesWritten / _rows.count(); }

 private:
  Arguments _arguments;
  Rows _rows;
  std::vector<double> _seconds;
  double _bytesWritten = 0;
};

Program toolOn(const Infile& infile, const char* tool = HISTORY_CONVERT) {
  return {{tool, "-q", infile.path(), "0", outfile, "1"}, infile.rows()};
}

/// Turn and turn about, there and back, so that what changes on the machine meets all alike.
void takeTurns(int turns, const std::vector<std::reference_wrapper<Program>>& programs) {
  const OnEveryCore onEveryCore;
  for (int turn = 0; turn < turns; ++turn) {
    for (std::size_t i = 0; i < programs.size(); ++i) {
      programs[turn % 2 == 0 ? i : programs.size() - 1 - i].get().takeTurn();
    }
  }
}

struct Peer {
  std::string name;
  Program program;
};

/// The other databases that this build knows.
std::vector<Peer> peersOn(benchmark::State& state, const Infile& infile) {
  std::vector<Peer> peers;
  const auto add = [&](const char* name, const char* path) {
    if (*path == '\0') {
      state.counters[std::string("missing: ") + name] = 1;
    } else {
      peers.push_back({name, {{path, infile.path(), outfile}, infile.rows()}});
    }
  };
  add("SQLite", CONVERT_SQLITE);
  add("LMDB", CONVERT_LMDB);
  return peers;
}

void tellMemory(benchmark::State& state, const Program& tool, const Rows& rows) {
  if (!isInstalled("time")) {
    state.counters["missing: time"] = 1;
    return;
  }
  const double bodies = std::max(static_cast<double>(Bench::newSystemSize) * rows.systems,
                                 static_cast<double>(Bench::newZoneSize) * rows.zones);
  const OnEveryCore onEveryCore;
  tell(state, "peak memory, MiB", Bench::peakMemory(tool.arguments()) / 1024,
       (mostOfBodiesInMemory * bodies + mostMemoryBesides) / mebibyte);
  removeOutfile();
}

void convert(benchmark::State& state) {
  const Infile infile(systemWith(static_cast<int>(state.range(0))));
  const Rows& rows = infile.rows();
  Program tool = toolOn(infile);
  Program floor({CONVERT_FLOOR, std::to_string(rows.zones), outfile}, rows);
  std::vector<Peer> peers = peersOn(state, infile);
  std::vector<std::reference_wrapper<Program>> programs = {tool, floor};
  for (Peer& peer : peers) {
    programs.emplace_back(peer.program);
  }
  for ([[maybe_unused]] auto each : state) {
    takeTurns(turnsFor(rows), programs);
  }
  tell(state, "convert, us per row", tool.secondsPerRow() * microseconds);
  tell(state, "floor, us per row", floor.secondsPerRow() * microseconds);
  tell(state, "convert / floor", medianOfRatios(tool.seconds(), floor.seconds()), mostOfFloor);
  for (const Peer& peer : peers) {
    tell(state, peer.name + ", us per row", peer.program.secondsPerRow() * microseconds);
    tell(state, "convert / " + peer.name, medianOfRatios(tool.seconds(), peer.program.seconds()),
         mostOfPeer);
  }
  tell(state, "bytes written per row", tool.bytesPerRow());
  tellMemory(state, tool, rows);
}
BENCHMARK(convert)->Iterations(1)->Arg(13)->Arg(100)->Arg(1000)->Arg(5000)->Arg(20000)->Unit(
    benchmark::kMillisecond);

/// As a table of the database looks for a key before it appends a row.
bool isKeyIn(const c4_View& view, int key) {
  const c4_IntProp keyColumn("Key");
  const int rows = view.GetSize();
  for (int row = 0; row < rows; ++row) {
    if (static_cast<t4_i32>(keyColumn(view[row])) == key) {
      return true;
    }
  }
  return false;
}

/// How long it takes to look for the key of each row in those before it, while the table grows.
double secondsOfScans(const Rows& rows) {
  const c4_IntProp keyColumn("Key");
  const c4_BytesProp recordColumn("Record");
  const std::string body(Bench::newZoneSize, 'a');
  double seconds = 0;
  {
    std::filesystem::remove(scannedFile);
    c4_Storage storage(scannedFile, 1);
    c4_View view = storage.GetAs("ZoneHistory[Key:I,Record:B]");
    for (int i = 0; i < rows.zones; ++i) {
      bool found = false;
      seconds += secondsOf([&] { found = isKeyIn(view, Bench::keyOf(i)); });
      c4_Row row;
      keyColumn(row) = Bench::keyOf(i);
      recordColumn(row) = c4_Bytes(body.data(), static_cast<int>(body.size()));
      view.Add(row);
      require(!found && storage.Commit(), "a table did not grow");
    }
  }
  std::filesystem::remove(scannedFile);
  return seconds;
}

/// What the conversion of a database takes longer than one of an empty database, for each row.
class RowCost {
 public:
  RowCost(const Infile& empty, const Infile& infile, const char* tool)
      : _empty(toolOn(empty, tool)), _whole(toolOn(infile, tool)), _count(infile.rows().count()) {}

  void takeTurns(int turns) { ::takeTurns(turns, {_whole, _empty}); }

  double perRow(double secondsBesides = 0) const {
    return (median(_whole.seconds()) - median(_empty.seconds()) - secondsBesides) / _count;
  }
  const Program& whole() const { return _whole; }

 private:
  Program _empty;
  Program _whole;
  const int _count;
};

/// Whether a row costs more in a large table than in one of 100. The key of each row is looked for
/// in all rows before it, which must take longer; so it is told with that and without.
void flatness(benchmark::State& state) {
  const Infile empty({0, 0});
  const Infile few(systemWith(100));
  const Infile many(systemWith(static_cast<int>(state.range(0))));
  const double scans = secondsOfScans(many.rows());
  const double fewScans = secondsOfScans(few.rows());
  std::vector<double> manyRows;
  std::vector<double> manyWithoutScan;
  std::vector<double> fewRows;
  std::vector<double> fewWithoutScan;
  double bytes = 0;
  double fewBytes = 0;
  for ([[maybe_unused]] auto each : state) {
    for (int turn = 0; turn < turnsFor(many.rows()); ++turn) {
      RowCost fewCost(empty, few, HISTORY_CONVERT);
      RowCost manyCost(empty, many, HISTORY_CONVERT);
      constexpr int half = 5;
      fewCost.takeTurns(half);
      manyCost.takeTurns(1);
      fewCost.takeTurns(half);
      manyRows.push_back(manyCost.perRow());
      manyWithoutScan.push_back(manyCost.perRow(scans));
      fewRows.push_back(fewCost.perRow());
      fewWithoutScan.push_back(fewCost.perRow(fewScans));
      bytes = manyCost.whole().bytesPerRow();
      fewBytes = fewCost.whole().bytesPerRow();
    }
  }
  tell(state, "scan, us per row", scans / many.rows().count() * microseconds);
  tell(state, "us per row, N / 100", medianOfRatios(manyRows, fewRows));
  tell(state, "us per row without scan, N / 100", medianOfRatios(manyWithoutScan, fewWithoutScan),
       mostOfHundred);
  tell(state, "bytes per row, N / 100", bytes / fewBytes, mostOfHundred);
}
BENCHMARK(flatness)->Iterations(1)->Arg(1000)->Arg(5000)->Arg(20000)->Unit(benchmark::kMillisecond);

/// The program's own time: what a row takes when sync() does nothing.
void withoutSync(benchmark::State& state) {
  const Infile empty({0, 0});
  const Infile infile(systemWith(static_cast<int>(state.range(0))));
  const double scans = secondsOfScans(infile.rows());
  RowCost cost(empty, infile, CONVERT_WITHOUT_SYNC);
  for ([[maybe_unused]] auto each : state) {
    cost.takeTurns(turnsFor(infile.rows()));
  }
  tell(state, "us per row", cost.whole().secondsPerRow() * microseconds);
  tell(state, "us per row without start", cost.perRow() * microseconds);
  tell(state, "us per row without start and scan", cost.perRow(scans) * microseconds);
}
BENCHMARK(withoutSync)
    ->Iterations(1)
    ->Arg(13)
    ->Arg(100)
    ->Arg(1000)
    ->Arg(5000)
    ->Arg(20000)
    ->Unit(benchmark::kMillisecond);

/// What is there before the first row and behind the last: the program's start and end, three empty
/// tables, and the commit that makes OUTFILE.
void emptyConversion(benchmark::State& state) {
  constexpr int turns = 300;
  const Infile empty({0, 0});
  Program tool = toolOn(empty);
  const Arguments nothing = {"true"};
  std::vector<double> seconds;
  for ([[maybe_unused]] auto each : state) {
    const OnEveryCore onEveryCore;
    for (int turn = 0; turn < turns; ++turn) {
      tool.takeTurn();
      seconds.push_back(Bench::run(nothing).seconds);
    }
  }
  tell(state, "ms", median(tool.seconds()) * milliseconds);
  tell(state, "true, ms", median(seconds) * milliseconds);
  tell(state, "ms / true, ms", medianOfRatios(tool.seconds(), seconds));
  if (!isInstalled("valgrind")) {
    state.counters["missing: valgrind"] = 1;
    return;
  }
  tell(state, "instructions", Bench::instructions(tool.arguments()));
  tell(state, "true, instructions", Bench::instructions(nothing));
  removeOutfile();
}
BENCHMARK(emptyConversion)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
