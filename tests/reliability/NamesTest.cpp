// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/reliability/Trial.h"

namespace Reliability {

namespace {

using TestSupport::goldenFile;
using TestSupport::readFile;

/// What the program tells of a name that it cannot use from the start.
Outcome refused(const std::string& argument, const std::string& name, int error) {
  const std::string program = HISTORY_CONVERT;
  return {0, "",
          program + ": Accessing " + argument + " argument \"" + name +
              "\", produced the error: " + std::strerror(error) +
              "\n\n"
              "Usage: " +
              program +
              " [OPTIONS] INFILE OLDVERS OUTFILE NEWVERS\n"
              "Convert the INFILE database of the version specified\n"
              "by the OLDVERS identifier to the version specified\n"
              "by NEWVERS and write the result to the OUTFILE database.\n"
              "OPTIONS:\n"
              "   -h                 Print this Help message.\n"
              "   -q                 Suppress progress/error messages\n"};
}

/// What it tells of a file that it cannot use, without the id of the thread.
Outcome fatal(const std::string& argument, const std::string& name, const std::string& reason) {
  return {255, "",
          "@@ FATAL ERROR [creator]: " + argument + " \"" + name + "\" cannot be opened. " +
              reason + ".\n"};
}

Outcome fatal(const std::string& argument, const std::string& name, int error) {
  return fatal(argument, name, std::strerror(error));
}

const std::string notRegular = "It is not a regular file";
const std::string tooLong = "Its name has more than 1024 characters";

/// Long and odd names, and names of what is no file: each run comes to a clear end.
class NamesTest : public Trial {
 protected:
  NamesTest() {
    makeInfile(readFile(goldenFile("typical.mk").path));
    make("fifo", [](const char* path) { return ::mkfifo(path, 0666); });
    make("directory", [](const char* path) { return ::mkdir(path, 0777); });
    make("dangling", [](const char* path) { return ::symlink("nowhere", path); });
    make("loop", [](const char* path) { return ::symlink("loop", path); });
    make("socket", bindSocket);
  }

  /// An entry of the folder, and its path.
  std::string make(const std::string& name, const std::function<int(const char*)>& maker) {
    otherEntries.push_back(name);
    EXPECT_EQ(maker(folder.path(name).c_str()), 0) << name;
    return folder.path(name);
  }

  static int bindSocket(const char* path) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path, sizeof address.sun_path - 1);
    const int file = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int result = ::bind(file, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    ::close(file);
    return result;
  }

  /// `name` in the folder, by way of many steps through `directory` and back.
  std::string roundabout(const std::string& name, std::size_t size) const {
    std::string path = folder.path("");
    while (path.size() + name.size() < size) {
      path += "directory/../";
    }
    return path + name;
  }

  /// As a user who may not remove a device, whoever runs the tests.
  Outcome tell(const std::string& from, const std::string& to, const Mishap& mishap = {}) {
    Outcome outcome = runAsNobody({HISTORY_CONVERT, "--", from, "0", to, "1"}, mishap);
    const std::string thread = "[creator";
    const std::size_t at = outcome.standardError.find(thread);
    if (at != std::string::npos) {
      const std::size_t end = at + thread.size();
      outcome.standardError.erase(end, outcome.standardError.find(']', end) - end);
    }
    return outcome;
  }
};

TEST_F(NamesTest, EachInfileHasAClearEnd) {
  const std::string component(256, 'n');
  const std::string path = roundabout("in.mk", 1025);
  const struct {
    std::string name;
    Outcome expected;
  } cases[] = {
      {"", refused("INFILE", "", ENOENT)},
      {folder.path("dangling"), refused("INFILE", folder.path("dangling"), ENOENT)},
      {folder.path("loop"), refused("INFILE", folder.path("loop"), ELOOP)},
      {folder.path(component), refused("INFILE", folder.path(component), ENAMETOOLONG)},
      {std::string(5000, '/'), refused("INFILE", std::string(5000, '/'), ENAMETOOLONG)},
      {infile + "/", refused("INFILE", infile + "/", ENOTDIR)},
      {path, fatal("INFILE", path, tooLong)},
      {folder.path("directory"), fatal("INFILE", folder.path("directory"), EISDIR)},
      {"/", fatal("INFILE", "/", EISDIR)},
      {folder.path("fifo"), fatal("INFILE", folder.path("fifo"), notRegular)},
      {folder.path("socket"), fatal("INFILE", folder.path("socket"), ENXIO)},
      {"/dev/null", fatal("INFILE", "/dev/null", notRegular)},
      {"/dev/zero", fatal("INFILE", "/dev/zero", notRegular)},
      {"/dev/full", fatal("INFILE", "/dev/full", notRegular)},
      {"/dev/urandom", fatal("INFILE", "/dev/urandom", notRegular)},
      {"/proc/self", fatal("INFILE", "/proc/self", EISDIR)},
      // It cannot be mapped.
      {"/sys/devices/system/cpu/online", fatal("INFILE", "/sys/devices/system/cpu/online", ENODEV)},
      // Files that the system says have no bytes.
      {"/proc/version", complete},
      {"/proc/self/maps", complete},
      {roundabout("in.mk", 1000), complete},
  };
  for (const auto& [name, expected] : cases) {
    EXPECT_EQ(tell(name, outfile), expected) << name;
    expectNothingElseTouched();
  }
  count("names", std::size(cases));
}

TEST_F(NamesTest, EachOutfileHasAClearEnd) {
  const std::string component(255, 'n');
  const std::string path = roundabout("out.mk", 1025);
  otherEntries.push_back(component);
  const struct {
    std::string name;
    Outcome expected;
  } cases[] = {
      {"", fatal("OUTFILE", "", ENOENT)},
      {folder.path("nowhere/out.mk"), fatal("OUTFILE", folder.path("nowhere/out.mk"), ENOENT)},
      {folder.path("new/"), fatal("OUTFILE", folder.path("new/"), EISDIR)},
      {path, fatal("OUTFILE", path, tooLong)},
      {folder.path(component + 'n'),
       refused("OUTFILE", folder.path(component + 'n'), ENAMETOOLONG)},
      {std::string(5000, '/'), refused("OUTFILE", std::string(5000, '/'), ENAMETOOLONG)},
      {folder.path("directory"), refused("OUTFILE", folder.path("directory"), EISDIR)},
      {folder.path("."), refused("OUTFILE", folder.path("."), EISDIR)},
      {infile + "/x", refused("OUTFILE", infile + "/x", ENOTDIR)},
      {"/dev/null", refused("OUTFILE", "/dev/null", ENOTSUP)},
      {"/dev/zero", refused("OUTFILE", "/dev/zero", ENOTSUP)},
      {"/dev/full", refused("OUTFILE", "/dev/full", ENOTSUP)},
      {"/proc/version", refused("OUTFILE", "/proc/version", EACCES)},
      {"/proc/new", fatal("OUTFILE", "/proc/new", ENOENT)},
      // What can be removed makes room for a file.
      {folder.path("fifo"), complete},
      {folder.path("socket"), complete},
      {folder.path("dangling"), complete},
      {folder.path("loop"), complete},
      {folder.path(component), complete},
      {roundabout("out.mk", 1000), complete},
  };
  for (const auto& [name, expected] : cases) {
    EXPECT_EQ(tell(infile, name), expected) << name;
    expectNothingElseTouched();
  }
  count("names", std::size(cases));
}

TEST_F(NamesTest, AnOutfileThatAppearsMeanwhileHasAClearEnd) {
  const std::string other = folder.path("other.mk");
  const Outcome expected = fatal("OUTFILE", outfile, "It is not a history database");
  int reports = 0;
  for (int call = 6; call <= 20; ++call) {
    SCOPED_TRACE(call);
    TestSupport::writeFile(other, "no database");
    ::chmod(other.c_str(), 0444);
    const Outcome outcome =
        tell(infile, outfile, {{"TRIAL_MOVE", std::to_string(call) + ',' + other + ',' + outfile}});
    if (outcome.status != 0) {
      EXPECT_EQ(outcome, expected);
      ++reports;
    }
    ::unlink(outfile.c_str());
  }
  EXPECT_GT(reports, 0);
}

TEST_F(NamesTest, ReportsInfileIfBothNamesAreTooLong) {
  const std::string from = roundabout("in.mk", 1025);
  EXPECT_EQ(tell(from, roundabout("out.mk", 1025)), fatal("INFILE", from, tooLong));
}

TEST_F(NamesTest, AnyBytesMakeAName) {
  /// A name, and how a fatal error prints it.
  const std::pair<std::string, std::string> names[] = {
      {"\xFF\xFE\x80", "\\xff\\xfe\\x80"},
      {"a\nb", "a\\x0ab"},
      {"%s%n%s%n", "%s%n%s%n"},
      {" ", " "},
      {"\"'`$(true)", "\"'`$(true)"},
      {"-q", "-q"},
      {"\x1B[31m\a\b\t", "\\x1b[31m\\x07\\x08\\x09"},
      {"\xC3\x28", "\\xc3("},
      {"*?[]{}", "*?[]{}"},
      {"\u202e\u00e4\\", "\\xe2\\x80\\xae\u00e4\\"},
  };
  for (const auto& [name, printed] : names) {
    const std::string from = folder.path(name);
    const std::string to = folder.path(name + "new");
    otherEntries.push_back(name);
    otherEntries.push_back(name + "new");
    TestSupport::writeFile(from, readFile(infile));
    EXPECT_EQ(tell(from, to), complete) << from;
    TestSupport::writeFile(from, "no database");
    EXPECT_EQ(tell(from, outfile),
              fatal("INFILE", folder.path(printed), "It is not a history database"));
    expectNothingElseTouched();
  }
  count("names", 2 * static_cast<int>(std::size(names)));
}

}  // namespace

}  // namespace Reliability
