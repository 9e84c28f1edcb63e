// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fuzz/Seeds.h"
#include "fuzz/Targets.h"

namespace {

using Fuzz::Seed;
using Fuzz::Way;

/// The files of a folder, by name.
std::vector<Seed> filesOf(const std::string& folder) {
  std::vector<Seed> seeds;
  for (const auto& file : std::filesystem::directory_iterator(folder)) {
    seeds.push_back({file.path().filename(), [path = file.path()] {
                       std::ifstream stream(path, std::ios::binary);
                       return Metakit::Bytes{std::istreambuf_iterator<char>(stream), {}};
                     }});
  }
  std::sort(seeds.begin(), seeds.end(),
            [](const Seed& a, const Seed& b) { return a.name < b.name; });
  return seeds;
}

std::string caseName(const ::testing::TestParamInfo<Seed>& seed) {
  std::string name = seed.param.name;
  std::replace_if(
      name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
  return name;
}

/// What the fuzzers do, with every input that is made or kept. A rule that is broken ends the
/// process with the rule.
class ReadTargetTest : public ::testing::TestWithParam<Seed> {};

TEST_P(ReadTargetTest, BreaksNoRule) {
  const Metakit::Bytes input = GetParam().make();
  ASSERT_LE(input.size(), Fuzz::largestInput);
  Fuzz::read(input.data(), input.size());
}

class CommitTargetTest : public ::testing::TestWithParam<Seed> {};

TEST_P(CommitTargetTest, BreaksNoRule) {
  const Metakit::Bytes input = GetParam().make();
  Fuzz::commit(input.data(), input.size());
}

#ifdef FUZZ_HISTORY_DB
class SubcommandsTargetTest : public ::testing::TestWithParam<Seed> {};

TEST_P(SubcommandsTargetTest, BreaksNoRule) {
  const Metakit::Bytes input = GetParam().make();
  Fuzz::subcommands(input.data(), input.size());
}
#endif

const std::string kept = FUZZ_FOLDER "/findings/";

INSTANTIATE_TEST_SUITE_P(Sound, ReadTargetTest, ::testing::ValuesIn(Fuzz::soundFiles()), caseName);
INSTANTIATE_TEST_SUITE_P(Hostile, ReadTargetTest, ::testing::ValuesIn(Fuzz::hostileFiles()),
                         caseName);
INSTANTIATE_TEST_SUITE_P(Kept, ReadTargetTest, ::testing::ValuesIn(filesOf(kept + "read")),
                         caseName);
INSTANTIATE_TEST_SUITE_P(Sound, CommitTargetTest,
                         ::testing::ValuesIn(Fuzz::changed(Fuzz::soundFiles(),
                                                           {Way::Plain, Way::Fails,
                                                            Way::FailsTooLate, Way::CutOff})),
                         caseName);
INSTANTIATE_TEST_SUITE_P(Hostile, CommitTargetTest,
                         ::testing::ValuesIn(Fuzz::changed(Fuzz::hostileFiles(), {Way::CutOff})),
                         caseName);
INSTANTIATE_TEST_SUITE_P(Kept, CommitTargetTest, ::testing::ValuesIn(filesOf(kept + "commit")),
                         caseName);
#ifdef FUZZ_HISTORY_DB
INSTANTIATE_TEST_SUITE_P(Sound, SubcommandsTargetTest, ::testing::ValuesIn(Fuzz::soundFiles()),
                         caseName);
INSTANTIATE_TEST_SUITE_P(Hostile, SubcommandsTargetTest, ::testing::ValuesIn(Fuzz::hostileFiles()),
                         caseName);
INSTANTIATE_TEST_SUITE_P(Kept, SubcommandsTargetTest,
                         ::testing::ValuesIn(filesOf(kept + "subcommands")), caseName);
#endif

}  // namespace
