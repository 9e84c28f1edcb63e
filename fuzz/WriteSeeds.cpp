// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

// Writes the inputs that a fuzzer begins with into folders: FOLDER/TARGET has those that it works
// on, FOLDER/heavy-TARGET those that take too long for that and just have to be got over.

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz/Seeds.h"
#include "fuzz/Targets.h"

namespace {

namespace fs = std::filesystem;

using Fuzz::Way;

constexpr std::uintmax_t largestToWorkOn = 32 * 1024;

void write(const fs::path& folder, const std::vector<Fuzz::Seed>& seeds) {
  fs::create_directories(folder);
  for (const Fuzz::Seed& seed : seeds) {
    const Metakit::Bytes bytes = seed.make();
    std::ofstream(folder / seed.name, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
  }
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) {
    std::fputs("usage: write-seeds FOLDER DATAFILES\n", stderr);
    return 2;
  }
  const fs::path folder = arguments[1];
  std::vector<Fuzz::Seed> light = Fuzz::soundFiles();
  std::vector<Fuzz::Seed> heavy = Fuzz::hostileFiles();
  for (const auto& file : fs::directory_iterator(arguments[2])) {
    if (file.path().extension() == ".mk" && file.file_size() <= Fuzz::largestInput) {
      auto& seeds = file.file_size() <= largestToWorkOn ? light : heavy;
      seeds.push_back({file.path().filename(), [path = file.path()] {
                         std::ifstream stream(path, std::ios::binary);
                         return Metakit::Bytes{std::istreambuf_iterator<char>(stream), {}};
                       }});
    }
  }
  write(folder / "read", light);
  write(folder / "subcommands", light);
  write(folder / "commit",
        Fuzz::changed(light, {Way::Plain, Way::Fails, Way::FailsTooLate, Way::CutOff}));
  write(folder / "heavy-read", heavy);
  write(folder / "heavy-subcommands", heavy);
  write(folder / "heavy-commit", Fuzz::changed(heavy, {Way::CutOff}));
}
