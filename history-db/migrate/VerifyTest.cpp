// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "history-db/base/Trouble.h"
#include "history-db/files/Sha256.h"
#include "history-db/migrate/Proof.h"
#include "tests/support/Child.h"
#include "tests/support/Golden.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using TestSupport::goldenFile;
using TestSupport::Outcome;
using TestSupport::readFile;
using TestSupport::writeFile;

class VerifyTest : public ::testing::Test {
 protected:
  VerifyTest() {
    writeFile(original, readFile(goldenFile("other-views.mk").path));
    EXPECT_EQ(TestSupport::run({HISTORY_CONVERT, "-q", original, "0", converted, "1"}).status, 0);
  }

  Outcome verify(std::vector<std::string> more = {}) const {
    std::vector<std::string> arguments = {HISTORY_DB, "verify", original, converted};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return TestSupport::run(arguments);
  }

  /// Changes a value of the System record, so that it differs.
  void spoil() const {
    std::string bytes = readFile(converted);
    // The only table before the Zones; its key column stands first.
    bytes[100] = static_cast<char>(bytes[100] + 1);
    writeFile(converted, bytes);
  }

  /// What a receipt holds of a file, behind "original" or "converted".
  static std::string receiptOf(const std::string& path, const std::string& schema) {
    return fmt::format(
        "{{\n"
        "    \"file\": \"{}\",\n"
        "    \"schema\": \"{}\",\n"
        "    \"size\": {},\n"
        "    \"sha256\": \"{}\"\n"
        "  }}",
        path, schema, std::filesystem::file_size(path),
        HistoryDb::sha256OfFile(HistoryDb::InputFile(path)));
  }

  std::string troubleOf(const std::string& what) const { return "history-db: " + what + "\n"; }

  const TestSupport::TemporaryFolder folder;
  const std::string original = folder.path("old.mk");
  const std::string converted = folder.path("new.mk");
  const std::string receipt = folder.path("receipt");
};

TEST_F(VerifyTest, TellsWhatWasCompared) {
  EXPECT_EQ(verify(),
            (Outcome{0,
                     "Note: The original also holds 3 other views, which no conversion takes over: "
                     "settings, plant, journal.\n"
                     "TormaQuilletHistory: rows 1, values 1229, differences 0\n"
                     "nativeZoneHistory: rows 0, values 0, differences 0\n"
                     "ZoneHistory: rows 5, values 1970, differences 0\n" +
                         converted + " holds every value of " + original + ".\n",
                     ""}));
  EXPECT_EQ(verify({"-q"}), (Outcome{0, "", ""}));
}

TEST_F(VerifyTest, TellsWhatDiffers) {
  spoil();
  const Outcome outcome = verify();
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.standardError, "");
  EXPECT_EQ(outcome.standardOutput.rfind("TormaQuilletHistory key ", 0), 0U) << outcome;
  EXPECT_NE(outcome.standardOutput.find(" became "), std::string::npos);
  EXPECT_NE(outcome.standardOutput.find(converted + " is not what " + original +
                                        " converts to; differences 1.\n"),
            std::string::npos)
      << outcome;
  EXPECT_EQ(verify({"--quiet"}), (Outcome{1, "", ""}));
}

TEST_F(VerifyTest, WritesAReceipt) {
  EXPECT_EQ(verify({"-q", "--receipt", receipt}).status, 0);
  const Outcome version = TestSupport::run({HISTORY_DB, "--version"});
  const std::string program = version.standardOutput.substr(0, version.standardOutput.size() - 1);
  const std::string expected =
      "{\n"
      "  \"receipt\": 1,\n"
      "  \"program\": \"" +
      program +
      "\",\n"
      "  \"from\": 0,\n"
      "  \"to\": 1,\n"
      "  \"verdict\": \"equal\",\n"
      "  \"differences\": 0,\n"
      "  \"original\": " +
      receiptOf(original, "0") +
      ",\n"
      "  \"converted\": " +
      receiptOf(converted, "1") +
      ",\n"
      "  \"tables\": [\n"
      "    {\n"
      "      \"name\": \"TormaQuilletHistory\",\n"
      "      \"originalRows\": 1,\n"
      "      \"convertedRows\": 1,\n"
      "      \"values\": 1229,\n"
      "      \"differences\": 0\n"
      "    },\n"
      "    {\n"
      "      \"name\": \"nativeZoneHistory\",\n"
      "      \"originalRows\": 0,\n"
      "      \"convertedRows\": 0,\n"
      "      \"values\": 0,\n"
      "      \"differences\": 0\n"
      "    },\n"
      "    {\n"
      "      \"name\": \"ZoneHistory\",\n"
      "      \"originalRows\": 5,\n"
      "      \"convertedRows\": 5,\n"
      "      \"values\": 1970,\n"
      "      \"differences\": 0\n"
      "    }\n"
      "  ],\n"
      "  \"told\": [],\n"
      "  \"notes\": [\n"
      "    \"The original also holds 3 other views, which no conversion takes over: settings, "
      "plant, journal.\"\n"
      "  ]\n"
      "}\n";
  EXPECT_EQ(readFile(receipt), expected);
  EXPECT_EQ(verify({"--json"}), (Outcome{0, expected, ""}));
}

TEST_F(VerifyTest, WritesAReceiptOfWhatDiffers) {
  spoil();
  EXPECT_EQ(verify({"-q", "--receipt", receipt}).status, 1);
  const std::string text = readFile(receipt);
  for (const std::string part :
       {"\"verdict\": \"differs\",\n  \"differences\": 1,\n",
        "  \"told\": [\n    {\n      \"table\": \"TormaQuilletHistory\",\n      \"key\": ",
        ",\n      \"row\": 0,\n      \"place\": \"", "\",\n      \"what\": \""}) {
    EXPECT_NE(text.find(part), std::string::npos) << part << "in\n" << text;
  }
}

TEST_F(VerifyTest, KeepsAReceiptThatExists) {
  writeFile(receipt, "another's");
  EXPECT_EQ(verify({"--receipt", receipt}),
            (Outcome{2, "", troubleOf(receipt + ": It exists; --force replaces it.")}));
  EXPECT_EQ(readFile(receipt), "another's");
  EXPECT_EQ(verify({"-q", "--force", "--receipt", receipt}).status, 0);
  EXPECT_NE(readFile(receipt), "another's");
}

TEST_F(VerifyTest, ReplacesNoDatabaseByItsReceipt) {
  const std::string bytes = readFile(original);
  ASSERT_EQ(::symlink(original.c_str(), folder.path("link").c_str()), 0);
  for (const std::string& path : {original, converted, folder.path("link")}) {
    EXPECT_EQ(verify({"--force", "--receipt", path}),
              (Outcome{2, "",
                       troubleOf(path + ": The receipt would replace a file that is to be "
                                        "verified.")}));
  }
  EXPECT_EQ(readFile(original), bytes);
}

TEST_F(VerifyTest, TellsWhenTheReceiptCannotBeWritten) {
  const std::string path = folder.path("none/receipt");
  EXPECT_EQ(
      verify({"--receipt", path}),
      (Outcome{2, "", troubleOf(path + ": It cannot be created. No such file or directory.")}));
}

TEST_F(VerifyTest, ADocumentIsValidWhateverTheNameOfTheFile) {
  const std::string odd = folder.path("a\xFF\n\"b");
  std::filesystem::rename(converted, odd);
  const Outcome outcome = TestSupport::run({HISTORY_DB, "verify", "--json", original, odd});
  EXPECT_EQ(outcome.status, 0) << outcome;
  EXPECT_NE(outcome.standardOutput.find("a\\ufffd\\n\\\"b\""), std::string::npos) << outcome;
}

TEST_F(VerifyTest, NeedsTwoDatabases) {
  const std::string text = folder.path("text");
  writeFile(text, "no database");
  ASSERT_EQ(::mkfifo(folder.path("fifo").c_str(), 0600), 0);
  for (const std::string& path :
       {text, folder.path("missing"), folder.path(""), folder.path("fifo"), std::string()}) {
    for (const auto& arguments : {std::vector<std::string>{path, converted}, {original, path}}) {
      const Outcome outcome = TestSupport::run(
          {HISTORY_DB, "verify", "--receipt", receipt, arguments[0], arguments[1]});
      EXPECT_EQ(outcome.status, 2);
      EXPECT_EQ(outcome.standardOutput, "");
      EXPECT_EQ(outcome.standardError.rfind("history-db: " + path + ": It ", 0), 0U) << outcome;
      EXPECT_FALSE(std::filesystem::exists(receipt));
    }
  }
}

TEST_F(VerifyTest, NoticesThatAFileChangesMeanwhile) {
  const HistoryDb::InputFile file(converted);
  const HistoryDb::FileContents before = HistoryDb::contentsOf(file);
  EXPECT_NO_THROW(expectUnchanged(file, before));
  spoil();
  EXPECT_THROW(expectUnchanged(file, before), HistoryDb::Trouble);
}

TEST_F(VerifyTest, TellsOfTheWrongSchemas) {
  const Outcome swapped = TestSupport::run({HISTORY_DB, "verify", converted, original});
  EXPECT_EQ(swapped.status, 1);
  EXPECT_EQ(swapped.standardOutput.rfind("The original is of schema 1 already.\n"
                                         "The converted database is of schema 0.\n",
                                         0),
            0U)
      << swapped;
  const Outcome same = TestSupport::run({HISTORY_DB, "verify", original, original});
  EXPECT_EQ(same.status, 1);
  EXPECT_NE(same.standardOutput.find("Note: Both are the same file.\n"), std::string::npos) << same;
}

}  // namespace
