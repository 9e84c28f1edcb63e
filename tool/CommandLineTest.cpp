// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "tool/CommandLine.h"

#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/Child.h"
#include "tests/support/TemporaryFolder.h"
#include "tool/Settings.h"

namespace {

using TestSupport::inChild;
using TestSupport::Outcome;
using TestSupport::readFile;
using TestSupport::run;
using TestSupport::TemporaryFolder;

constexpr char program[] = HISTORY_CONVERT;

std::string usage(const std::string& name = program) {
  return "Usage: " + name +
         " [OPTIONS] INFILE OLDVERS OUTFILE NEWVERS\n"
         "Convert the INFILE database of the version specified\n"
         "by the OLDVERS identifier to the version specified\n"
         "by NEWVERS and write the result to the OUTFILE database.\n"
         "OPTIONS:\n"
         "   -h                 Print this Help message.\n"
         "   -q                 Suppress progress/error messages\n";
}

/// A reported error is followed by the usage, and so ends with status 0.
Outcome reported(const std::string& message) {
  return {0, "", std::string(program) + ": " + message + "\n\n" + usage()};
}

const Outcome help = {0, "", usage()};
const Outcome silentFailure = {1, "", ""};
const Outcome complete = {0, "Conversion complete.\n", ""};
const Outcome silentSuccess = {0, "", ""};

Outcome unknownOption(char option) {
  return {1, "", std::string(program) + ": unknown option: " + option + "\n"};
}

Outcome missingArgument(int found) {
  return reported("Missing argument. Expected 4 arguments found " + std::to_string(found));
}

Outcome noConversion(const std::string& oldVersion, const std::string& newVersion) {
  return {255, "",
          std::string(program) + ": No conversion available for the specified input version: \"" +
              oldVersion + "\", AND the specified output version: \"" + newVersion + "\".\n"};
}

/// Runs the program; INFILE exists and is an empty database, OUTFILE does not.
class CommandLineTest : public ::testing::Test {
 protected:
  CommandLineTest() { TestSupport::writeFile(infile, ""); }

  Outcome runWith(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), program);
    return run(arguments);
  }

  /// Whether there is an entry of that name, be it a link that leads nowhere.
  bool exists(const std::string& path) {
    struct stat status = {};
    return ::lstat(path.c_str(), &status) == 0;
  }

  TemporaryFolder folder;
  const std::string infile = folder.path("in.mk");
  const std::string outfile = folder.path("out.mk");
  const std::string missing = folder.path("missing.mk");
};

TEST_F(CommandLineTest, PointsTheSettingsAtItsArguments) {
  std::vector<std::string> texts = {"tool", "-q", infile, "0", outfile, "1", "fifth"};
  std::vector<char*> arguments;
  arguments.reserve(texts.size() + 1);
  for (std::string& text : texts) {
    arguments.push_back(text.data());
  }
  arguments.push_back(nullptr);
  EXPECT_EQ(inChild([&arguments] {
              readCommandLine(static_cast<int>(arguments.size()) - 1, arguments.data());
              std::printf("%d %d %d %d %d %d", programName == arguments[0], quiet,
                          originalDatabaseFileName == arguments[2],
                          originalDatabaseVersionName == arguments[3],
                          convertedDatabaseFileName == arguments[4],
                          convertedDatabaseVersionName == arguments[5]);
            }),
            (Outcome{0, "1 1 1 1 1 1", ""}));
}

TEST_F(CommandLineTest, PrintsTheUsageAtTheMomentTheOptionIsMet) {
  EXPECT_EQ(runWith({"-h"}), help);
  EXPECT_EQ(runWith({"-q", "-h"}), help);
  EXPECT_EQ(runWith({"-qh"}), help);
  EXPECT_EQ(runWith({"-hz"}), help);
  EXPECT_EQ(runWith({"-h", "-x"}), help);
  EXPECT_EQ(runWith({"-h", infile, "0", outfile, "1"}), help);
  EXPECT_EQ(runWith({infile, "0", outfile, "1", "-h"}), help);
  EXPECT_FALSE(exists(outfile));
}

TEST_F(CommandLineTest, TellsAnUnknownOptionEvenWhenQuiet) {
  EXPECT_EQ(runWith({"-z"}), unknownOption('z'));
  EXPECT_EQ(runWith({"-q", "-z"}), unknownOption('z'));
  EXPECT_EQ(runWith({"-qz"}), unknownOption('z'));
  EXPECT_EQ(runWith({"-z", "-q"}), unknownOption('z'));
  EXPECT_EQ(runWith({"-x", "-h"}), unknownOption('x'));
  EXPECT_EQ(runWith({"-zh"}), unknownOption('z'));
  EXPECT_EQ(runWith({"-:"}), unknownOption(':'));
  EXPECT_EQ(runWith({"-?"}), unknownOption('?'));
  EXPECT_EQ(runWith({"--help"}), unknownOption('-'));
  EXPECT_EQ(runWith({infile, "0", outfile, "1", "-v"}), unknownOption('v'));
}

TEST_F(CommandLineTest, CountsMissingArguments) {
  EXPECT_EQ(runWith({}), missingArgument(0));
  EXPECT_EQ(runWith({infile}), missingArgument(1));
  EXPECT_EQ(runWith({infile, "0"}), missingArgument(2));
  EXPECT_EQ(runWith({infile, "0", outfile}), missingArgument(3));
  EXPECT_EQ(runWith({"-"}), missingArgument(1));
  EXPECT_EQ(runWith({"--", "-h"}), missingArgument(1));
  EXPECT_EQ(runWith({"--", "-q", "-z", "-h"}), missingArgument(3));
}

TEST_F(CommandLineTest, TakesOptionsBehindArgumentsUnlessTheEnvironmentForbidsIt) {
  const std::vector<std::string> arguments = {program, infile, "0", outfile, "-q"};
  EXPECT_EQ(run(arguments), silentFailure);
  EXPECT_EQ(inChild([&arguments] {
              ::setenv("POSIXLY_CORRECT", "1", 1);
              TestSupport::execute(arguments);
            }),
            noConversion("0", "-q"));
}

TEST_F(CommandLineTest, BeginsItsMessagesWithTheNameItWasCalledBy) {
  const std::string name = folder.path("renamed");
  ASSERT_EQ(::symlink(program, name.c_str()), 0);
  EXPECT_EQ(run({name, "-h"}), (Outcome{0, "", usage(name)}));
  EXPECT_EQ(run({name, "-z"}), (Outcome{1, "", name + ": unknown option: z\n"}));
}

TEST_F(CommandLineTest, KeepsItsStatusWhenNobodyReadsItsMessages) {
  const Outcome failure = {1, "", ""};
  EXPECT_EQ(
      inChild([] {
        std::signal(SIGPIPE, SIG_DFL);
        int ends[2] = {};
        if (::pipe(ends) != 0 || ::dup2(ends[1], STDERR_FILENO) < 0 || ::close(ends[0]) != 0) {
          std::abort();
        }
        TestSupport::execute({program, "-z"});
      }),
      failure);
}

TEST_F(CommandLineTest, TouchesNoFileBeforeTheWholeCommandLineIsRead) {
  TestSupport::writeFile(outfile, "kept");
  runWith({infile, "0", outfile});
  runWith({infile, "0", outfile, "1", "-z"});
  runWith({infile, "0", outfile, "1", "-h"});
  EXPECT_EQ(readFile(outfile), "kept");
}

TEST_F(CommandLineTest, FailsSilentlyForMissingArgumentsWhenQuiet) {
  EXPECT_EQ(runWith({"-q"}), silentFailure);
  EXPECT_EQ(runWith({"-q", infile, "0", outfile}), silentFailure);
  EXPECT_EQ(runWith({infile, "0", outfile, "-q"}), silentFailure);
}

TEST_F(CommandLineTest, IgnoresFurtherArguments) {
  EXPECT_EQ(runWith({infile, "0", outfile, "1", "fifth"}), complete);
  EXPECT_EQ(runWith({infile, "0", outfile, "1", "fifth", "sixth"}), complete);
}

TEST_F(CommandLineTest, TellsWhyInfileCannotBeAccessed) {
  const auto message = [](const std::string& name, int error) {
    return reported("Accessing INFILE argument \"" + name +
                    "\", produced the error: " + std::strerror(error));
  };
  EXPECT_EQ(runWith({missing, "0", outfile, "1"}), message(missing, ENOENT));
  EXPECT_EQ(runWith({"", "0", outfile, "1"}), message("", ENOENT));
  EXPECT_EQ(runWith({infile + "/x", "0", outfile, "1"}), message(infile + "/x", ENOTDIR));
  const std::string tooLong(5000, 'x');
  EXPECT_EQ(runWith({tooLong, "0", outfile, "1"}), message(tooLong, ENAMETOOLONG));
  EXPECT_EQ(runWith({"--", "-z", "0", outfile, "1"}), message("-z", ENOENT));
  const std::string link = folder.path("link");
  ASSERT_EQ(::symlink("nowhere", link.c_str()), 0);
  EXPECT_EQ(runWith({link, "0", outfile, "1"}), message(link, ENOENT));
}

TEST_F(CommandLineTest, FailsSilentlyForInfileWhenQuiet) {
  EXPECT_EQ(runWith({"-q", missing, "0", outfile, "1"}), silentFailure);
  EXPECT_EQ(runWith({missing, "0", outfile, "1", "-q"}), silentFailure);
}

TEST_F(CommandLineTest, LeavesOutfileAloneWhenInfileIsMissing) {
  TestSupport::writeFile(outfile, "kept");
  runWith({missing, "0", outfile, "1"});
  EXPECT_EQ(readFile(outfile), "kept");
}

TEST_F(CommandLineTest, TellsWhyOutfileCannotBeRemoved) {
  const std::string directory = folder.path("directory");
  ::mkdir(directory.c_str(), 0777);
  const auto message = [](const std::string& name, int error) {
    return reported("Accessing OUTFILE argument \"" + name +
                    "\", produced the error: " + std::strerror(error));
  };
  EXPECT_EQ(runWith({infile, "0", directory, "1"}), message(directory, EISDIR));
  EXPECT_EQ(runWith({infile, "0", infile + "/x", "1"}), message(infile + "/x", ENOTDIR));
  EXPECT_TRUE(exists(directory));
}

TEST_F(CommandLineTest, RefusesADeviceAsOutfile) {
  const std::string device = folder.path("device");
  for (const mode_t kind : {mode_t{S_IFCHR}, mode_t{S_IFBLK}}) {
    // Only privileged users can create devices. A link to one is refused, too.
    if (::mknod(device.c_str(), kind | 0600, makedev(1, 7)) != 0) {
      ASSERT_EQ(::symlink("/dev/full", device.c_str()), 0);
    }
    EXPECT_EQ(runWith({infile, "0", device, "1"}),
              reported("Accessing OUTFILE argument \"" + device +
                       "\", produced the error: " + std::strerror(ENOTSUP)));
    EXPECT_EQ(runWith({"-q", infile, "0", device, "1"}), silentFailure);
    struct stat status = {};
    EXPECT_EQ(::stat(device.c_str(), &status), 0);
    EXPECT_FALSE(S_ISREG(status.st_mode));
    ::unlink(device.c_str());
  }
}

TEST_F(CommandLineTest, RefusesALinkToADeviceAsOutfile) {
  const std::string link = folder.path("link");
  ASSERT_EQ(::symlink("/dev/full", link.c_str()), 0);
  EXPECT_EQ(runWith({"-q", infile, "0", link, "1"}), silentFailure);
  EXPECT_TRUE(exists(link));
}

TEST_F(CommandLineTest, RefusesADeviceThatIsBothFilesAsTheSameFile) {
  const std::string link = folder.path("link");
  ASSERT_EQ(::symlink("/dev/full", link.c_str()), 0);
  EXPECT_EQ(runWith({link, "0", link, "1"}),
            reported("Accessing OUTFILE argument \"" + link +
                     "\", produced the error: " + std::strerror(EINVAL)));
  EXPECT_TRUE(exists(link));
}

TEST_F(CommandLineTest, FailsSilentlyForOutfileWhenQuiet) {
  EXPECT_EQ(runWith({"-q", infile, "0", folder.path("."), "1"}), silentFailure);
  EXPECT_EQ(runWith({infile, "0", infile + "/x", "1", "-q"}), silentFailure);
}

TEST_F(CommandLineTest, ConvertsBetweenTheVersionsItKnows) {
  EXPECT_EQ(runWith({infile, "0", outfile, "1"}), complete);
  EXPECT_EQ(runWith({"-q", infile, "0", outfile, "1"}), silentSuccess);
  EXPECT_EQ(runWith({infile, "0", outfile, "1", "-q"}), silentSuccess);
}

TEST_F(CommandLineTest, KnowsNoOtherVersions) {
  const std::vector<std::pair<std::string, std::string>> versions = {
      {"0", "2"}, {"00", "1"}, {" 0", "1"}, {"1", "1"}, {"1", "0"}, {"", ""}, {"0", "1 "}};
  for (const auto& [oldVersion, newVersion] : versions) {
    EXPECT_EQ(runWith({infile, oldVersion, outfile, newVersion}),
              noConversion(oldVersion, newVersion));
    EXPECT_EQ(runWith({"-q", infile, oldVersion, outfile, newVersion}), (Outcome{255, "", ""}));
  }
}

TEST_F(CommandLineTest, RemovesOutfileBeforeItLooksAtTheVersions) {
  TestSupport::writeFile(outfile, "gone");
  runWith({infile, "0", outfile, "2"});
  EXPECT_FALSE(exists(outfile));
}

}  // namespace
