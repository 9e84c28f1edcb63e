// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <set>
#include <string>
#include <utility>

#include <gtest/gtest.h>
#include <mk4.h>

#include "tests/support/Child.h"
#include "tests/support/Golden.h"
#include "tests/support/Nobody.h"
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
  struct stat statusBefore = {};
  ASSERT_EQ(::stat(infile.c_str(), &statusBefore), 0);

  EXPECT_EQ(convert(infile, outfile), completed(file));
  EXPECT_EQ(readDescription(outfile), convertedDescription);
  EXPECT_EQ(readTables(outfile, file.converted), file.converted);
  EXPECT_EQ(readFile(infile), before);
  struct stat statusAfter = {};
  ASSERT_EQ(::stat(infile.c_str(), &statusAfter), 0);
  EXPECT_EQ(statusAfter.st_mtim.tv_sec, statusBefore.st_mtim.tv_sec);
  EXPECT_EQ(statusAfter.st_mtim.tv_nsec, statusBefore.st_mtim.tv_nsec);
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

  /// The same as somebody who may do no more than the modes of files allow.
  Outcome convertAsNobody(const std::string& from, const std::string& to) {
    ::chmod(folder.path("").c_str(), 0777);
    TestSupport::Reachable reachable;
    const std::string program = reachable.copy(HISTORY_CONVERT);
    return TestSupport::inChild([&] {
      TestSupport::becomeNobody();
      TestSupport::execute({program, from, "0", to, "1"});
    });
  }

  /// One fatal record, which names the thread that met the error and ends like this.
  static void expectFatal(const Outcome& outcome, const std::string& text) {
    EXPECT_EQ(outcome.status, 255);
    EXPECT_EQ(outcome.standardOutput, "");
    const std::string& record = outcome.standardError;
    EXPECT_EQ(record.substr(0, 26), "@@ FATAL ERROR [creator (0");
    EXPECT_EQ(record.substr(std::min(record.find(")]: "), record.size())), ")]: " + text + ".\n");
  }

  /// Converts what is not a database with records.
  void expectEmptyTablesFrom(const std::string& path) {
    EXPECT_EQ(convert(path, outfile), complete) << path;
    EXPECT_EQ(readDescription(outfile), convertedDescription) << path;
    for (const auto& table : readTables(outfile, typical.converted)) {
      EXPECT_TRUE(table.rows.empty()) << path;
    }
  }

  /// A database of one table, whose rows have no bodies and take no bytes.
  std::string emptyRecords(const std::string& table, int rows) {
    std::string path = folder.path("empty-records.mk");
    ::unlink(path.c_str());
    c4_Storage storage(path.c_str(), 1);
    c4_View view = storage.GetAs((table + "[Key:I,Record:B]").c_str());
    for (int row = 0; row < rows; ++row) {
      view.Add(c4_Row());
    }
    EXPECT_TRUE(storage.Commit());
    return path;
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

TEST_F(ConversionRunTest, TellsWhyInfileCannotBeOpened) {
  const std::string text = folder.path("text");
  TestSupport::writeFile(text, "no database");
  const std::string damaged = folder.path("damaged");
  std::string bytes = readFile(typical.path);
  bytes.replace(bytes.size() - 12, 8, 8, '\xFF');
  TestSupport::writeFile(damaged, bytes);
  // The marks of a datafile, and nothing else.
  const std::string littleEndian = folder.path("little");
  TestSupport::writeFile(littleEndian, "JL");
  const std::string bigEndian = folder.path("big");
  TestSupport::writeFile(bigEndian, "LJ");
  const std::string oneByte = folder.path("byte");
  TestSupport::writeFile(oneByte, "J");
  const std::string directory = folder.path("directory");
  ASSERT_EQ(::mkdir(directory.c_str(), 0777), 0);
  const std::string fifo = folder.path("fifo");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0666), 0);
  const std::pair<std::string, const char*> cases[] = {
      {text, "It is not a history database"},    {damaged, "It is damaged"},
      {littleEndian, "It is damaged"},           {bigEndian, "It is damaged"},
      {oneByte, "It is not a history database"}, {directory, "Is a directory"},
      {fifo, "It is not a regular file"},        {"/dev/null", "It is not a regular file"},
  };
  for (const auto& [path, reason] : cases) {
    for (const char* option : {"--", "-q"}) {
      expectFatal(run({HISTORY_CONVERT, option, path, "0", outfile, "1"}),
                  "INFILE \"" + path + "\" cannot be opened. " + reason);
      EXPECT_NE(::access(outfile.c_str(), F_OK), 0) << "nothing is begun";
    }
  }
  EXPECT_EQ(readFile(text), "no database");
  EXPECT_EQ(readFile(damaged), bytes);
}

TEST_F(ConversionRunTest, TellsWhenInfileMayNotBeRead) {
  ASSERT_EQ(::chmod(infile.c_str(), 0), 0);
  expectFatal(convertAsNobody(infile, outfile),
              "INFILE \"" + infile + "\" cannot be opened. Permission denied");
}

TEST_F(ConversionRunTest, RejectsMoreRecordsThanTheFileIsLargeEnoughFor) {
  for (const char* table : {"TormaQuilletHistory", "nativeZoneHistory", "ZoneHistory"}) {
    const std::string path = emptyRecords(table, 10000);
    const std::string before = readFile(path);
    ASSERT_LT(before.size(), 100U);
    for (const char* option : {"--", "-q"}) {
      expectFatal(
          run({HISTORY_CONVERT, option, path, "0", outfile, "1"}),
          "INFILE \"" + path + "\" cannot be converted. It has too many records for its size");
      EXPECT_NE(::access(outfile.c_str(), F_OK), 0) << "nothing is begun";
    }
    EXPECT_EQ(readFile(path), before);
  }
}

TEST_F(ConversionRunTest, ConvertsAFewEmptyRecords) {
  for (const char* table : {"TormaQuilletHistory", "nativeZoneHistory", "ZoneHistory"}) {
    EXPECT_EQ(convert(emptyRecords(table, 100), outfile).status, 0);
    EXPECT_EQ(readTables(outfile, {{table, {}}})[0].rows.size(), 100U);
  }
}

TEST_F(ConversionRunTest, TellsWhyOutfileCannotBeCreated) {
  const std::string missing = folder.path("missing/out.mk");
  expectFatal(convert(infile, missing),
              "OUTFILE \"" + missing + "\" cannot be opened. No such file or directory");
  const std::string locked = folder.path("locked");
  ASSERT_EQ(::mkdir(locked.c_str(), 0555), 0);
  expectFatal(convertAsNobody(infile, locked + "/out.mk"),
              "OUTFILE \"" + locked + "/out.mk\" cannot be opened. Permission denied");
}

TEST_F(ConversionRunTest, TellsWhenOutfileIsIncomplete) {
  // Every row is missing from one limit on, the last few bytes from another.
  int failed = 0;
  for (rlim_t limit = 1000; limit < 40000; limit += 3000) {
    const Outcome outcome = TestSupport::inChild([&] {
      const rlimit size = {limit, limit};
      ::setrlimit(RLIMIT_FSIZE, &size);
      TestSupport::execute({HISTORY_CONVERT, infile, "0", outfile, "1"});
    });
    if (outcome == complete) {
      expectConverted(outfile);
      continue;
    }
    ++failed;
    expectFatal(outcome, "OUTFILE \"" + outfile + "\" is incomplete. File too large");
  }
  EXPECT_GT(failed, 3);
}

TEST_F(ConversionRunTest, RefusesNamesThatWouldBeCutOff) {
  std::string longName = folder.path("");
  while (longName.size() < 1100) {
    longName += std::string(200, 'n') + '/';
    ASSERT_EQ(::mkdir(longName.c_str(), 0777), 0);
  }
  const std::string longest = longName.substr(0, 1018) + "-in.mk";
  ASSERT_EQ(longest.size(), 1024U);
  const std::string shorter = longName.substr(0, 1017) + "-out.mk";
  ASSERT_EQ(shorter.size(), 1024U);
  const std::string tooLong = longName.substr(0, 1018) + "-in.mk2";
  TestSupport::writeFile(longest, readFile(infile));
  TestSupport::writeFile(tooLong, readFile(infile));
  EXPECT_EQ(convert(longest, shorter), complete);
  expectConverted(shorter);
  const std::string reason = " cannot be opened. Its name has more than 1024 characters";
  expectFatal(convert(tooLong, outfile), "INFILE \"" + tooLong + '"' + reason);
  expectFatal(convert(infile, tooLong), "OUTFILE \"" + tooLong + '"' + reason);
  EXPECT_EQ(readFile(longest), readFile(infile));
}

TEST_F(ConversionRunTest, ReadsAFileThatMayNotBeWritten) {
  ASSERT_EQ(::chmod(infile.c_str(), 0444), 0);
  EXPECT_EQ(convertAsNobody(infile, outfile), complete);
  expectConverted(outfile);
}

TEST_F(ConversionRunTest, ReadsAndReplacesFilesOfAnyDate) {
  TestSupport::writeFile(outfile, "old");
  for (const std::string& path : {infile, outfile}) {
    // In 2040.
    const timespec dates[] = {{2209032000, 0}, {2209032000, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), dates, 0), 0);
  }
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
  ASSERT_EQ(::symlink(target.c_str(), outfile.c_str()), 0);
  EXPECT_EQ(convert(infile, outfile), complete);
  expectConverted(outfile);
  EXPECT_NE(::access(target.c_str(), F_OK), 0);
}

TEST_F(ConversionRunTest, RefusesInfileAsOutfileHoweverItIsNamed) {
  const std::string hardLink = folder.path("hard");
  const std::string softLink = folder.path("soft");
  ASSERT_EQ(::link(infile.c_str(), hardLink.c_str()), 0);
  ASSERT_EQ(::symlink(infile.c_str(), softLink.c_str()), 0);
  const std::string before = readFile(infile);
  for (const std::string& name : {infile, folder.path("./in.mk"), hardLink, softLink}) {
    const Outcome outcome = convert(infile, name);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.standardOutput, "");
    EXPECT_EQ(outcome.standardError.substr(0, outcome.standardError.find("Usage:")),
              std::string(HISTORY_CONVERT) + ": Accessing OUTFILE argument \"" + name +
                  "\", produced the error: Invalid argument\n\n");
    const Outcome silentFailure = {1, "", ""};
    EXPECT_EQ(run({HISTORY_CONVERT, "-q", infile, "0", name, "1"}), silentFailure);
    EXPECT_EQ(readFile(name), before);
  }
}

TEST_F(ConversionRunTest, WarnsEvenWhenQuiet) {
  const GoldenFile& file = goldenFile("duplicate-keys.mk");
  Outcome expected = completed(file);
  ASSERT_FALSE(expected == complete);
  expected.standardOutput.resize(expected.standardOutput.size() - complete.standardOutput.size());
  EXPECT_EQ(run({HISTORY_CONVERT, "-q", file.path, "0", outfile, "1"}), expected);
}

TEST_F(ConversionRunTest, GoesOnWhenNobodyReadsWhatItTells) {
  const GoldenFile& file = goldenFile("duplicate-keys.mk");
  const Outcome silent = {0, "", ""};
  EXPECT_EQ(
      TestSupport::inChild([&] {
        std::signal(SIGPIPE, SIG_DFL);
        int ends[2] = {};
        if (::pipe(ends) != 0 || ::dup2(ends[1], STDOUT_FILENO) < 0 || ::close(ends[0]) != 0) {
          std::abort();
        }
        TestSupport::execute({HISTORY_CONVERT, file.path, "0", outfile, "1"});
      }),
      silent);
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
