// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/records/NewDatabase.h"

#include <string>

#include <gtest/gtest.h>

#include "history-db/base/Trouble.h"
#include "history-db/records/Database.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using HistoryDb::Database;
using HistoryDb::NewDatabase;

class NewDatabaseTest : public ::testing::Test {
 protected:
  const TestSupport::TemporaryFolder folder;
  const std::string path = folder.path("new.mk");
};

TEST_F(NewDatabaseTest, HoldsItsRowsInOrder) {
  const std::string zeros(2040, '\0');
  {
    NewDatabase database(path);
    database.addTable("nativeZoneHistory");
    database.addTable("ZoneHistory");
    database.addRow(7, "seven");
    database.addRow(-7, zeros);
    database.addRow(7, "");
    database.commit();
  }
  const Database database(path);
  EXPECT_FALSE(database.tables()[0].exists);
  EXPECT_TRUE(database.tables()[1].exists);
  EXPECT_TRUE(database.tables()[1].rows.empty());
  const auto& rows = database.tables()[2].rows;
  ASSERT_EQ(rows.size(), 3U);
  EXPECT_EQ(rows[0].key, 7);
  EXPECT_EQ(rows[0].body, "seven");
  EXPECT_EQ(rows[1].key, -7);
  EXPECT_EQ(rows[1].body, zeros);
  EXPECT_EQ(rows[2].body, "");
}

TEST_F(NewDatabaseTest, WritesNothingUntilItIsCommitted) {
  {
    NewDatabase database(path);
    database.addTable("ZoneHistory");
    database.addRow(1, "one");
  }
  EXPECT_EQ(TestSupport::readFile(path), "");
}

TEST_F(NewDatabaseTest, TellsWhatCannotBeWritten) {
  EXPECT_THROW(NewDatabase{folder.path("none/new.mk")}, HistoryDb::Trouble);
  TestSupport::writeFile(path, "no database");
  EXPECT_THROW(NewDatabase{path}, HistoryDb::Trouble);
  EXPECT_EQ(TestSupport::readFile(path), "no database");
}

}  // namespace
