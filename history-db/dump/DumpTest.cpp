// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/dump/Dump.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "history-db/base/Console.h"
#include "history-db/records/Layout.h"
#include "history-db/records/NewDatabase.h"
#include "history-db/records/Value.h"
#include "history-db/testing/ProgramTesting.h"
#include "tests/support/Golden.h"
#include "tests/support/KeptFile.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using HistoryDb::Kind;
using HistoryDb::Layout;
using HistoryDb::layoutOf;
using HistoryDb::NewDatabase;
using HistoryDb::Type;
using HistoryDbTesting::historyDb;
using TestSupport::goldenFile;
using TestSupport::Outcome;

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = text.find('\n', begin);
    lines.push_back(text.substr(begin, end - begin));
    begin = end == std::string::npos ? text.size() : end + 1;
  }
  return lines;
}

/// Of a row of CSV without quotes.
std::vector<std::string> columnsOf(const std::string& row) {
  std::vector<std::string> columns(1);
  for (const char c : row) {
    if (c == ',') {
      columns.emplace_back();
    } else {
      columns.back() += c;
    }
  }
  return columns;
}

class DumpTest : public ::testing::Test {
 protected:
  /// What is printed, if all goes well.
  std::string dumped(const std::vector<std::string>& arguments) const {
    std::vector<std::string> all = {"dump", path};
    all.insert(all.end(), arguments.begin(), arguments.end());
    const Outcome outcome = historyDb(all);
    EXPECT_EQ(outcome.status, 0) << outcome;
    EXPECT_EQ(outcome.standardError, "");
    return outcome.standardOutput;
  }

  void writeRows(const char* table, const std::vector<std::string>& bodies) const {
    NewDatabase database(path);
    database.addTable(table);
    std::int32_t key = 0;
    for (const std::string& body : bodies) {
      database.addRow(++key, body);
    }
    database.commit();
  }

  const TestSupport::TemporaryFolder folder;
  const std::string path = folder.path("file.mk");
};

TEST_F(DumpTest, HasAFormOfItsOwnForEachUse) {
  const std::string typical = goldenFile("typical.mk").path;
  const std::string odd = goldenFile("odd-sizes.mk").path;
  ASSERT_EQ(historyDb({"sample", path, "--zones", "1", "--native-zones", "0"}).status, 0);
  struct {
    const char* kept;
    std::vector<std::string> arguments;
  } const cases[] = {
      {"typical.json", {typical, "--key", "-1188879187", "--key", "62470293"}},
      {"odd-sizes.jsonl", {odd, "--format", "jsonl"}},
      {"sample.csv", {path, "--format", "csv"}},
  };
  for (const auto& [kept, arguments] : cases) {
    std::vector<std::string> all = {"dump"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    TestSupport::expectKept(std::string(PROJECT_FOLDER "/tests/data/dumps/") + kept,
                            historyDb(all).standardOutput);
  }
}

TEST_F(DumpTest, HasALineForEachRecordAndPeriod) {
  writeRows("ZoneHistory", {std::string(2040, '\0'), "odd"});
  const auto lines = linesOf(dumped({}));
  // Ends of the document and of its tables 8; 26 for the whole record, 23 of them for its
  // periods; 1.
  ASSERT_EQ(lines.size(), 35U);
  EXPECT_EQ(lines[0], R"({"historyDump": 1, "format": "json", "schema": "0 or 1", "tables": [)");
  EXPECT_EQ(lines[1], R"({"name": "TormaQuilletHistory", "kind": "System", "exists": false, )"
                      R"("rows": 0, "records": [)");
  EXPECT_EQ(lines[2], "]},");
  EXPECT_EQ(lines[6], R"({"key": 1, "size": 2040, "header": {"zone": 0, "headerWord1": 0, )"
                      R"("headerWord2": 0}, "days": [)");
  EXPECT_EQ(lines[7], R"({"index": 0, "time0": 0, "time1": 0, "shortArray": [0, 0, 0, 0], )"
                      R"("intValue1": 0, "intValue2": 0, "realValue1": 0.0, "intValue3": 0, )"
                      R"("minA": 0.0, "maxA": 0.0, "realValue2": 0.0, "realValue3": 0.0, )"
                      R"("intValue4": 0, "shortValue1": 0, "intValue5": 0},)");
  EXPECT_EQ(lines[32], R"({"key": 2, "size": 3, "bytes": "6f6464"})");
  EXPECT_EQ(linesOf(dumped({"--format", "jsonl"})).size(), 3U);
  // The title, 23 periods, and the odd record.
  EXPECT_EQ(linesOf(dumped({"--format", "csv"})).size(), 25U);
}

TEST_F(DumpTest, TellsTheSchemaOfItsRecords) {
  const std::string zero(4624, '\0');
  const std::string one(6280, '\0');
  struct {
    std::vector<std::string> bodies;
    const char* schema;
  } const cases[] = {{{}, "0 or 1"},
                     {{zero, zero}, "0"},
                     {{one}, "1"},
                     {{zero, one}, "mixed"},
                     {{zero, "odd"}, "mixed"}};
  for (const auto& [bodies, schema] : cases) {
    TestSupport::writeFile(path, "");
    writeRows("TormaQuilletHistory", bodies);
    EXPECT_NE(dumped({"--format", "jsonl"}).find(fmt::format("\"schema\": \"{}\"", schema)),
              std::string::npos)
        << schema;
  }
}

TEST_F(DumpTest, ShowsEachFieldOnceWhereItStands) {
  for (const Kind kind : {Kind::System, Kind::Zone}) {
    for (const int schema : {0, 1}) {
      const Layout& layout = layoutOf(kind, schema);
      TestSupport::writeFile(path, "");
      writeRows(kind == Kind::System ? "TormaQuilletHistory" : "ZoneHistory",
                {std::string(static_cast<std::size_t>(layout.size), '\0')});
      const std::string zeros = dumped({"--format", "jsonl"});
      // Each byte of a field changes the dump, each byte of padding leaves it as it is.
      std::vector<bool> isField(static_cast<std::size_t>(layout.size), false);
      const auto mark = [&](const HistoryDb::Field& field, int offset) {
        std::fill_n(isField.begin() + offset + field.offset, field.end() - field.offset, true);
      };
      for (const auto& field : layout.header) {
        mark(field, 0);
      }
      for (const auto& field : layout.period) {
        mark(field, layout.rings[0].offset);
        mark(field, layout.rings[1].offset + 13 * layout.periodSize);
      }
      for (std::size_t i = 0; i < isField.size(); i += 7) {
        const auto at = static_cast<int>(i);
        if (at >= layout.rings[0].offset + layout.periodSize &&
            at < layout.rings[1].offset + 13 * layout.periodSize) {
          continue;
        }
        TestSupport::writeFile(path, "");
        std::string body(isField.size(), '\0');
        body[i] = 1;
        writeRows(kind == Kind::System ? "TormaQuilletHistory" : "ZoneHistory", {body});
        EXPECT_EQ(dumped({"--format", "jsonl"}) != zeros, isField[i]) << i;
      }
    }
  }
}

TEST_F(DumpTest, NamesWhatIsNoNumber) {
  const Layout& layout = layoutOf(Kind::Zone, 0);
  std::string body(2040, '\0');
  const int days = layout.rings[0].offset;
  const auto put = [&](const char* field, std::uint64_t bits) {
    HistoryDb::putBits(body, days + layout.periodField(field)->offset, Type::Double, bits);
  };
  put("realValue1", 0x7FF8000000000000);
  put("minA", 0xFFF0000000000000);
  put("maxA", 0x7FF0000000000000);
  put("realValue2", 0x7FF8000000000001);
  put("realValue3", 0x8000000000000000);
  writeRows("ZoneHistory", {body});
  EXPECT_NE(dumped({}).find(R"("realValue1": "NaN", "intValue3": 0, "minA": "-Infinity", )"
                            R"("maxA": "Infinity", "realValue2": "NaN:7ff8000000000001", )"
                            R"("realValue3": -0.0,)"),
            std::string::npos);
  EXPECT_NE(dumped({"--format", "csv"}).find(",-Infinity,Infinity,,,-0.0,"), std::string::npos);
}

TEST_F(DumpTest, CsvHasAllColumnsInEachRow) {
  ASSERT_EQ(historyDb({"sample", path, "--schema", "1", "--zones", "1"}).status, 0);
  auto rows = linesOf(dumped({"--format", "csv"}));
  ASSERT_EQ(rows.size(), 1U + 6 * 23);
  const auto titles = columnsOf(rows.front());
  EXPECT_EQ(std::count(titles.begin(), titles.end(), "time0"), 1);
  EXPECT_EQ(std::count(titles.begin(), titles.end(), "intArray[10]\r"), 0);
  EXPECT_EQ(std::count(titles.begin(), titles.end(), "intArray[10]"), 1);
  EXPECT_EQ(std::count(titles.begin(), titles.end(), "shortArray[14]"), 1);
  EXPECT_EQ(std::count(titles.begin(), titles.end(), "shortArray"), 0);
  for (const std::string& row : rows) {
    EXPECT_EQ(row.back(), '\r');
    EXPECT_EQ(columnsOf(row).size(), titles.size()) << row;
  }
}

TEST_F(DumpTest, TakesOnlyWhatIsAskedFor) {
  ASSERT_EQ(historyDb({"sample", path, "--label", "--zones", "2", "--native-zones", "1"}).status,
            0);
  const std::string all = dumped({"--format", "jsonl"});
  const auto lines = linesOf(all);
  ASSERT_EQ(lines.size(), 5U);
  const auto zones = linesOf(dumped({"--format", "jsonl", "--table", "ZoneHistory"}));
  ASSERT_EQ(zones.size(), 3U);
  EXPECT_EQ(zones[0], R"({"historyDump": 1, "format": "jsonl", "schema": "0 or 1", "tables": [)"
                      R"({"name": "ZoneHistory", "kind": "Zone", "exists": true, "rows": 2}]})");
  EXPECT_EQ(zones[1], lines[3]);
  EXPECT_EQ(zones[2], lines[4]);

  const std::string prefix = R"({"table": "ZoneHistory", "key": )";
  const std::string key =
      zones[2].substr(prefix.size(), zones[2].find(',', prefix.size()) - prefix.size());
  const auto one = linesOf(dumped({"--format", "jsonl", "--key", key}));
  ASSERT_EQ(one.size(), 2U);
  EXPECT_EQ(one[1], lines[4]);

  EXPECT_EQ(
      historyDb({"dump", path, "--table", "TormaQuilletHistory", "--key", key}),
      (Outcome{2, "", "history-db: " + path + ": There is no record with the key " + key + ".\n"}));
  EXPECT_EQ(historyDb({"dump", path, "--table", "zone\nhistory"}),
            (Outcome{2, "",
                     "history-db: " + path +
                         ": There is no history table \"zone\\x0ahistory\"; there can be "
                         "TormaQuilletHistory, nativeZoneHistory, ZoneHistory.\n"}));
}

TEST_F(DumpTest, TellsWhatItLeavesOut) {
  const std::string other = goldenFile("other-views.mk").path;
  const Outcome outcome = historyDb({"dump", "--table", "nativeZoneHistory", other});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.standardError,
            "history-db: " + other +
                ": It holds more than histories, which is left out: settings, "
                "plant, journal.\n");
}

TEST_F(DumpTest, PrintsNothingOfWhatCannotBeRead) {
  TestSupport::writeFile(path, "no database");
  const Outcome outcome = historyDb({"dump", path});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.standardOutput, "");
}

TEST_F(DumpTest, PrintsEmptyRecordsInParts) {
  {
    HistoryDb::NewDatabase database(path);
    database.addTable("ZoneHistory");
    for (int row = 0; row < 8000; ++row) {
      database.addRow(row, "");
    }
    database.commit();
  }
  for (const char* format : {"json", "jsonl", "csv"}) {
    std::size_t largest = 0;
    std::FILE* const output = ::fopencookie(&largest, "w",
                                            {nullptr,
                                             [](void* cookie, const char*, std::size_t size) {
                                               auto& most = *static_cast<std::size_t*>(cookie);
                                               most = std::max(most, size);
                                               return static_cast<ssize_t>(size);
                                             },
                                             nullptr, nullptr});
    std::setvbuf(output, nullptr, _IONBF, 0);
    HistoryDb::Console console(output, stderr);
    HistoryDb::DumpOptions options;
    options.file = path;
    options.format = format;
    HistoryDb::dump(options, console);
    std::fclose(output);
    EXPECT_GT(largest, 1000U) << format;
    EXPECT_LT(largest, 100000U) << format;
  }
}

}  // namespace
