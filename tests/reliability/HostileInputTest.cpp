// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <mk4.h>

#include "tests/reliability/Mutator.h"
#include "tests/reliability/Trial.h"

namespace Reliability {

namespace {

using TestSupport::goldenFile;
using TestSupport::goldenFiles;
using TestSupport::readFile;
using TestSupport::readTables;

constexpr char convertedDescription[] =
    "TormaQuilletHistory[Key:I,Record:B],nativeZoneHistory[Key:I,Record:B],"
    "ZoneHistory[Key:I,Record:B]";

constexpr char warning[] =
    "Pvn::Database::Metakit::Persist::Table::request(CreateRecordWithKeyReq): WARNING: The key "
    "specified was not unique!\n";

std::string without(const std::string& part, std::string text) {
  for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos;) {
    text.erase(at, part.size());
  }
  return text;
}

bool endsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

/// Files that somebody or something has spoilt are converted, or their damage is told.
class HostileInputTest : public Trial, public ::testing::WithParamInterface<unsigned int> {
 protected:
  /// Tells whether the file was converted.
  bool expectConvertsOrReports() {
    ::unlink(outfile.c_str());
    Outcome outcome = convert({{"TRIAL_OUTFILE", outfile}});
    expectNothingElseTouched();
    if (outcome.status == 0) {
      outcome.standardOutput = without(warning, outcome.standardOutput);
      EXPECT_EQ(outcome, complete);
      expectEveryRow();
      return true;
    }
    EXPECT_EQ(outcome.status, 255) << outcome;
    EXPECT_EQ(outcome.standardOutput, "") << outcome;
    const std::string record = "]: INFILE \"" + infile + "\" cannot be opened. It is ";
    EXPECT_TRUE(endsWith(outcome.standardError, record + "damaged.\n") ||
                endsWith(outcome.standardError, record + "not a history database.\n") ||
                endsWith(outcome.standardError, "It has too many records for its size.\n"))
        << outcome;
    EXPECT_NE(::access(outfile.c_str(), F_OK), 0) << "nothing is begun";
    return false;
  }

  /// The new file has a row for each one that can be read in the old file.
  void expectEveryRow() {
    EXPECT_TRUE(c4_Storage(infile.c_str(), 0).Strategy().IsValid());
    EXPECT_EQ(TestSupport::readDescription(outfile), convertedDescription);
    const std::vector<Table> names = goldenFile("typical.mk").converted;
    const std::vector<Table> before = readTables(infile, names);
    const std::vector<Table> after = readTables(outfile, names);
    for (std::size_t i = 0; i < names.size(); ++i) {
      ASSERT_EQ(after[i].rows.size(), before[i].rows.size()) << names[i].name;
      for (std::size_t row = 0; row < after[i].rows.size(); ++row) {
        EXPECT_EQ(after[i].rows[row].key, before[i].rows[row].key) << names[i].name;
      }
    }
  }
};

/// Good files to begin with: all but those that take long.
const std::vector<std::string>& goodFiles() {
  static const std::vector<std::string> files = [] {
    std::vector<std::string> all;
    for (const GoldenFile& golden : goldenFiles()) {
      std::string bytes = readFile(golden.path);
      if (bytes.size() < 100000) {
        all.push_back(std::move(bytes));
      }
    }
    return all;
  }();
  return files;
}

TEST_P(HostileInputTest, IsConvertedOrReported) {
  Mutator mutator(seed(GetParam()));
  const auto& files = goodFiles();
  int converted = 0;
  const int inputs = trials(50, 1250);
  for (int i = 0; i < inputs && !HasFailure(); ++i) {
    std::string file = files[mutator.below(files.size())];
    mutator.mutate(file, files[mutator.below(files.size())]);
    makeInfile(file);
    converted += expectConvertsOrReports() ? 1 : 0;
  }
  if (HasFailure()) {
    const std::string kept = "hostile-input-" + std::to_string(seed(GetParam())) + ".mk";
    TestSupport::writeFile(kept, readFile(infile));
    FAIL() << "The input is kept in " << kept;
  }
  // The damage is neither too little nor too much to be of use.
  EXPECT_GT(converted, 0);
  EXPECT_LT(converted, inputs);
  count("hostile files", inputs);
  count("hostile files that can be converted", converted);
}

INSTANTIATE_TEST_SUITE_P(Seeds, HostileInputTest, ::testing::Range(0U, 16U));

}  // namespace

}  // namespace Reliability
