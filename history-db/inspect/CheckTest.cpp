// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/inspect/Check.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "history-db/base/Trouble.h"
#include "history-db/records/Layout.h"
#include "history-db/records/NewDatabase.h"
#include "history-db/records/Value.h"
#include "persist/history/Schema0System.h"
#include "persist/history/Schema0Zone.h"
#include "persist/history/Schema1System.h"
#include "persist/history/Schema1Zone.h"
#include "tests/support/Child.h"
#include "tests/support/Golden.h"
#include "tests/support/TemporaryFolder.h"

namespace {

namespace Kiv = Pvn::Persist::History::Kiv;

using HistoryDb::Kind;
using HistoryDb::Layout;
using TestSupport::goldenFile;
using TestSupport::Outcome;
using TestSupport::readFile;
using TestSupport::writeFile;

template <class Record>
std::string bytesOf(const Record& record) {
  return {reinterpret_cast<const char*>(&record), sizeof record};
}

/// A record as a device leaves it after some days and months.
template <class Record>
std::string livedIn(Record record) {
  for (long day = 1; day < 12; ++day) {
    record.shiftDays(1000000000 + 86400 * day);
  }
  record.shiftMonths(1002000000);
  return bytesOf(record);
}

class CheckTest : public ::testing::Test {
 protected:
  struct Row {
    int key;
    std::string body;
  };

  void make(const std::string& table, const std::vector<Row>& rows) {
    HistoryDb::NewDatabase database(path);
    database.addTable(table);
    for (const Row& row : rows) {
      database.addRow(row.key, row.body);
    }
    database.commit();
  }

  std::string findings() const {
    std::string text;
    for (const HistoryDb::Finding& finding : HistoryDb::findingsIn(HistoryDb::InputFile(path))) {
      text += (finding.isError ? "error: " : "warning: ") + finding.where +
              (finding.where.empty() ? "" : ": ") + finding.what + '\n';
    }
    return text;
  }

  static Outcome check(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {HISTORY_DB, "check"});
    return TestSupport::run(arguments);
  }

  const TestSupport::TemporaryFolder folder;
  const std::string path = folder.path("file.mk");
};

TEST_F(CheckTest, FindsNothingInWhatADeviceStores) {
  make("TormaQuilletHistory", {{1, livedIn(Kiv::Schema0::Bramal::System::Record(1000000000))},
                               {2, bytesOf(Kiv::Schema0::Bramal::System::Record())}});
  EXPECT_EQ(findings(), "");
  TestSupport::writeFile(path, "");
  EXPECT_EQ(findings(), "");
  make("TormaQuilletHistory", {{1, livedIn(Kiv::Schema1::Bramal::System::Record(1000000000))},
                               {2, bytesOf(Kiv::Schema1::Bramal::System::Record())}});
  EXPECT_EQ(findings(), "");
  TestSupport::writeFile(path, "");
  make("ZoneHistory", {{1, livedIn(Kiv::Schema0::Bramal::Zone::Record(1, 1000000000))},
                       {2, bytesOf(Kiv::Schema0::Bramal::Zone::Record())},
                       {3, livedIn(Kiv::Schema1::Bramal::Zone::Record(3, 1000000000))},
                       {4, bytesOf(Kiv::Schema1::Bramal::Zone::Record())}});
  EXPECT_EQ(findings(), "");
  EXPECT_EQ(check({path}), (Outcome{0, path + ": 0 errors, 0 warnings\n", ""}));
}

/// A change of a field in a period of a zone's record that was lived in, and what is found then.
struct Change {
  const char* name;
  const char* ring;
  int index;
  const char* field;
  double value;
  const char* finding;
};

class CheckedRingTest : public CheckTest, public ::testing::WithParamInterface<Change> {};

TEST_P(CheckedRingTest, IsWarnedOf) {
  const Layout& layout = HistoryDb::layoutOf(Kind::Zone, 0);
  const Change& change = GetParam();
  std::string body = livedIn(Kiv::Schema0::Bramal::Zone::Record(7, 1000000000));
  const HistoryDb::Field& field = *layout.periodField(change.field);
  const HistoryDb::Ring& ring = layout.rings[change.ring == std::string("days") ? 0 : 1];
  const bool isDouble = field.type == HistoryDb::Type::Double;
  HistoryDb::putBits(
      body, ring.offset + change.index * layout.periodSize + field.offset, field.type,
      isDouble ? HistoryDb::bitsOf(change.value)
               : static_cast<std::uint32_t>(static_cast<std::int32_t>(change.value)));
  make("ZoneHistory", {{-5, body}});
  const std::string finding = change.finding;
  EXPECT_EQ(findings(), finding.empty() ? "" : "warning: ZoneHistory key -5 " + finding + '\n');
}

INSTANTIATE_TEST_SUITE_P(
    Each, CheckedRingTest,
    ::testing::Values(
        Change{"endsEarly", "days", 2, "time0", 1000777601,
               "days[2]: it ends before it begins: time0 1000777601, time1 1000777600"},
        Change{"newerThanTheCurrent", "days", 3, "time1", 1000950401,
               "days[3]: it is newer than the current one: 1000691200 to 1000950401 and "
               "1000950400 to 1000950400"},
        Change{"newerThanTheOneBefore", "days", 3, "time1", 1000800000,
               "days[3]: it is newer than days[2]: 1000691200 to 1000800000 and 1000777600 to "
               "1000777600"},
        Change{"newerMonth", "months", 1, "time1", 1002000001,
               "months[1]: it is newer than the current one: 1000000000 to 1002000001 and "
               "1002000000 to 1002000000"},
        Change{"sameTimeIsFine", "months", 1, "time1", 1002000000, ""},
        Change{"minimumAboveMaximum", "days", 0, "minA", 12.5,
               "days[0] minA: 12.5 is above maxA 0.0"},
        Change{"startMinimumAboveMaximum", "days", 0, "maxA", 12.5,
               "days[0] minA: 127.99 is above maxA 12.5"},
        Change{"nan", "months", 13, "realValue2", std::nan(""), "months[13] realValue2: NaN"},
        Change{"infinity", "days", 8, "realValue1", -HUGE_VAL, "days[8] realValue1: -Infinity"},
        Change{"nanAsMinimum", "days", 1, "minA", std::nan(""), "days[1] minA: NaN"}),
    [](const auto& change) { return std::string(change.param.name); });

TEST_F(CheckTest, LeavesUnusedPeriodsAlone) {
  const Layout& layout = HistoryDb::layoutOf(Kind::Zone, 0);
  std::string body = livedIn(Kiv::Schema0::Bramal::Zone::Record(7, 1000000000));
  for (const char* time : {"time0", "time1"}) {
    const HistoryDb::Field& field = *layout.periodField(time);
    for (const int index : {0, 4}) {
      HistoryDb::putBits(body, layout.rings[0].offset + index * layout.periodSize + field.offset,
                         field.type, 0);
    }
  }
  make("ZoneHistory", {{1, body}});
  EXPECT_EQ(findings(), "");
}

TEST_F(CheckTest, TellsOfSizesAndKeys) {
  const std::string zone = bytesOf(Kiv::Schema0::Bramal::Zone::Record());
  make("nativeZoneHistory", {{3, zone}, {-1, "short"}, {3, zone}, {4, ""}, {3, zone}});
  EXPECT_EQ(findings(),
            "error: nativeZoneHistory key -1: a record of 5 bytes, not of 2040\n"
            "error: nativeZoneHistory key 4: a record of 0 bytes, not of 2040\n"
            "error: nativeZoneHistory key 3: rows 0 and 2 have the same key\n"
            "error: nativeZoneHistory key 3: rows 2 and 4 have the same key\n");
}

TEST_F(CheckTest, TellsOfSystemsOfBothSchemas) {
  make("TormaQuilletHistory", {{1, bytesOf(Kiv::Schema0::Bramal::System::Record())},
                               {2, bytesOf(Kiv::Schema1::Bramal::System::Record())},
                               {3, "short"}});
  EXPECT_EQ(findings(),
            "error: TormaQuilletHistory key 3: a record of 5 bytes, not of 4624 or 6280\n"
            "error: TormaQuilletHistory: it has records of schema 0 and of schema 1\n");
}

TEST_F(CheckTest, TellsOfOtherStructures) {
  writeFile(path, readFile(goldenFile("other-structure.mk").path));
  EXPECT_EQ(findings().substr(0, 173),
            "error: TormaQuilletHistory: its structure is [Record:B,Key:I], not [Key:I,Record:B]\n"
            "error: nativeZoneHistory: its structure is [Key:I,Record:B,Note:S], not "
            "[Key:I,Record:B]\n");
}

TEST_F(CheckTest, TellsOfDamageAndGoesOn) {
  const std::string zone = bytesOf(Kiv::Schema0::Bramal::Zone::Record());
  make("ZoneHistory", {{1, zone}, {2, "short"}});
  std::string bytes = readFile(path);
  // The size of the first record, 2040.
  const std::size_t entry = bytes.rfind("\x0F\xF8");
  ASSERT_NE(entry, std::string::npos);
  bytes[entry] = '\x7F';
  writeFile(path, bytes);
  EXPECT_EQ(findings(),
            "error: ZoneHistory.Record row 0: block of 16376 bytes at 13 reaches past the end at "
            "2109\n"
            "error: ZoneHistory key 2: a record of 5 bytes, not of 2040\n");
  EXPECT_EQ(check({"-q", path}), (Outcome{1, "", ""}));
}

TEST_F(CheckTest, WarnsOfACommitThatWasCutOff) {
  const Outcome outcome = check({goldenFile("torn-3.mk").path});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.standardOutput.find(
                ": warning: the last commit was cut off; the one before it counts\n"),
            std::string::npos);
  writeFile(path, std::string("JL\x1A\0\0\0\0\0torn", 12));
  EXPECT_EQ(findings(), "warning: the first commit was cut off; there is nothing\n");
}

TEST_F(CheckTest, WorstFileCountsWhateverTheOrder) {
  const std::string fine = goldenFile("empty-tables.mk").path;
  const std::string torn = goldenFile("torn-3.mk").path;
  const std::string missing = folder.path("missing");
  EXPECT_EQ(check({"-q", fine}), (Outcome{0, "", ""}));
  EXPECT_EQ(check({"-q", torn, fine}), (Outcome{1, "", ""}));
  const Outcome trouble{
      2, "", "history-db: " + missing + ": It cannot be opened. No such file or directory.\n"};
  EXPECT_EQ(check({"-q", missing, torn, fine}), trouble);
  EXPECT_EQ(check({"-q", fine, torn, missing}), trouble);
  writeFile(path, "no database");
  EXPECT_EQ(check({path}),
            (Outcome{2, "",
                     "history-db: " + path +
                         ": It is no database: neither a header nor a tail is there.\n"}));
}

TEST_F(CheckTest, BoundsWhatItTells) {
  std::vector<Row> rows;
  rows.reserve(1500);
  for (int key = 0; key < 1500; ++key) {
    rows.push_back({key, ""});
  }
  make("ZoneHistory", rows);
  EXPECT_EQ(HistoryDb::findingsIn(HistoryDb::InputFile(path)).size(), HistoryDb::mostFindings);
  const Outcome outcome = check({path});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(std::count(outcome.standardOutput.begin(), outcome.standardOutput.end(), '\n'), 1001);
  const std::string last = path + ": 1500 errors, 0 warnings; the first 1000 are told\n";
  EXPECT_EQ(outcome.standardOutput.substr(outcome.standardOutput.size() - last.size()), last);
}

TEST_F(CheckTest, PrintsALineOfJsonForEachFile) {
  const std::string odd = folder.path("n\xC3\xA4me\n\xFF");
  make("ZoneHistory", {{1, "short"}});
  writeFile(odd, readFile(path));
  const Outcome outcome = check({"--json", odd, folder.path("missing")});
  EXPECT_EQ(outcome.status, 2);
  const std::size_t end = outcome.standardOutput.find('\n');
  const auto first = nlohmann::json::parse(outcome.standardOutput.substr(0, end));
  EXPECT_EQ(first, nlohmann::json({{"file", folder.path("n\xC3\xA4me\n\xEF\xBF\xBD")},
                                   {"errors", 1},
                                   {"warnings", 0},
                                   {"findings",
                                    {{{"severity", "error"},
                                      {"where", "ZoneHistory key 1"},
                                      {"what", "a record of 5 bytes, not of 2040"}}}}}));
  const auto second = nlohmann::json::parse(outcome.standardOutput.substr(end));
  EXPECT_EQ(second["trouble"],
            folder.path("missing") + ": It cannot be opened. No such file or directory.");
}

TEST_F(CheckTest, ReportsMoreRowsThanTheFileIsLargeEnoughFor) {
  make("ZoneHistory", std::vector<Row>(10000));
  EXPECT_EQ(findings(),
            "error: ZoneHistory: it has too many rows for the size of the file, 10000; none is "
            "checked\n");
}

}  // namespace
