// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/dump/Load.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "history-db/records/Database.h"
#include "history-db/records/Layout.h"
#include "history-db/records/NewDatabase.h"
#include "history-db/records/Value.h"
#include "history-db/testing/ProgramTesting.h"
#include "tests/support/Golden.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using HistoryDb::Database;
using HistoryDbTesting::historyDb;
using TestSupport::Outcome;
using TestSupport::readFile;
using TestSupport::writeFile;

class LoadTest : public ::testing::Test {
 protected:
  /// What `dump` prints of a file.
  static std::string dumpOf(const std::string& file, const std::string& format) {
    return historyDb({"dump", file, "--format", format}).standardOutput;
  }

  /// Loads a document and expects that it is the dump of what is written.
  void expectKept(const std::string& text, const std::string& format) const {
    writeFile(document, text);
    ASSERT_EQ(historyDb({"load", "--force", document, path}), (Outcome{0, "", ""}));
    // Not EXPECT_EQ: the texts may be long.
    EXPECT_TRUE(dumpOf(path, format) == text);
  }

  /// What is complained about behind the document's name; nothing is written then.
  std::string troubleOf(const std::string& text) const {
    writeFile(document, text);
    const Outcome outcome = historyDb({"load", document, path});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.standardOutput, "");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path("")), {}), 1);
    const std::string beginning = "history-db: " + document + ":";
    EXPECT_EQ(outcome.standardError.rfind(beginning, 0), 0U) << outcome;
    return outcome.standardError.substr(beginning.size());
  }

  const TestSupport::TemporaryFolder folder;
  const std::string document = folder.path("document");
  const std::string path = folder.path("loaded.mk");
};

/// A dump of a labelled sample with one native zone.
class LoadedSampleTest : public LoadTest {
 protected:
  LoadedSampleTest() {
    EXPECT_EQ(historyDb({"sample", path, "--label", "--systems", "0", "--zones", "0",
                         "--native-zones", "1"})
                  .status,
              0);
    json = dumpOf(path, "json");
    jsonl = dumpOf(path, "jsonl");
    std::filesystem::remove(path);
  }

  static std::string replaced(std::string text, const std::string& old, const std::string& other) {
    const std::size_t found = text.find(old);
    EXPECT_NE(found, std::string::npos) << old;
    return text.replace(found, old.size(), other);
  }

  std::string json;
  std::string jsonl;
};

class EachGoldenDumpTest : public LoadTest,
                           public ::testing::WithParamInterface<TestSupport::GoldenFile> {};

TEST_P(EachGoldenDumpTest, IsThatOfTheLoadedFile) {
  const std::string converted = folder.path("converted.mk");
  ASSERT_EQ(TestSupport::run({HISTORY_CONVERT, "-q", GetParam().path, "0", converted, "1"}).status,
            0);
  for (const std::string& file : {GetParam().path, converted}) {
    for (const char* format : {"json", "jsonl"}) {
      expectKept(dumpOf(file, format), format);
    }
  }
}

TEST_P(EachGoldenDumpTest, BringsBackAllBytesButPadding) {
  writeFile(document, dumpOf(GetParam().path, "jsonl"));
  ASSERT_EQ(historyDb({"load", document, path}).status, 0);
  const Database original(GetParam().path);
  const Database loaded(path);
  for (std::size_t t = 0; t < HistoryDb::tableNames.size(); ++t) {
    const auto& rows = original.tables()[t].rows;
    const auto& loadedRows = loaded.tables()[t].rows;
    EXPECT_EQ(loaded.tables()[t].exists, original.tables()[t].exists);
    ASSERT_EQ(loadedRows.size(), rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
      EXPECT_EQ(loadedRows[i].key, rows[i].key);
      std::string expected(rows[i].body);
      const auto* const layout =
          HistoryDb::layoutOfSize(HistoryDb::tableNames[t].kind, expected.size());
      if (layout != nullptr) {
        std::string values(expected.size(), '\0');
        const auto take = [&](HistoryDb::List<HistoryDb::Field> fields, int offset) {
          for (const auto& field : fields) {
            const int begin = offset + field.offset;
            const int end = offset + field.end();
            std::copy(expected.begin() + begin, expected.begin() + end, values.begin() + begin);
          }
        };
        take(layout->header, 0);
        for (const auto& ring : layout->rings) {
          for (int n = 0; n < ring.count; ++n) {
            take(layout->period, ring.offset + n * layout->periodSize);
          }
        }
        expected = values;
      }
      EXPECT_TRUE(loadedRows[i].body == expected);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Golden, EachGoldenDumpTest,
                         ::testing::ValuesIn(TestSupport::goldenFiles()), TestSupport::caseName);

TEST_F(LoadTest, KeepsAllBitsOfNumbers) {
  std::string body(2040, '\0');
  const auto& layout = HistoryDb::layoutOf(HistoryDb::Kind::Zone, 0);
  const auto* const field = layout.periodField("realValue1");
  const std::vector<std::uint64_t> bits = {
      0x0000000000000000, 0x8000000000000000, 0x0000000000000001, 0x000FFFFFFFFFFFFF,
      0x0010000000000000, 0x7FEFFFFFFFFFFFFF, 0x7FF0000000000000, 0xFFF0000000000000,
      0x7FF8000000000000, 0xFFF8000000000000, 0x7FF0000000000001, 0x3FF0000000000001,
      0x4340000000000001, 0xC3E0000000000000, 0x3FB999999999999A, 0x43E0000000000000};
  for (std::size_t i = 0; i < bits.size(); ++i) {
    HistoryDb::putBits(body, layout.rings[0].offset + field->offset + static_cast<int>(i) * 88,
                       field->type, bits[i]);
  }
  {
    HistoryDb::NewDatabase database(path);
    database.addTable("ZoneHistory");
    database.addRow(-1, body);
    database.commit();
  }
  expectKept(dumpOf(path, "json"), "json");
  EXPECT_TRUE(Database(path).tables()[2].rows[0].body == body);
}

TEST_F(LoadedSampleTest, ReadsStandardInput) {
  writeFile(document, jsonl);
  const Outcome outcome =
      TestSupport::run({"/bin/sh", "-c", HISTORY_DB " load - " + path + " <" + document});
  EXPECT_EQ(outcome, (Outcome{0, "", ""}));
  EXPECT_EQ(dumpOf(path, "jsonl"), jsonl);
}

TEST_F(LoadedSampleTest, WhiteSpaceMeansNothing) {
  std::string spread;
  for (const char c : json) {
    spread += c == '\n' ? "" : std::string(1, c);
    spread += c == ',' || c == '[' ? "\n\t " : "";
  }
  writeFile(document, spread + "\n\n");
  ASSERT_EQ(historyDb({"load", document, path}), (Outcome{0, "", ""}));
  EXPECT_EQ(dumpOf(path, "json"), json);
}

TEST_F(LoadedSampleTest, TakesAnIntegerForADouble) {
  for (const auto& [old, number, shown] : std::vector<std::array<std::string, 3>>{
           {"200000001013.5", "-0", "-0.0"},
           {"200000001013.5", "7", "7.0"},
           {"200000001013.5", "9007199254740993", "9007199254740992.0"},
           {"200000001013.5", "18446744073709551616", "1.8446744073709552e+19"}}) {
    writeFile(document, replaced(json, old, number));
    ASSERT_EQ(historyDb({"load", "-f", document, path}), (Outcome{0, "", ""})) << number;
    EXPECT_EQ(dumpOf(path, "json"), replaced(json, old, shown));
  }
}

TEST_F(LoadedSampleTest, TellsWhereADocumentIsWrong) {
  struct {
    const char* old;
    const char* other;
    const char* trouble;
  } const cases[] = {
      {"\"historyDump\": 1", "\"historyDump\": 2",
       "1:18: historyDump: This program knows documents of version 1 only."},
      {"\"historyDump\": 1", "\"historyDump\": \"1\"",
       "1:19: historyDump: Here should be an integer, not \"1\"."},
      {"\"historyDump\": 1, ", "",
       "1:9: Here should be the member \"historyDump\", not the member \"format\"."},
      {"\"format\": \"json\"", "\"format\": \"xml\"",
       "1:34: format: Here should be \"json\" or \"jsonl\", not \"xml\"."},
      {"\"schema\": \"0 or 1\"", "\"schema\": 0",
       "1:49: schema: Here should be \"0 or 1\" or \"0\" or \"1\" or \"mixed\", not an integer."},
      {"\"schema\": \"0 or 1\"", "\"schema\": \"1\"",
       "34:3: The document's schema is \"1\", but that of its records is \"0 or 1\"."},
      {"\"TormaQuilletHistory\"", "\"\\u001b\"",
       "2:17: tables[0].name: Here should be \"TormaQuilletHistory\" or \"nativeZoneHistory\" or "
       "\"ZoneHistory\", not \"\\x1b\"."},
      {"\"TormaQuilletHistory\", \"kind\": \"System\"", "\"nativeZoneHistory\", \"kind\": \"Zone\"",
       "4:28: tables[1].name: The table is not where it belongs."},
      {"\"kind\": \"System\"", "\"kind\": \"Zone\"",
       "2:46: tables[0].kind: Here should be \"System\", not \"Zone\"."},
      {"\"exists\": true", "\"exists\": 1",
       "2:62: tables[0].exists: Here should be true or false, not an integer."},
      {"\"exists\": true, \"rows\": 1", "\"exists\": false, \"rows\": 1",
       "4:73: tables[1].rows: Here should be 0."},
      {"\"rows\": 1", "\"rows\": -1",
       "4:73: tables[1].rows: Here should be an integer from 0 to 2147483647."},
      {"\"rows\": 1", "\"rows\": 0",
       "5:33: tables[1].records[0].size: nativeZoneHistory should have no more than 0 records."},
      {"\"rows\": 1", "\"rows\": 2",
       "31:2: tables[1]: nativeZoneHistory should have 2 records and has 1."},
      {"\"size\": 2040", "\"size\": 2041",
       "5:42: tables[1].records[0]: Here should be the member \"bytes\", not the member "
       "\"header\"."},
      {"\"headerWord1\": 200000002, ", "",
       "5:77: tables[1].records[0].header: Here should be the member \"headerWord1\", not the "
       "member "
       "\"headerWord2\"."},
      {"\"days\"", "\"months\"",
       "5:125: tables[1].records[0]: Here should be the member \"days\", not the member "
       "\"months\"."},
      {"\"index\": 3", "\"index\": 4",
       "9:12: tables[1].records[0].days[3].index: Here should be 3."},
      {"\"time1\"", "\"time0\"",
       "6:40: tables[1].records[0].days[0]: Here should be the member \"time1\", not the member "
       "\"time0\"."},
      {"\"time1\"", "\"ti\\u0000me\"",
       "6:45: tables[1].records[0].days[0]: Here should be the member \"time1\", not the member "
       "\"ti\\x00me\"."},
      {"200001001", "2147483648",
       "6:33: tables[1].records[0].days[0].time0: Here should be an integer from -2147483648 to "
       "2147483647."},
      {"200001001", "200001001.0",
       "6:34: tables[1].records[0].days[0].time0: Here should be an integer, not a fraction."},
      {"200001001", "[200001001]",
       "6:23: tables[1].records[0].days[0].time0: Here should be a value, not an array."},
      {"200001001", "null",
       "6:26: tables[1].records[0].days[0].time0: Here should be an integer, not null."},
      {"200001001", "1e999",
       "6:28: tables[1].records[0].days[0].time0: This is no JSON, or a number that is too large."},
      {"200001001", "0x10",
       "6:24: tables[1].records[0].days[0]: This is no JSON, or a number that is too large."},
      {"\"shortArray\": [", "\"shortArray\": [-32769, ",
       "6:75: tables[1].records[0].days[0].shortArray[0]: Here should be an integer from -32768 to "
       "32767."},
      {"\"shortArray\": [", "\"shortArray\": [0, ",
       "6:94: tables[1].records[0].days[0].shortArray[4]: Here should be the end of the array, "
       "not "
       "an integer."},
      {"200000001013.5", "\"nan\"",
       "6:262: tables[1].records[0].days[0].realValue2: Here should be a number, \"NaN\", \"NaN:\" "
       "with "
       "16 "
       "hexadecimal digits, \"Infinity\" or \"-Infinity\", not \"nan\"."},
      {"200000001013.5", "true",
       "6:261: tables[1].records[0].days[0].realValue2: Here should be a number, \"NaN\", \"NaN:\" "
       "with "
       "16 "
       "hexadecimal digits, \"Infinity\" or \"-Infinity\", not true."},
      {"\n]},\n{\"name\": \"ZoneHistory\"", "\n]}}",
       "31:3: tables[2]: This is no JSON, or a number that is too large."},
  };
  for (const auto& [old, other, trouble] : cases) {
    EXPECT_EQ(troubleOf(replaced(json, old, other)), std::string(trouble) + "\n") << old << other;
  }
}

TEST_F(LoadedSampleTest, TakesNoPartOfADocumentAndNothingBehindIt) {
  for (const std::size_t size :
       {std::size_t{0}, std::size_t{1}, json.size() / 2, json.size() - 2}) {
    EXPECT_NE(troubleOf(json.substr(0, size)).find("The document ends too early, or is no JSON.\n"),
              std::string::npos)
        << size;
  }
  const std::size_t firstLine = jsonl.find('\n') + 1;
  EXPECT_EQ(
      troubleOf(jsonl.substr(0, firstLine)),
      "1:" + std::to_string(firstLine) + ": nativeZoneHistory should have 1 records and has 0.\n");
  EXPECT_EQ(troubleOf(jsonl + jsonl.substr(firstLine)),
            "3:63: size: nativeZoneHistory should have no more than 1 records.\n");
  const std::string over = "35:1: The document is over, but something follows.\n";
  for (const std::string& more :
       {std::string("x"), std::string("{}"), std::string(1, '\0'), json}) {
    EXPECT_EQ(troubleOf(json + more), over);
  }
  EXPECT_EQ(troubleOf(jsonl + "]"), "3:1: The document ends too early, or is no JSON.\n");
}

TEST_F(LoadedSampleTest, TakesRecordsOfTheirTablesInOrder) {
  const std::string head =
      R"({"historyDump": 1, "format": "jsonl", "schema": "0 or 1", "tables": [)"
      R"({"name": "TormaQuilletHistory", "kind": "System", "exists": false, "rows": 0}, )"
      R"({"name": "nativeZoneHistory", "kind": "Zone", "exists": true, "rows": 1}, )"
      R"({"name": "ZoneHistory", "kind": "Zone", "exists": true, "rows": 2}]})"
      "\n";
  const auto row = [](const char* table, int key) {
    return fmt::format(R"({{"table": "{}", "key": {}, "size": 1, "bytes": "ff"}})"
                       "\n",
                       table, key);
  };
  expectKept(head + row("nativeZoneHistory", 5) + row("ZoneHistory", 7) + row("ZoneHistory", 5),
             "jsonl");
  std::filesystem::remove(path);
  EXPECT_EQ(troubleOf(head + row("nativeZoneHistory", 5) + row("ZoneHistory", 7) +
                      row("nativeZoneHistory", 5)),
            "4:29: table: The record stands behind those of a later table.\n");
  EXPECT_EQ(troubleOf(head + row("ZoneHistory", 7)),
            "2:23: table: nativeZoneHistory should have 1 records and has 0.\n");
}

TEST_F(LoadTest, ChecksTheBytesOfOddRecords) {
  const std::string head =
      R"({"historyDump": 1, "format": "jsonl", "schema": "0 or 1", "tables": [)"
      R"({"name": "ZoneHistory", "kind": "Zone", "exists": true, "rows": 1}]})"
      "\n";
  for (const char* bytes : {"\"\"", "\"f\"", "\"ffff\"", "12", "null"}) {
    EXPECT_NE(troubleOf(head + R"({"table": "ZoneHistory", "key": 1, "size": 1, "bytes": )" +
                        bytes + "}\n")
                  .find("bytes: Here should be 1 bytes in hexadecimal digits.\n"),
              std::string::npos)
        << bytes;
  }
  for (const char* bytes : {"\"FF\"", "\"0g\"", "\" 1\""}) {
    EXPECT_NE(troubleOf(head + R"({"table": "ZoneHistory", "key": 1, "size": 1, "bytes": )" +
                        bytes + "}\n")
                  .find("bytes: These should be hexadecimal digits.\n"),
              std::string::npos)
        << bytes;
  }
}

TEST_F(LoadTest, IsNotOverwhelmed) {
  EXPECT_EQ(troubleOf(std::string(1000000, '[')), "1:1: Here should be an object, not an array.\n");
  EXPECT_EQ(troubleOf("{\"historyDump\": " + std::string(17U << 20U, '1')),
            "1:16777231: Here is a text of more than 16 MiB.\n");
}

TEST_F(LoadedSampleTest, LoadsABrokenDocumentWholeOrNotAtAll) {
  HistoryDb::Console console(stdout, stderr);
  std::minstd_rand random;
  const std::string pieces[] = {"{", "}", "[", "]", ",", "\"", "0", "-", "\\u0000", "\xff", "\n"};
  int refused = 0;
  for (int i = 0; i < 200; ++i) {
    std::string text = i % 2 == 0 ? json : jsonl;
    const std::size_t at = random() % text.size();
    const std::string& piece = pieces[random() % std::size(pieces)];
    text.replace(at, random() % 20, piece);
    writeFile(document, text);
    try {
      load({document, path, true}, console);
      EXPECT_EQ(Database(path).tables()[1].rows.size(), 1U);
    } catch (const HistoryDb::Trouble& trouble) {
      EXPECT_EQ(std::string(trouble.what()).rfind(document + ":", 0), 0U) << trouble.what();
      EXPECT_FALSE(std::filesystem::exists(path));
      ++refused;
    }
    std::filesystem::remove(path);
  }
  EXPECT_GT(refused, 150);
}

TEST_F(LoadedSampleTest, ReplacesAFileOnlyWhenItIsTold) {
  writeFile(document, json);
  writeFile(path, "old");
  EXPECT_EQ(historyDb({"load", document, path}),
            (Outcome{2, "", "history-db: " + path + ": It exists; --force replaces it.\n"}));
  writeFile(document, "{}");
  EXPECT_EQ(historyDb({"load", "--force", document, path}).status, 2);
  EXPECT_EQ(readFile(path), "old");
  writeFile(document, json);
  EXPECT_EQ(historyDb({"load", "--force", document, path}).status, 0);
  EXPECT_EQ(dumpOf(path, "json"), json);
  EXPECT_EQ(historyDb({"load", "--force", document, document}),
            (Outcome{2, "", "history-db: " + document + ": It is the document itself.\n"}));
  EXPECT_EQ(readFile(document), json);
}

TEST_F(LoadTest, TellsWhichFilesCannotBeUsed) {
  EXPECT_EQ(
      historyDb({"load", document, path}),
      (Outcome{2, "",
               "history-db: " + document + ": It cannot be opened. No such file or directory.\n"}));
  EXPECT_EQ(historyDb({"load", folder.path(""), path}),
            (Outcome{2, "",
                     "history-db: " + folder.path("") + ": It cannot be read. Is a directory.\n"}));
  writeFile(document, "");
  const std::string nowhere = folder.path("none/file.mk");
  EXPECT_EQ(
      historyDb({"load", document, nowhere}),
      (Outcome{2, "",
               "history-db: " + nowhere + ": It cannot be created. No such file or directory.\n"}));
}

}  // namespace
