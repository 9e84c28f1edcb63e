#include <sys/stat.h>
#include <unistd.h>

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

/// Files and runs of other kinds.
class ConversionRunTest : public ConversionTest {
 protected:
  /// A copy of a file that converts to records.
  ConversionRunTest() { TestSupport::writeFile(infile, readFile(typical.path)); }

  void expectConverted(const std::string& path) {
    EXPECT_EQ(readTables(path, typical.converted), typical.converted);
  }

  /// Converts what is not a database with records.
  void expectEmptyTablesFrom(const std::string& path) {
    EXPECT_EQ(convert(path, outfile), complete) << path;
    EXPECT_EQ(readDescription(outfile), convertedDescription) << path;
    for (const auto& table : readTables(outfile, typical.converted)) {
      EXPECT_TRUE(table.rows.empty()) << path;
    }
  }

  const GoldenFile& typical = goldenFile("typical.mk");
  const std::string infile = folder.path("in.mk");
  const std::string outfile = folder.path("out.mk");
  const Outcome complete = {0, "Conversion complete.\n", ""};
};

TEST_F(ConversionRunTest, TakesAnEmptyFileForOneWithoutTables) {
  const std::string empty = folder.path("empty.mk");
  TestSupport::writeFile(empty, "");
  expectEmptyTablesFrom(empty);
  EXPECT_EQ(readFile(empty), "");
}

TEST_F(ConversionRunTest, TakesWhatIsNoDatabaseForOneWithoutTables) {
  const std::string text = folder.path("text");
  TestSupport::writeFile(text, "no database");
  const std::string directory = folder.path("directory");
  ASSERT_EQ(::mkdir(directory.c_str(), 0777), 0);
  const std::string fifo = folder.path("fifo");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0666), 0);
  for (const std::string& path : {text, directory, fifo, std::string("/dev/null")}) {
    expectEmptyTablesFrom(path);
  }
  EXPECT_EQ(readFile(text), "no database");
}

TEST_F(ConversionRunTest, ReadsAFileThatMayNotBeWritten) {
  ASSERT_EQ(::chmod(infile.c_str(), 0444), 0);
  EXPECT_EQ(convert(infile, outfile), complete);
  expectConverted(outfile);
}

TEST_F(ConversionRunTest, ReplacesAnExistingFile) {
  const GoldenFile& file = goldenFile("system-only.mk");
  TestSupport::writeFile(outfile, readFile(typical.path));
  EXPECT_EQ(convert(file.path, outfile), complete);
  EXPECT_EQ(readTables(outfile, file.converted), file.converted);
}

TEST_F(ConversionRunTest, ReplacesALinkAndNotWhatItLeadsTo) {
  const std::string target = folder.path("target");
  for (const std::string& linked : {infile, target}) {
    ASSERT_EQ(::symlink(linked.c_str(), outfile.c_str()), 0);
    EXPECT_EQ(convert(infile, outfile), complete);
    expectConverted(outfile);
    EXPECT_EQ(readFile(infile), readFile(typical.path));
    EXPECT_NE(::access(target.c_str(), F_OK), 0);
    ASSERT_EQ(::unlink(outfile.c_str()), 0);
  }
}

TEST_F(ConversionRunTest, WarnsEvenWhenQuiet) {
  const GoldenFile& file = goldenFile("duplicate-keys.mk");
  Outcome expected = completed(file);
  ASSERT_FALSE(expected == complete);
  expected.standardOutput.resize(expected.standardOutput.size() - complete.standardOutput.size());
  EXPECT_EQ(run({HISTORY_CONVERT, "-q", file.path, "0", outfile, "1"}), expected);
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
