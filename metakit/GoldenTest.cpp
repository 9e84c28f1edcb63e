// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <string>

#include <gtest/gtest.h>

#include "metakit/BytesColumn.h"
#include "metakit/Datafile.h"
#include "metakit/IntColumn.h"
#include "metakit/Sequence.h"
#include "metakit/testing/Contents.h"
#include "metakit/testing/FormatChecker.h"
#include "metakit/testing/MemoryDisk.h"
#include "tests/support/Golden.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using Metakit::contentsOf;
using Metakit::Datafile;
using Metakit::FormatChecker;
using TestSupport::caseName;
using TestSupport::GoldenFile;
using TestSupport::goldenFiles;
using TestSupport::readDescription;
using TestSupport::readTables;

/// Files that the library itself wrote.
class GoldenTest : public ::testing::TestWithParam<GoldenFile> {};

TEST_P(GoldenTest, KeepsToTheRules) {
  const std::string bytes = TestSupport::readFile(GetParam().path);
  const bool isTorn = GetParam().name.rfind("torn", 0) == 0;
  EXPECT_EQ(FormatChecker::faultIn(bytes), isTorn ? "the header tells the end" : "");
}

TEST_P(GoldenTest, KeepsToTheRulesWhenItIsChanged) {
  Metakit::MemoryDisk disk;
  disk["file"] = TestSupport::readFile(GetParam().path);
  std::string contents;
  {
    Datafile file("file", true);
    for (int i = 0; i < 3; ++i) {
      const auto table = file.view("ZoneHistory[Key:I,Record:B]");
      table->append();
      table->assign(table->rows() - 1, *table, 0);
      static_cast<Metakit::IntColumn&>(table->columnAt(0)).set(0, 1 << (i * 10));
      static_cast<Metakit::BytesColumn&>(table->columnAt(1)).set(0, "short", 5);
      ASSERT_EQ(file.commit(), 0);
      EXPECT_EQ(FormatChecker::faultIn(disk["file"]), "");
    }
    contents = contentsOf(*file.root());
  }
  EXPECT_TRUE(contentsOf(*Datafile("file", false).root()) == contents);
}

TEST_P(GoldenTest, IsReadToTheByte) {
  const GoldenFile& file = GetParam();
  EXPECT_EQ(readDescription(file.path), file.description);
  EXPECT_EQ(readTables(file.path, file.input), file.input);
}

INSTANTIATE_TEST_SUITE_P(All, GoldenTest, ::testing::ValuesIn(goldenFiles()), caseName);

}  // namespace
