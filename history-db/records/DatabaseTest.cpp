// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/records/Database.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "history-db/base/Trouble.h"
#include "history-db/records/NewDatabase.h"
#include "tests/support/Child.h"
#include "tests/support/Golden.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using HistoryDb::Database;
using HistoryDb::SchemaFound;
using HistoryDb::Trouble;
using TestSupport::goldenFile;
using TestSupport::GoldenFile;
using TestSupport::goldenFiles;
using TestSupport::TemporaryFolder;

class EachGoldenDatabaseTest : public ::testing::TestWithParam<GoldenFile> {};

TEST_P(EachGoldenDatabaseTest, HasItsRowsInOrder) {
  const Database database(GetParam().path);
  for (const HistoryDb::Table& table : database.tables()) {
    const auto isIt = [&](const TestSupport::Table& golden) {
      return golden.name == table.name.name;
    };
    const auto& input = GetParam().input;
    const auto golden = std::find_if(input.begin(), input.end(), isIt);
    ASSERT_EQ(table.exists, golden != input.end());
    ASSERT_EQ(table.rows.size(), table.exists ? golden->rows.size() : 0);
    for (std::size_t i = 0; i < table.rows.size(); ++i) {
      EXPECT_EQ(table.rows[i].key, golden->rows[i].key);
      EXPECT_EQ(static_cast<int>(table.rows[i].body.size()), golden->rows[i].size);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Golden, EachGoldenDatabaseTest, ::testing::ValuesIn(goldenFiles()),
                         TestSupport::caseName);

TEST(DatabaseTest, TellsItsSchemaByTheSizeOfItsSystems) {
  EXPECT_EQ(schemaOf(Database(goldenFile("typical.mk").path)), SchemaFound::Zero);
  EXPECT_EQ(schemaOf(Database(goldenFile("zones-only.mk").path)), SchemaFound::Either);
}

TEST(DatabaseTest, RefusesWhatIsNone) {
  const TemporaryFolder folder;
  const std::string text = folder.path("text");
  TestSupport::writeFile(text, "no database");
  for (const std::string& path : {folder.path("missing"), folder.path(""), text}) {
    EXPECT_THROW(Database{path}, Trouble) << path;
  }
}

TEST(DatabaseTest, OfNoBytesHasNoTables) {
  const TemporaryFolder folder;
  const std::string path = folder.path("empty");
  TestSupport::writeFile(path, "");
  const Database database(path);
  for (const HistoryDb::Table& table : database.tables()) {
    EXPECT_FALSE(table.exists);
  }
}

TEST(DatabaseTest, RejectsMoreRecordsThanTheFileIsLargeEnoughFor) {
  const TemporaryFolder folder;
  const std::string path = folder.path("file.mk");
  {
    HistoryDb::NewDatabase database(path);
    database.addTable("TormaQuilletHistory");
    for (int row = 0; row < 4000; ++row) {
      database.addRow(row, "");
    }
    database.commit();
  }
  try {
    const Database database(path);
    ADD_FAILURE() << "nothing was thrown";
  } catch (const Trouble& trouble) {
    EXPECT_EQ(trouble.what(), path + ": It has too many records for its size.");
  }
}

TEST(DatabaseTest, RejectsRecordsThatAreHoles) {
  constexpr std::int32_t size = 40 * 1024 * 1024;
  const TemporaryFolder folder;
  const std::string path = folder.path("file.mk");
  {
    HistoryDb::NewDatabase database(path);
    database.addTable("ZoneHistory");
    database.addRow(1, std::string(size, '\0'));
    database.commit();
  }
  EXPECT_EQ(Database(path).tables()[2].rows[0].body.size(), std::size_t{size});
  const std::string sparse = folder.path("sparse.mk");
  ASSERT_EQ(TestSupport::run({"/bin/cp", "--sparse=always", path, sparse}).status, 0);
  try {
    const Database database(sparse);
    ADD_FAILURE() << "nothing was thrown";
  } catch (const Trouble& trouble) {
    EXPECT_EQ(trouble.what(), sparse + ": Its records take more bytes than the file stores.");
  }
}

}  // namespace
