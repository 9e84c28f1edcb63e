// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/inspect/Copy.h"

#include <mk4.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "history-db/inspect/Inspection.h"
#include "history-db/records/NewDatabase.h"
#include "metakit/BytesColumn.h"
#include "metakit/Codec.h"
#include "metakit/Column.h"
#include "metakit/Datafile.h"
#include "metakit/IntColumn.h"
#include "metakit/Sequence.h"
#include "metakit/Structure.h"
#include "metakit/ViewColumn.h"
#include "metakit/WideColumn.h"
#include "tests/support/Child.h"
#include "tests/support/Golden.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using HistoryDb::inspect;
using HistoryDb::Inspection;
using Metakit::Sequence;
using TestSupport::goldenFile;
using TestSupport::GoldenFile;
using TestSupport::Outcome;
using TestSupport::readFile;
using TestSupport::TemporaryFolder;
using TestSupport::writeFile;

/// All that a table holds, nested tables included.
std::string contentsOf(const Sequence& table) {
  std::string text = '{' + table.structure().description() + '}';
  const auto& fields = table.structure().fields;
  for (std::int32_t row = 0; row < table.rows(); ++row) {
    for (std::size_t i = 0; i < fields.size(); ++i) {
      const Metakit::Column& column = table.columnAt(static_cast<int>(i));
      switch (fields[i].type) {
        case 'I':
        case 'F':
          text += std::to_string(static_cast<const Metakit::IntColumn&>(column).at(row));
          break;
        case 'L':
        case 'D':
          text += std::to_string(static_cast<const Metakit::WideColumn&>(column).at(row));
          break;
        case 'V':
          text += contentsOf(*static_cast<const Metakit::ViewColumn&>(column).at(row));
          break;
        default: {
          const auto item = static_cast<const Metakit::BytesColumn&>(column).at(row);
          text.append(reinterpret_cast<const char*>(item.bytes),
                      static_cast<std::size_t>(item.size));
        }
      }
      text += i + 1 < fields.size() ? ',' : ';';
    }
  }
  return text;
}

std::string contentsOf(const std::string& path) {
  Metakit::Datafile file(path.c_str(), false);
  EXPECT_TRUE(file.isValid()) << path;
  return contentsOf(*file.root());
}

Outcome copy(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), {HISTORY_DB, "copy"});
  return TestSupport::run(arguments);
}

class EachCopiedGoldenTest : public ::testing::TestWithParam<GoldenFile> {};

TEST_P(EachCopiedGoldenTest, IsTheSameAndCompact) {
  const TemporaryFolder folder;
  const std::string path = folder.path("copy.mk");
  const bool isCutOff = inspect(GetParam().path).state == HistoryDb::FileState::CutOff;
  const Outcome expected{
      isCutOff ? 1 : 0, "",
      isCutOff ? "history-db: " + GetParam().path +
                     ": Its last commit was cut off; the copy holds the one before it.\n"
               : ""};
  EXPECT_EQ(copy({GetParam().path, path}), expected);
  EXPECT_EQ(contentsOf(path), contentsOf(GetParam().path));
  const Inspection inspection = inspect(path);
  EXPECT_TRUE(inspection.state == HistoryDb::FileState::Whole || inspection.length == 0);
  EXPECT_LE(inspection.free, 512);
}

INSTANTIATE_TEST_SUITE_P(Golden, EachCopiedGoldenTest,
                         ::testing::ValuesIn(TestSupport::goldenFiles()), TestSupport::caseName);

class CopyTest : public ::testing::Test {
 protected:
  const TemporaryFolder folder;
  const std::string path = folder.path("file.mk");
  const std::string newPath = folder.path("copy.mk");
  const std::string told = "history-db: " + path + ": ";
};

/// Rows of every type, three deep, and properties of the root that are no views.
TEST_F(CopyTest, TakesEverythingThatCanBeStored) {
  {
    Metakit::Datafile file(path.c_str(), true);
    file.root()->restructure(Metakit::parseStructure(
        "number:I,t[i:I,l:L,f:F,d:D,b:B,s:S,v[a:I,t[^]]],n[id:I,n[^]],empty[],text:S,e[a:I]"));
    const auto fill = [](const auto& self, Sequence& table, int rows, int depth) -> void {
      for (std::int32_t row = table.rows(); row < rows; ++row) {
        table.append();
      }
      const auto& fields = table.structure().fields;
      for (std::int32_t row = 0; row < rows; ++row) {
        for (std::size_t i = 0; i < fields.size(); ++i) {
          Metakit::Column& column = table.columnAt(static_cast<int>(i));
          const std::string text(static_cast<std::size_t>(row * 60), 'x');
          switch (fields[i].type) {
            case 'I':
            case 'F':
              static_cast<Metakit::IntColumn&>(column).set(row, row * 70000 - 9);
              break;
            case 'L':
            case 'D':
              static_cast<Metakit::WideColumn&>(column).set(row, row * 70000000000 - 9);
              break;
            case 'V':
              if (depth > 0) {
                self(self, *static_cast<Metakit::ViewColumn&>(column).at(row), 1 + row % 3,
                     depth - 1);
              }
              break;
            default:
              static_cast<Metakit::BytesColumn&>(column).set(
                  row, text.data(), static_cast<std::int32_t>(text.size()));
          }
        }
      }
    };
    fill(fill, *file.root(), 1, 3);
    fill(fill, *static_cast<Metakit::ViewColumn&>(file.root()->columnAt(1)).at(0), 5, 2);
    ASSERT_EQ(file.commit(), 0);
  }
  EXPECT_EQ(copy({path, newPath}), (Outcome{0, "", ""}));
  EXPECT_EQ(contentsOf(newPath), contentsOf(path));
  EXPECT_GT(contentsOf(path).size(), 1900U);
}

TEST_F(CopyTest, OfNothingIsNothing) {
  writeFile(path, "");
  EXPECT_EQ(copy({path, newPath}), (Outcome{0, "", ""}));
  EXPECT_EQ(std::filesystem::file_size(newPath), 0U);
  writeFile(path, std::string("JL\x1A\0\0\0\0\0torn", 12));
  EXPECT_EQ(copy({"--force", path, newPath}),
            (Outcome{1, "", told + "Its first commit was cut off; there was nothing to copy.\n"}));
}

TEST_F(CopyTest, ReplacesNothingUnasked) {
  const std::string file = goldenFile("zones-only.mk").path;
  writeFile(newPath, "precious");
  EXPECT_EQ(copy({file, newPath}).status, 2);
  EXPECT_EQ(readFile(newPath), "precious");
  EXPECT_EQ(copy({"--force", file, newPath}).status, 0);
  EXPECT_EQ(contentsOf(newPath), contentsOf(file));
}

TEST_F(CopyTest, IsNeverTheFileItself) {
  writeFile(path, readFile(goldenFile("zones-only.mk").path));
  const std::string link = folder.path("link.mk");
  const std::string twin = folder.path("twin.mk");
  std::filesystem::create_symlink(path, link);
  std::filesystem::create_hard_link(path, twin);
  for (const std::string& other : {path, link, twin}) {
    EXPECT_EQ(
        copy({"--force", path, other}),
        (Outcome{2, "", "history-db: " + other + ": It is the file that is to be copied.\n"}));
  }
  EXPECT_EQ(readFile(path), readFile(goldenFile("zones-only.mk").path));
}

TEST_F(CopyTest, ReportsAFullDeviceWithTheNameOfTheCopy) {
  const Outcome outcome = TestSupport::inChild([&] {
    const rlimit limit = {1000, 1000};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    TestSupport::execute({HISTORY_DB, "copy", goldenFile("typical.mk").path, newPath});
  });
  EXPECT_EQ(
      outcome,
      (Outcome{2, "", "history-db: " + newPath + ": It cannot be written. File too large.\n"}));
  EXPECT_FALSE(std::filesystem::exists(newPath));
}

TEST_F(CopyTest, LeavesNothingWhenNothingCanBeRead) {
  writeFile(path, readFile(goldenFile("typical.mk").path).substr(0, 20));
  EXPECT_EQ(copy({path, newPath}),
            (Outcome{2, "",
                     told + "It is damaged: marks: the last commit ends at 58089, the file at 20: "
                            "it was cut short. Nothing of it can be read.\n"}));
  writeFile(path, "no database");
  EXPECT_EQ(copy({path, newPath}),
            (Outcome{2, "",
                     told + "It is not a datafile: marks: neither a header nor a tail is there. "
                            "Nothing of it can be read.\n"}));
  std::filesystem::remove(path);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path("")), {}), 0);
}

class SalvageTest : public CopyTest {
 protected:
  /// A file of two commits, one behind the other, with 1 and then 3 rows in ZoneHistory.
  void makeTwoCommits() {
    c4_Storage storage(path.c_str(), 1);
    c4_View zones = storage.GetAs("ZoneHistory[Key:I,Record:B]");
    c4_View notes = storage.GetAs("notes[text:S]");
    const auto add = [&](int keyOfRow, char c) {
      const c4_IntProp key("Key");
      const c4_BytesProp record("Record");
      const std::string body(200, c);
      c4_Row row;
      key(row) = keyOfRow;
      record(row) = c4_Bytes(body.data(), 200);
      zones.Add(row);
    };
    add(10, 'a');
    notes.Add(c4_Row());
    storage.Commit();
    older = std::filesystem::file_size(path);
    add(20, 'b');
    add(30, 'c');
    storage.Commit();
  }

  /// Replaces the last `from` in the file by `to`.
  void patch(const std::string& from, const std::string& to) {
    std::string bytes = readFile(path);
    const std::size_t at = bytes.rfind(from);
    ASSERT_NE(at, std::string::npos);
    bytes.replace(at, from.size(), to);
    writeFile(path, bytes);
  }

  std::string rowsOfCopy() const {
    std::string text;
    for (const HistoryDb::InspectedTable& table : inspect(newPath).tables) {
      for (const HistoryDb::InspectedRow& row : table.rows) {
        text += std::string(table.name.name) + ' ' + std::to_string(*row.key) + ' ' +
                row.body->front() + '\n';
      }
    }
    return text;
  }

  std::uintmax_t older = 0;
};

TEST_F(SalvageTest, TakesAnOlderCommit) {
  makeTwoCommits();
  const std::string before = readFile(path);
  const std::string length = std::to_string(before.size());
  const std::string cut = std::to_string(before.size() - 1);
  std::filesystem::resize_file(path, before.size() - 1);
  EXPECT_EQ(
      copy({path, newPath}),
      (Outcome{1, "",
               told + "It is damaged: marks: the last commit ends at " + length + ", the file at " +
                   cut + ": it was cut short.\n" + told +
                   "The copy holds what an older commit, which ended at " + std::to_string(older) +
                   ", leads to; what was committed later is lost. Later commits were free to "
                   "use its bytes, so records may hold what was written later, wholly or in "
                   "part.\n" +
                   told + "The copy holds ZoneHistory with 1 row, notes with 1 row.\n" + told +
                   "Nobody can vouch for the values in the copy.\n"}));
  EXPECT_EQ(rowsOfCopy(), "ZoneHistory 10 a\n");
  writeFile(folder.path("older"), before.substr(0, older));
  EXPECT_EQ(contentsOf(newPath), contentsOf(folder.path("older")));
}

TEST_F(SalvageTest, TakesTheRowsThatTheLastCommitStillLeadsTo) {
  makeTwoCommits();
  // The size of a body.
  patch("\x01\xC8\x02", "\x7F\xC8\x02");
  const Outcome outcome = copy({path, newPath});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.standardError.find(
                told + "The copy holds what the last commit still leads to.\n" + told +
                "ZoneHistory: the copy holds 2 of 3 rows; lost are rows 1 (key 20).\n" + told +
                "Lost as a whole, being no history: notes.\n" + told +
                "Nobody can vouch for the values in the copy.\n"),
            std::string::npos)
      << outcome;
  EXPECT_EQ(rowsOfCopy(), "ZoneHistory 10 a\nZoneHistory 30 c\n");
}

// Its tail is gone, but its root walk stands in the half that is there.
TEST_F(SalvageTest, TakesWhatARootWalkLeadsTo) {
  const std::string bytes = readFile(goldenFile("typical.mk").path);
  writeFile(path, bytes.substr(0, bytes.size() / 2));
  const Outcome outcome = copy({path, newPath});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.standardError.find(
                told + "The copy holds what a root walk at 4825, the last one or an older one, "
                       "leads to;"),
            std::string::npos)
      << outcome;
  EXPECT_NE(
      outcome.standardError.find(told + "TormaQuilletHistory: the copy holds all of 1 row.\n" +
                                 told + "nativeZoneHistory: the copy holds all of 4 rows.\n"),
      std::string::npos)
      << outcome;
  const HistoryDb::Database original(goldenFile("typical.mk").path);
  const HistoryDb::Database salvaged(newPath);
  for (const std::size_t table : {0U, 1U}) {
    const auto& rows = original.tables()[table].rows;
    ASSERT_EQ(salvaged.tables()[table].rows.size(), rows.size());
    for (std::size_t row = 0; row < rows.size(); ++row) {
      EXPECT_EQ(salvaged.tables()[table].rows[row].key, rows[row].key);
      EXPECT_EQ(salvaged.tables()[table].rows[row].body, rows[row].body);
    }
  }
}

// Whatever is cut off, there is a sound copy with rows that were once there, or none.
TEST_F(SalvageTest, HoldsWhereverItIsCutOff) {
  makeTwoCommits();
  HistoryDb::CopyOptions options{path, newPath, true};
  std::FILE* const messages = std::tmpfile();
  HistoryDb::Console console(stdout, messages);
  constexpr std::uintmax_t step = 7;
  for (auto length = std::filesystem::file_size(path); length > step; length -= step) {
    std::filesystem::resize_file(path, length - step);
    std::filesystem::remove(newPath);
    try {
      copy(options, console);
      const std::string rows = rowsOfCopy();
      EXPECT_EQ(
          std::string("ZoneHistory 10 a\nZoneHistory 20 b\nZoneHistory 30 c\n").rfind(rows, 0), 0U)
          << length << ": " << rows;
    } catch (const HistoryDb::Trouble&) {
      EXPECT_FALSE(std::filesystem::exists(newPath));
    }
  }
  std::fclose(messages);
}

}  // namespace
