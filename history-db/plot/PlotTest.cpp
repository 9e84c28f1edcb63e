// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "history-db/testing/ProgramTesting.h"
#include "tests/support/Golden.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using HistoryDbTesting::historyDb;
using TestSupport::Outcome;
using TestSupport::readFile;
using TestSupport::writeFile;

std::string golden(const std::string& name) {
  return TestSupport::goldenFile(name).path;
}

class PlotTest : public ::testing::Test {
 protected:
  /// What is printed of a golden file.
  static std::string picture(const std::string& name, std::vector<std::string> options) {
    options.insert(options.begin(), {"plot", golden(name)});
    const Outcome outcome = historyDb(options);
    EXPECT_EQ(outcome.status, 0) << outcome;
    EXPECT_EQ(outcome.standardError, "");
    return outcome.standardOutput;
  }

  const TestSupport::TemporaryFolder folder;
};

struct Drawn {
  std::vector<std::string> options;
  const char* picture;
};

// The pictures are what the program prints: history-db plot tests/data/typical.mk OPTIONS
TEST_F(PlotTest, DrawsWhatItDrewBefore) {
  const std::vector<std::string> fields = {"--table", "ZoneHistory", "--field",
                                           "minA,maxA,shortArray[2],realValue1"};
  for (const Drawn& drawn :
       {Drawn{fields, "typical.svg"}, Drawn{{"--terminal"}, "typical.txt"},
        Drawn{{"--terminal", "--ascii", "--field", "intArray"}, "typical-ascii.txt"}}) {
    EXPECT_EQ(picture("typical.mk", drawn.options),
              readFile(std::string(PROJECT_FOLDER "/tests/data/plots/") + drawn.picture))
        << drawn.picture;
  }
}

// The commands stand in docs/history-db.md, too.
TEST_F(PlotTest, TheManualShowsWhatItDraws) {
  const std::string database = folder.path("device.mk");
  ASSERT_EQ(historyDb({"sample", "--seed", "7", database}), (Outcome{0, "", ""}));
  const Outcome outcome = historyDb({"plot", database, "--field", "minA,maxA,realValue1"});
  EXPECT_EQ(outcome, (Outcome{0, readFile(PROJECT_FOLDER "/docs/pictures/history.svg"), ""}));
}

TEST_F(PlotTest, WritesAFileThatIsNew) {
  const std::string path = folder.path("picture");
  for (const char* kind : {"--terminal", "--force"}) {
    const std::string printed = picture("lived-in.mk", {kind});
    const std::vector<std::string> plot = {"plot", golden("lived-in.mk"), kind, "--output", path};
    EXPECT_EQ(historyDb(plot), (Outcome{0, "", ""}));
    EXPECT_EQ(readFile(path), printed);
  }
  EXPECT_EQ(historyDb({"plot", golden("lived-in.mk"), "-o", path}),
            (Outcome{2, "", "history-db: " + path + ": It exists; --force replaces it.\n"}));
}

TEST_F(PlotTest, TheDatabaseIsNotReplaced) {
  const std::string path = folder.path("file.mk");
  const std::string link = folder.path("link");
  const std::string bytes = readFile(golden("typical.mk"));
  writeFile(path, bytes);
  ASSERT_EQ(::link(path.c_str(), link.c_str()), 0);
  for (const std::string& output : {path, link}) {
    EXPECT_EQ(
        historyDb({"plot", path, "--force", "--output", output}),
        (Outcome{2, "",
                 "history-db: " + output + ": It is the database, which is not replaced.\n"}));
    EXPECT_EQ(readFile(output), bytes);
  }
}

struct Refused {
  const char* file;
  std::vector<std::string> options;
  const char* message;
};

TEST_F(PlotTest, MessagesNameWhatThereIs) {
  for (const Refused& refused : {
           Refused{"typical.mk",
                   {"--table", "none\n"},
                   "There are no records in a table \"none\\x0a\"; there are some in "
                   "TormaQuilletHistory, nativeZoneHistory, ZoneHistory."},
           Refused{"zones-only.mk",
                   {"--table", "TormaQuilletHistory"},
                   "There are no records in a table \"TormaQuilletHistory\"; there are some in "
                   "ZoneHistory."},
           Refused{"empty-tables.mk", {}, "There are no history records in it."},
           Refused{"zones-only.mk",
                   {"--key", "5"},
                   "ZoneHistory has no record with the key 5; it has 0, 10, 20."},
           Refused{"odd-sizes.mk",
                   {"--key", "2"},
                   "The record with the key 2 in ZoneHistory has 100 bytes, as no Zone record of "
                   "any schema."},
           Refused{
               "zones-only.mk",
               {"--field", "minA,maxB"},
               "The periods of this Zone record have no field \"maxB\"; they have time0, time1, "
               "shortArray[0 to 3], intValue1, intValue2, realValue1, intValue3, minA, maxA, "
               "realValue2, realValue3, intValue4, shortValue1, intValue5."},
       }) {
    std::vector<std::string> arguments = {"plot", golden(refused.file), "--output",
                                          folder.path("none")};
    arguments.insert(arguments.end(), refused.options.begin(), refused.options.end());
    EXPECT_EQ(
        historyDb(arguments),
        (Outcome{2, "", "history-db: " + golden(refused.file) + ": " + refused.message + "\n"}));
    EXPECT_FALSE(std::filesystem::exists(folder.path("none")));
  }
}

TEST_F(PlotTest, KeysAreListedUpToTen) {
  const Outcome outcome =
      historyDb({"plot", golden("many-rows.mk"), "--table", "ZoneHistory", "--key", "-1"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_LT(outcome.standardError.size(), 300U) << outcome;
  EXPECT_NE(outcome.standardError.find(" more."), std::string::npos) << outcome;
}

TEST_F(PlotTest, OfRecordsWithOneKeyTheFirstIsDrawn) {
  const std::string text = picture("duplicate-keys.mk", {"--terminal", "--table", "ZoneHistory"});
  EXPECT_NE(text.find("\nThere are 3 records with this key; this is the first.\n"),
            std::string::npos)
      << text;
}

TEST_F(PlotTest, TitlesTellTheRecord) {
  for (const auto& [options, title] : std::vector<std::pair<std::vector<std::string>, std::string>>{
           {{"--terminal"}, "typical.mk\nTormaQuilletHistory, key -1188879187, schema 0\n"},
           {{"--terminal", "--table", "nativeZoneHistory"},
            "typical.mk\nnativeZoneHistory, key -1308808937, zone 0, schema 0\n"}}) {
    EXPECT_EQ(picture("typical.mk", options).substr(0, title.size()), title);
  }
  EXPECT_NE(picture("zones-only.mk", {"--key", "10"})
                .find(">ZoneHistory, key 10, zone 1, schema 0 or 1</text>"),
            std::string::npos);
}

TEST_F(PlotTest, NamesOfFilesAreEscaped) {
  const std::string path = folder.path("a<b>&\n\x1b[2J\xff");
  writeFile(path, readFile(golden("typical.mk")));
  const std::string svg = historyDb({"plot", path}).standardOutput;
  EXPECT_NE(svg.find(">a&lt;b&gt;&amp;\\x0a\\x1b[2J\\xff</text>"), std::string::npos) << svg;
  const std::string text = historyDb({"plot", "--terminal", path}).standardOutput;
  EXPECT_EQ(text.substr(0, text.find('\n')), "a<b>&\\x0a\\x1b[2J\\xff");
}

TEST_F(PlotTest, AsciiTakesATerminal) {
  EXPECT_EQ(historyDb({"plot", "--ascii", golden("typical.mk")}).status, 2);
}

}  // namespace
