// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <string>

#include <gtest/gtest.h>

#include "tests/support/Child.h"
#include "tests/support/Golden.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using TestSupport::goldenFile;
using TestSupport::Outcome;
using TestSupport::run;
using TestSupport::TemporaryFolder;

struct Shown {
  const char* file;
  const char* text;
};

TEST(ShowTablesTest, TellsHowManyRecordsOfWhichSizesUnderWhichKeys) {
  const Shown cases[] = {
      {"many-rows.mk",
       "  TormaQuilletHistory: 3 records of 4624 bytes\n"
       "    keys -2018777212 -1456121933 1636875189\n"
       "  nativeZoneHistory: no records\n"
       "  ZoneHistory: 560 records of 2040 bytes\n"
       "    keys -1677016403 1788845622 -1186915977 -618533323 2027915132 1539220171 2068662079"
       " -965367987 ...\n"},
      {"system-only.mk",
       "  TormaQuilletHistory: 1 record of 4624 bytes\n"
       "    keys 1\n"
       "  nativeZoneHistory: no records\n"
       "  ZoneHistory: no records\n"},
      {"odd-sizes.mk",
       "  TormaQuilletHistory: no records\n"
       "  nativeZoneHistory: no records\n"
       "  ZoneHistory: 6 records of 0 to 12000 bytes\n"
       "    keys 1 2 3 4 5 6\n"},
  };
  for (const Shown& shown : cases) {
    const std::string path = goldenFile(shown.file).path;
    EXPECT_EQ(run({SHOW_TABLES, path}), (Outcome{0, path + '\n' + shown.text, ""}));
  }
}

TEST(ShowTablesTest, RefusesWhatIsNoDatabase) {
  const TemporaryFolder folder;
  const std::string missing = folder.path("missing");
  const std::string text = folder.path("text");
  TestSupport::writeFile(text, "no database");
  for (const std::string& path : {missing, text}) {
    EXPECT_EQ(run({SHOW_TABLES, path}),
              (Outcome{1, "", SHOW_TABLES ": " + path + " cannot be read as a database\n"}));
  }
}

TEST(ShowTablesTest, TakesOneArgument) {
  const Outcome usage = {2, "", "Usage: " SHOW_TABLES " FILE\n"};
  EXPECT_EQ(run({SHOW_TABLES}), usage);
  EXPECT_EQ(run({SHOW_TABLES, "one", "two"}), usage);
}

}  // namespace
