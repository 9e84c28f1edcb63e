// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>

#include <nlohmann/json.hpp>

#include "fuzz/Check.h"
#include "fuzz/Digest.h"
#include "fuzz/MemoryLimit.h"
#include "fuzz/Targets.h"
#include "history-db/base/Console.h"
#include "history-db/base/Trouble.h"
#include "history-db/dump/Dump.h"
#include "history-db/inspect/Check.h"
#include "history-db/inspect/Copy.h"
#include "history-db/inspect/Info.h"
#include "history-db/inspect/Inspection.h"
#include "history-db/migrate/Verify.h"
#include "metakit/Datafile.h"
#include "metakit/File.h"

namespace Fuzz {

namespace {

namespace fs = std::filesystem;

using HistoryDb::Status;

/// A folder in memory, where there is one, which goes with the process.
class Folder {
 public:
  Folder() {
    std::string name = fs::exists("/dev/shm") ? "/dev/shm/fuzz-XXXXXX" : "/tmp/fuzz-XXXXXX";
    check(::mkdtemp(name.data()) != nullptr, "a folder can be made");
    _path = name;
  }
  ~Folder() {
    std::error_code ignored;
    fs::remove_all(_path, ignored);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  const fs::path& path() const { return _path; }

 private:
  fs::path _path;
};

/// What a command left behind.
struct Outcome {
  Status status;
  std::string output;
};

/// Runs a command as the command line does.
Outcome run(const std::function<Status(HistoryDb::Console&)>& command) {
  char* output = nullptr;
  char* messages = nullptr;
  std::size_t outputSize = 0;
  std::size_t messagesSize = 0;
  std::FILE* const outputFile = ::open_memstream(&output, &outputSize);
  std::FILE* const messagesFile = ::open_memstream(&messages, &messagesSize);
  Outcome outcome{Status::Trouble, ""};
  {
    const MemoryLimit limit(subcommandMemoryLimit);
    HistoryDb::Console console(outputFile, messagesFile);
    try {
      outcome.status = command(console);
      console.finish();
    } catch (const std::exception& trouble) {
      console.tell(trouble.what());
    }
  }
  std::fclose(outputFile);
  std::fclose(messagesFile);
  outcome.output.assign(output, outputSize);
  check(outcome.status != Status::Trouble || messagesSize > 0, "trouble is told");
  std::free(output);
  std::free(messages);
  return outcome;
}

/// Every line, or all of it.
void checkJson(const Outcome& outcome, bool isLines) {
  std::istringstream lines(outcome.output);
  std::string text = outcome.output;
  while (isLines ? static_cast<bool>(std::getline(lines, text)) : !text.empty()) {
    check(nlohmann::json::accept(text), "JSON is valid");
    if (!isLines) {
      break;
    }
  }
}

auto stateOf(const std::string& path) {
  struct stat status = {};
  check(::stat(path.c_str(), &status) == 0, "the input stays");
  std::ifstream stream(path, std::ios::binary);
  return std::make_tuple(std::string(std::istreambuf_iterator<char>(stream), {}), status.st_ino,
                         status.st_mtim.tv_sec, status.st_mtim.tv_nsec, status.st_ctim.tv_sec,
                         status.st_ctim.tv_nsec);
}

std::uint64_t digestOf(const std::string& path, bool& isValid) {
  const Metakit::Datafile file(path.c_str(), false);
  isValid = file.isValid();
  return Digest(*file.root()).value();
}

void checkCopy(const std::string& path, const std::string& copy) {
  const Outcome outcome = run([&](HistoryDb::Console& console) {
    return HistoryDb::copy({path, copy, false}, console);
  });
  bool isValid = false;
  const std::uint64_t digest = digestOf(path, isValid);
  check(!isValid || outcome.status != Status::Trouble, "a sound file is copied");
  check(fs::exists(copy) == (outcome.status != Status::Trouble), "a copy is there or trouble");
  if (fs::exists(copy)) {
    bool isCopyValid = false;
    const std::uint64_t copied = digestOf(copy, isCopyValid);
    check(isCopyValid, "a copy is sound");
    check(!isValid || copied == digest, "a copy holds the same");
    check(isValid || outcome.status == Status::Findings, "a copy of a damaged file is told");
    fs::remove(copy);
  }
}

}  // namespace

void subcommands(const std::uint8_t* bytes, std::size_t size) {
  static const Folder folder;
  // Other targets put files in memory in the place of the system's.
  Metakit::setFileOpener({});
  const std::string path = folder.path() / "file";
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes), static_cast<std::streamsize>(size));
  const auto before = stateOf(path);

  bool isValid = false;
  digestOf(path, isValid);
  const HistoryDb::Inspection inspection = HistoryDb::inspect(path);
  check(isValid == (inspection.faultCount == 0), "the engine opens what has no fault");
  for (const bool json : {false, true}) {
    const Outcome info = run([&](HistoryDb::Console& console) {
      return HistoryDb::info({{path}, json, false, 1}, console);
    });
    check(isValid == (info.status != Status::Trouble), "info tells what can be opened");
    const Outcome found = run([&](HistoryDb::Console& console) {
      return HistoryDb::check({{path}, json, false, 1}, console);
    });
    check(isValid || found.status != Status::Fine, "check tells of damage");
    if (json) {
      checkJson(info, true);
      checkJson(found, true);
    }
  }
  const bool hasTooManyRows =
      std::any_of(inspection.tables.begin(), inspection.tables.end(),
                  [](const HistoryDb::InspectedTable& table) { return table.hasTooManyRows; });
  for (const char* format : {"json", "jsonl", "csv"}) {
    const Outcome dump = run([&](HistoryDb::Console& console) {
      HistoryDb::DumpOptions options;
      options.file = path;
      options.format = format;
      return HistoryDb::dump(options, console);
    });
    check((isValid && !hasTooManyRows) == (dump.status != Status::Trouble),
          "dump prints what can be opened and is not too much");
    if (format[0] == 'j') {
      checkJson(dump, format == std::string("jsonl"));
    }
  }
  checkJson(run([&](HistoryDb::Console& console) {
              HistoryDb::VerifyOptions options;
              options.original = path;
              options.converted = path;
              options.json = true;
              return HistoryDb::verify(options, console);
            }),
            false);
  checkCopy(path, folder.path() / "copy");
  check(stateOf(path) == before, "what is read is not written");
}

}  // namespace Fuzz
