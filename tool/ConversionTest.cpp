#include <set>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/Child.h"
#include "tests/support/Golden.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using TestSupport::caseName;
using TestSupport::GoldenFile;
using TestSupport::goldenFile;
using TestSupport::goldenFiles;
using TestSupport::Outcome;
using TestSupport::readDescription;
using TestSupport::readFile;
using TestSupport::readTables;
using TestSupport::run;
using TestSupport::TemporaryFolder;

/// What a converted file looks like, whatever the old one looked like.
constexpr char convertedDescription[] =
    "TormaQuilletHistory[Key:I,Record:B],nativeZoneHistory[Key:I,Record:B],"
    "ZoneHistory[Key:I,Record:B]";

/// The program itself, run over files that the library wrote.
class ConversionTest : public ::testing::TestWithParam<GoldenFile> {
 protected:
  Outcome convert(const std::string& infile, const std::string& outfile) {
    return run({HISTORY_CONVERT, infile, "0", outfile, "1"});
  }

  TemporaryFolder folder;
};

/// What the program tells: each key that a table had before is warned about.
Outcome completed(const GoldenFile& file) {
  std::string output;
  for (const auto& table : file.converted) {
    std::set<int> keys;
    for (const auto& row : table.rows) {
      if (!keys.insert(row.key).second) {
        output +=
            "Pvn::Database::Metakit::Persist::Table::request(CreateRecordWithKeyReq): WARNING: The "
            "key specified was not unique!\n";
      }
    }
  }
  return {0, output + "Conversion complete.\n", ""};
}

TEST_P(ConversionTest, YieldsTheNewRecordsAndLeavesTheOldFileAlone) {
  const GoldenFile& file = GetParam();
  const std::string infile = folder.path("in.mk");
  const std::string outfile = folder.path("out.mk");
  const std::string before = readFile(file.path);
  TestSupport::writeFile(infile, before);

  EXPECT_EQ(convert(infile, outfile), completed(file));
  EXPECT_EQ(readDescription(outfile), convertedDescription);
  EXPECT_EQ(readTables(outfile, file.converted), file.converted);
  EXPECT_EQ(readFile(infile), before);
}

INSTANTIATE_TEST_SUITE_P(All, ConversionTest, ::testing::ValuesIn(goldenFiles()), caseName);

/// Cases that a few files are enough for.
class ConversionRunTest : public ConversionTest {};

TEST_F(ConversionRunTest, TakesAnEmptyFileForOneWithoutTables) {
  const std::string infile = folder.path("empty.mk");
  const std::string outfile = folder.path("out.mk");
  TestSupport::writeFile(infile, "");
  EXPECT_EQ(convert(infile, outfile), (Outcome{0, "Conversion complete.\n", ""}));
  EXPECT_EQ(readDescription(outfile), convertedDescription);
  EXPECT_EQ(readFile(infile), "");
}

TEST_F(ConversionRunTest, ReplacesAnExistingFile) {
  const std::string outfile = folder.path("out.mk");
  const GoldenFile& file = goldenFile("system-only.mk");
  TestSupport::writeFile(outfile, readFile(goldenFile("typical.mk").path));
  convert(file.path, outfile);
  EXPECT_EQ(readTables(outfile, file.converted), file.converted);
}

TEST_F(ConversionRunTest, GivesTheSameBytesEachTime) {
  for (const char* name : {"typical.mk", "odd-sizes.mk", "other-views.mk"}) {
    const GoldenFile& file = goldenFile(name);
    convert(file.path, folder.path("first.mk"));
    convert(file.path, folder.path("second.mk"));
    const std::string bytes = readFile(folder.path("first.mk"));
    EXPECT_FALSE(bytes.empty());
    EXPECT_EQ(readFile(folder.path("second.mk")), bytes) << name;
  }
}

}  // namespace
