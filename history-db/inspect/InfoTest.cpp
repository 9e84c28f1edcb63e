// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "history-db/records/NewDatabase.h"
#include "tests/support/Child.h"
#include "tests/support/Golden.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using TestSupport::goldenFile;
using TestSupport::Outcome;
using TestSupport::readFile;
using TestSupport::writeFile;

Outcome info(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), {HISTORY_DB, "info"});
  return TestSupport::run(arguments);
}

class InfoTest : public ::testing::Test {
 protected:
  const TestSupport::TemporaryFolder folder;
  const std::string path = folder.path("file.mk");
};

TEST_F(InfoTest, TellsAFactALine) {
  EXPECT_EQ(info({goldenFile("big-endian.mk").path}), (Outcome{0, R"(length: 17026
byte order: big-endian
state: whole
last commit: root walk of 73 bytes at 16937, end at 17026
bytes before: 0
live bytes: 17026
free bytes: 0
bytes behind: 0
view TormaQuilletHistory: [Key:I,Record:B], 1 row
view ZoneHistory: [Key:I,Record:B], 6 rows
TormaQuilletHistory kind: System
TormaQuilletHistory schema: 0
TormaQuilletHistory keys: 1000 to 1000
TormaQuilletHistory duplicate keys: 0
ZoneHistory kind: Zone
ZoneHistory schema: 0 or 1
ZoneHistory keys: -70000 to 70000
ZoneHistory duplicate keys: 0
)",
                                                               ""}));
}

TEST_F(InfoTest, NamesOtherSizesAndDuplicates) {
  {
    HistoryDb::NewDatabase database(path);
    database.addTable("TormaQuilletHistory");
    for (const std::size_t size : {4624U, 6280U, 5U, 5U, 0U}) {
      database.addRow(7, std::string(size, '\0'));
    }
    database.addTable("ZoneHistory");
    for (std::size_t size = 100; size < 112; ++size) {
      database.addRow(-static_cast<int>(size), std::string(size, '\0'));
    }
    database.commit();
  }
  const Outcome outcome = info({path});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.standardOutput.substr(outcome.standardOutput.find("TormaQuilletHistory kind")),
            "TormaQuilletHistory kind: System\n"
            "TormaQuilletHistory schema: mixed\n"
            "TormaQuilletHistory other sizes: 0 (1 record), 5 (2 records)\n"
            "TormaQuilletHistory keys: 7 to 7\n"
            "TormaQuilletHistory duplicate keys: 4\n"
            "ZoneHistory kind: Zone\n"
            "ZoneHistory schema: 0 or 1\n"
            "ZoneHistory other sizes: 100 (1 record), 101 (1 record), 102 (1 record), 103 (1 "
            "record), 104 (1 record), 105 (1 record), 106 (1 record), 107 (1 record), 108 (1 "
            "record), 109 (1 record) and 2 more\n"
            "ZoneHistory keys: -111 to -100\n"
            "ZoneHistory duplicate keys: 0\n");
}

TEST_F(InfoTest, TellsEachStateByItsStatus) {
  const std::string whole = readFile(goldenFile("zones-only.mk").path);
  const struct {
    std::string bytes;
    int status;
    std::string state;
  } cases[] = {
      {whole, 0, "whole"},
      {"", 0, "empty"},
      {std::string("JL\x1A\0\0\0\0\0torn", 12), 1, "empty, the first commit was cut off"},
      {readFile(goldenFile("torn-3.mk").path), 1, "last commit cut off, the one before it counts"},
      {whole.substr(0, 1000), 2,
       "damaged, marks: the last commit ends at " + std::to_string(whole.size()) +
           ", the file at 1000: it was cut short"},
      {"no database", 2, "not a datafile, marks: neither a header nor a tail is there"},
  };
  for (const auto& one : cases) {
    writeFile(path, one.bytes);
    const Outcome outcome = info({path});
    EXPECT_EQ(outcome.status, one.status) << one.state;
    EXPECT_NE(outcome.standardOutput.find("\nstate: " + one.state + '\n'), std::string::npos)
        << outcome;
    EXPECT_EQ(outcome.standardError.empty(), one.status < 2) << outcome;
    EXPECT_EQ(info({"-q", path}), (Outcome{one.status, "", outcome.standardError}));
  }
}

TEST_F(InfoTest, GoesOnBehindABadFile) {
  const std::string whole = goldenFile("zones-only.mk").path;
  writeFile(path, "no database");
  const std::string missing = folder.path("missing");
  const Outcome alone = info({whole});
  EXPECT_EQ(
      info({missing, path, whole}),
      (Outcome{2,
               "file: " + path +
                   "\nlength: 11\nstate: not a datafile, marks: neither a header nor a tail "
                   "is there\nfaults: 1\nbytes behind: 0\n\nfile: " +
                   whole + '\n' + alone.standardOutput + '\n',
               "history-db: " + missing +
                   ": It cannot be opened. No such file or directory.\nhistory-db: " + path +
                   ": It is not a datafile: marks: neither a header nor a tail is there.\n"}));
}

TEST_F(InfoTest, EscapesNamesFromAFile) {
  {
    HistoryDb::NewDatabase database(path);
    database.addTable("\x1B\xFF\nname");
    database.commit();
  }
  const std::string output = info({path}).standardOutput;
  EXPECT_NE(output.find("view \\x1b\\xff\\x0aname: ["), std::string::npos) << output;
}

TEST_F(InfoTest, PrintsALineOfJsonForEachFile) {
  const std::string odd = folder.path("n\xC3\xA4me\n\xFF");
  writeFile(odd, readFile(goldenFile("torn-3.mk").path));
  const Outcome outcome = info({"--json", odd, folder.path("missing")});
  EXPECT_EQ(outcome.status, 2);
  const std::size_t end = outcome.standardOutput.find('\n');
  const auto first = nlohmann::json::parse(outcome.standardOutput.substr(0, end));
  EXPECT_EQ(first["file"], folder.path("n\xC3\xA4me\n\xEF\xBF\xBD"));
  EXPECT_EQ(first["state"], "last commit cut off");
  EXPECT_EQ(first["commit"]["end"], 6197);
  EXPECT_EQ(first["bytesBehind"], 8238);
  EXPECT_EQ(first["views"].dump(),
            R"([{"name":"ZoneHistory","rows":3,"structure":"Key:I,Record:B"}])");
  EXPECT_EQ(first["histories"][0]["schema"], "0 or 1");
  EXPECT_EQ(first["histories"][0]["lastKey"], 20);
  const auto second = nlohmann::json::parse(outcome.standardOutput.substr(end));
  EXPECT_EQ(second["trouble"],
            folder.path("missing") + ": It cannot be opened. No such file or directory.");
}

TEST_F(InfoTest, PrintsTheSameWithManyJobs) {
  std::vector<std::string> arguments;
  for (const TestSupport::GoldenFile& golden : TestSupport::goldenFiles()) {
    arguments.push_back(golden.path);
  }
  const Outcome expected = info(arguments);
  arguments.insert(arguments.begin(), {"--jobs", "8"});
  EXPECT_EQ(info(arguments), expected);
}

TEST_F(InfoTest, ReportsMoreRecordsThanTheFileIsLargeEnoughFor) {
  {
    HistoryDb::NewDatabase database(path);
    database.addTable("nativeZoneHistory");
    for (int row = 0; row < 10000; ++row) {
      database.addRow(row, "");
    }
    database.commit();
  }
  const Outcome outcome = info({path});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.standardOutput.substr(outcome.standardOutput.find("view ")),
            "view nativeZoneHistory: [Key:I,Record:B], 10000 rows\n"
            "nativeZoneHistory kind: Zone\n"
            "nativeZoneHistory records: too many for the size of the file\n");
  const auto json = nlohmann::json::parse(info({"--json", path}).standardOutput);
  EXPECT_EQ(json["histories"][0]["tooManyRecords"], true);
  const auto other =
      nlohmann::json::parse(info({"--json", goldenFile("typical.mk").path}).standardOutput);
  EXPECT_EQ(other["histories"][0]["tooManyRecords"], false);
}

}  // namespace
