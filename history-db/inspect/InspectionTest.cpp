// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/inspect/Inspection.h"

#include <mk4.h>

#include <filesystem>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "history-db/base/Trouble.h"
#include "history-db/records/NewDatabase.h"
#include "metakit/Codec.h"
#include "tests/support/Golden.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using HistoryDb::Database;
using HistoryDb::FileState;
using HistoryDb::inspect;
using HistoryDb::Inspection;
using TestSupport::GoldenFile;
using TestSupport::readFile;
using TestSupport::TemporaryFolder;
using TestSupport::writeFile;

std::string faultsOf(const Inspection& inspection) {
  std::string text;
  for (const HistoryDb::Fault& fault : inspection.faults) {
    text += fault.where + ": " + fault.what + '\n';
  }
  return text;
}

/// Expects that the engine opens just what has no fault, and finds the same in it.
void expectAgreement(const std::string& path) {
  const Inspection inspection = inspect(path);
  c4_Storage storage(path.c_str(), 0);
  ASSERT_EQ(storage.Strategy().IsValid(), inspection.faultCount == 0) << faultsOf(inspection);
  EXPECT_EQ(storage.Strategy().IsValid(),
            inspection.state != FileState::Damaged && inspection.state != FileState::NoDatafile);
  if (inspection.faultCount > 0) {
    return;
  }
  const Database database(path);
  for (std::size_t i = 0; i < inspection.tables.size(); ++i) {
    const HistoryDb::InspectedTable& table = inspection.tables[i];
    const HistoryDb::Table& expected = database.tables()[i];
    EXPECT_EQ(table.view.has_value(), expected.exists);
    if (!table.hasColumns) {
      continue;
    }
    ASSERT_EQ(table.rows.size(), expected.rows.size());
    for (std::size_t row = 0; row < table.rows.size(); ++row) {
      EXPECT_EQ(table.rows[row].key, expected.rows[row].key);
      EXPECT_EQ(table.rows[row].body, expected.rows[row].body);
    }
  }
  EXPECT_EQ(inspection.live + inspection.free, inspection.commit ? inspection.commit->end : 0);
}

class EachInspectedGoldenTest : public ::testing::TestWithParam<GoldenFile> {};

TEST_P(EachInspectedGoldenTest, IsWhatTheEngineOpens) {
  expectAgreement(GetParam().path);
}

INSTANTIATE_TEST_SUITE_P(Golden, EachInspectedGoldenTest,
                         ::testing::ValuesIn(TestSupport::goldenFiles()), TestSupport::caseName);

class InspectionTest : public ::testing::Test {
 protected:
  /// A file of two commits, with every kind of block, small bodies and memos.
  void makeFile() {
    c4_Storage storage(path.c_str(), 1);
    const c4_IntProp key("Key");
    const c4_BytesProp record("Record");
    const c4_StringProp text("text");
    const c4_DoubleProp real("real");
    const c4_ViewProp nodes("nodes");
    c4_View zones = storage.GetAs("ZoneHistory[Key:I,Record:B]");
    c4_View others = storage.GetAs("others[text:S,real:D,nodes[^]]");
    const std::string body(150, 'b');
    for (int row = 0; row < 4; ++row) {
      c4_Row zone;
      key(zone) = 1000 * row;
      record(zone) = c4_Bytes(body.data(), row % 2 == 0 ? 150 : 10 + row);
      zones.Add(zone);
      c4_Row node;
      text(node) = "some text";
      real(node) = 0.5;
      c4_View inner;
      inner.Add(node);
      nodes(node) = inner;
      others.Add(node);
      if (row == 2) {
        storage.Commit();
      }
    }
    storage.Commit();
  }

  void makeZones(const std::vector<std::pair<int, std::string>>& rows) {
    HistoryDb::NewDatabase database(path);
    database.addTable("ZoneHistory");
    for (const auto& [key, body] : rows) {
      database.addRow(key, body);
    }
    database.commit();
  }

  /// Replaces the last `from` in the file by `to`, of the same size.
  void patch(const std::string& from, const std::string& to) {
    std::string bytes = readFile(path);
    const std::size_t at = bytes.rfind(from);
    ASSERT_NE(at, std::string::npos);
    ASSERT_EQ(from.size(), to.size());
    bytes.replace(at, from.size(), to);
    writeFile(path, bytes);
  }

  static std::string walk(const std::vector<std::int32_t>& integers) {
    Metakit::Bytes bytes;
    for (const std::int32_t integer : integers) {
      Metakit::appendInteger(bytes, integer);
    }
    return {bytes.begin(), bytes.end()};
  }

  const TemporaryFolder folder;
  const std::string path = folder.path("file.mk");
};

TEST_F(InspectionTest, AgreesAtEveryLength) {
  makeFile();
  for (auto length = std::filesystem::file_size(path); length > 0; --length) {
    std::filesystem::resize_file(path, length - 1);
    expectAgreement(path);
  }
}

TEST_F(InspectionTest, AgreesWhateverChanges) {
  makeFile();
  const std::string bytes = readFile(path);
  std::mt19937 random(20);
  int damaged = 0;
  for (int round = 0; round < 1500 && !HasFailure(); ++round) {
    std::string changed = bytes;
    for (unsigned i = 0; i <= random() % 3; ++i) {
      changed[random() % changed.size()] ^= static_cast<char>(1U << random() % 8);
    }
    if (random() % 4 == 0) {
      changed.resize(random() % changed.size());
    }
    writeFile(path, changed);
    expectAgreement(path);
    damaged += inspect(path).faultCount > 0 ? 1 : 0;
  }
  // Neither all nor none, or nothing was shown.
  EXPECT_GT(damaged, 300);
  EXPECT_LT(damaged, 1450);
}

TEST_F(InspectionTest, TellsTheStateOfAFile) {
  const auto stateOf = [&](const std::string& bytes) {
    writeFile(path, bytes);
    return inspect(path).state;
  };
  const std::string whole = readFile(TestSupport::goldenFile("zones-only.mk").path);
  const std::string torn = readFile(TestSupport::goldenFile("torn-3.mk").path);
  EXPECT_EQ(stateOf(""), FileState::Empty);
  EXPECT_EQ(stateOf(whole), FileState::Whole);
  EXPECT_EQ(stateOf("in front" + whole), FileState::Whole);
  EXPECT_EQ(stateOf(torn), FileState::CutOff);
  EXPECT_EQ(stateOf(whole.substr(0, whole.size() - 1)), FileState::Damaged);
  EXPECT_EQ(stateOf(std::string("JL\x1A\0\0\0\0\0torn", 12)), FileState::Empty);
  EXPECT_EQ(stateOf("no database"), FileState::NoDatafile);
}

TEST_F(InspectionTest, CountsFromTheHeader) {
  const std::string whole = readFile(TestSupport::goldenFile("zones-only.mk").path);
  writeFile(path, "in front" + whole);
  const Inspection inspection = inspect(path);
  ASSERT_TRUE(inspection.commit.has_value());
  EXPECT_EQ(inspection.commit->base, 8);
  EXPECT_EQ(inspection.commit->end, static_cast<int>(whole.size()));
  EXPECT_EQ(inspection.behind, 0);
}

// What does not depend on a fault is looked at nevertheless.
TEST_F(InspectionTest, ListsEveryFaultWithItsPlace) {
  makeZones({{1, std::string(200, 'a')}, {2, std::string(201, 'b')}, {300, std::string(202, 'c')}});
  patch(walk({0, 200, 14}), walk({0, 8000, 14}));
  patch(walk({0, 202, 415}), walk({0, 202, 300}));
  patch(walk({0, 3, 6}), walk({0, 3, 5}));
  const Inspection inspection = inspect(path);
  EXPECT_EQ(inspection.state, FileState::Damaged);
  EXPECT_EQ(faultsOf(inspection),
            "ZoneHistory.Key: block of 5 bytes at 8 for 3 rows: no width fits\n"
            "ZoneHistory.Record row 0: block of 8000 bytes at 14 reaches past the end at 672\n"
            "ZoneHistory.Record row 2: block of 202 bytes at 300 overlaps the one of 201 bytes at "
            "214 of ZoneHistory.Record row 1\n");
  const auto& rows = inspection.tables[2].rows;
  ASSERT_EQ(rows.size(), 3U);
  EXPECT_FALSE(rows[1].key.has_value());
  EXPECT_FALSE(rows[0].body.has_value());
  EXPECT_EQ(rows[1].body, std::string(201, 'b'));
}

TEST_F(InspectionTest, TellsOfAnItemWithoutARow) {
  makeZones({{1, std::string(200, 'a')}, {2, std::string(201, 'b')}});
  patch(walk({0, 201}), walk({1, 201}));
  EXPECT_EQ(faultsOf(inspect(path)), "ZoneHistory.Record memos: an item of row 2, but 2 rows\n");
}

TEST_F(InspectionTest, TellsWhereAWalkCannotBeFollowed) {
  makeFile();
  patch(walk({0, 4, 8}), std::string(3, '\0'));
  EXPECT_EQ(faultsOf(inspect(path)), "ZoneHistory: the walk ends or is malformed at 669\n");
}

TEST_F(InspectionTest, TellsPlacesInNestedTables) {
  makeFile();
  patch(walk({0, 1, 10}), walk({0, 1, 11}));
  EXPECT_EQ(
      faultsOf(inspect(path)),
      "others.nodes row 3.text sizes: items of 10 bytes in a block of 11 bytes at 774\n"
      "others.nodes row 3.text sizes: block of 6 bytes at 784 overlaps the one of 11 bytes at "
      "774 of others.nodes row 3.text\n");
}

}  // namespace
