// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/cli/CommandLine.h"

#include <new>
#include <sstream>
#include <string>

#include <CLI/CLI.hpp>

#include "history-db/dump/Dump.h"
#include "history-db/dump/Load.h"
#include "history-db/inspect/Check.h"
#include "history-db/inspect/Copy.h"
#include "history-db/inspect/Info.h"
#include "history-db/migrate/Migrate.h"
#include "history-db/migrate/Verify.h"
#include "history-db/plot/Plot.h"
#include "history-db/records/Sample.h"

namespace HistoryDb {

namespace {

/// A number of what is counted, such as records in a sample.
const CLI::Range manyRecords(0, 1000000);

/// The command line: options of all subcommands, and what is to be run.
class CommandLine {
 public:
  explicit CommandLine(Console& console) : _console(console) {
    _app.require_subcommand(1);
    _app.set_version_flag("--version", "history-db " HISTORY_DB_VERSION);
    addInfo();
    addCheck();
    addDump();
    addLoad();
    addVerify();
    addMigrate();
    addSample();
    addPlot();
    addCopy();
  }

  Status run(int argc, const char* const* argv) {
    try {
      _app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
      std::ostringstream output;
      std::ostringstream messages;
      const bool isHelp = _app.exit(error, output, messages) == 0;
      _console.print(output.str());
      if (!isHelp) {
        std::string text = messages.str();
        text.erase(text.find_last_not_of('\n') + 1);
        // The last line says where help is.
        const std::size_t end = text.rfind('\n');
        _console.tell(text.substr(0, end), end == std::string::npos ? "" : text.substr(end + 1));
      }
      _console.finish();
      return isHelp ? Status::Fine : Status::Trouble;
    }
    const Status status = _command();
    _console.finish();
    return status;
  }

 private:
  /// A subcommand that calls `command` with the options that `describe` fills in.
  template <class Options>
  CLI::App& add(const char* name, const char* purpose, Options& options,
                Status (*command)(const Options&, Console&)) {
    CLI::App& sub = *_app.add_subcommand(name, purpose);
    sub.callback([this, &options, command] {
      _command = [this, &options, command] { return command(options, _console); };
    });
    return sub;
  }

  template <class Options>
  static void addFileOptions(CLI::App& sub, Options& options) {
    sub.add_option("FILE", options.files, "The database files")->required();
    sub.add_flag("--json", options.json, "Print one line of JSON for each file");
    sub.add_flag("-q,--quiet", options.quiet, "Tell nothing but the status and trouble");
    sub.add_option("-j,--jobs", options.jobs, "Work on so many files at the same time")
        ->check(CLI::Range(1, 256));
  }

  template <class Options>
  static void addForce(CLI::App& sub, Options& options) {
    sub.add_flag("-f,--force", options.force, "Replace a file that exists");
  }

  void addInfo() {
    addFileOptions(add("info", "Tell what database files hold", _info, info), _info);
  }

  void addCheck() {
    addFileOptions(add("check", "Tell everything that is wrong with database files", _check, check),
                   _check);
  }

  void addDump() {
    CLI::App& sub = add("dump", "Print all records of a database, field by field", _dump, dump);
    sub.add_option("FILE", _dump.file, "The database file")->required();
    sub.add_option("--format", _dump.format, "json, jsonl or csv")
        ->check(CLI::IsMember({"json", "jsonl", "csv"}))
        ->capture_default_str();
    sub.add_option("--table", _dump.tables, "Only this table; can be given more than once")
        ->expected(1)
        ->take_all();
    sub.add_option("--key", _dump.keys, "Only records of this key; can be given more than once")
        ->expected(1)
        ->take_all();
  }

  void addLoad() {
    CLI::App& sub = add("load", "Write a database from what dump printed", _load, load);
    sub.add_option("JSON", _load.document, "The document; - is standard input")->required();
    sub.add_option("FILE", _load.file, "The database file to write")->required();
    addForce(sub, _load);
  }

  void addVerify() {
    CLI::App& sub = add("verify", "Prove a conversion from schema 0 to 1", _verify, verify);
    sub.add_option("INFILE", _verify.original, "The database that was converted")->required();
    sub.add_option("OUTFILE", _verify.converted, "What came out")->required();
    sub.add_flag("--json", _verify.json, "Print the outcome as JSON");
    sub.add_flag("-q,--quiet", _verify.quiet, "Tell nothing but the status and trouble");
    sub.add_option("--receipt", _verify.receipt, "Write a receipt to this file");
    addForce(sub, _verify);
  }

  void addMigrate() {
    CLI::App& sub = add("migrate", "Convert a database to schema 1, with care", _migrate, migrate);
    sub.add_option("FILE", _migrate.file, "The database file")->required();
    sub.add_option("--output", _migrate.output, "Write the result here and leave FILE alone");
    sub.add_option("--converter", _migrate.converter, "The program history-convert");
    sub.add_flag("-n,--dry-run", _migrate.dryRun, "Try all of it, but leave everything as it is");
    sub.add_flag("-q,--quiet", _migrate.quiet, "Tell nothing but the status and trouble");
    addForce(sub, _migrate);
  }

  void addSample() {
    CLI::App& sub = add("sample", "Write a database with made-up histories", _sample, sample);
    sub.add_option("FILE", _sample.file, "The database file to write")->required();
    sub.add_option("--schema", _sample.schema, "0 or 1")
        ->check(CLI::IsMember({0, 1}))
        ->capture_default_str();
    sub.add_option("--systems", _sample.systems, "How many systems")
        ->check(manyRecords)
        ->capture_default_str();
    sub.add_option("--zones", _sample.zones, "How many zones")
        ->check(manyRecords)
        ->capture_default_str();
    sub.add_option("--native-zones", _sample.nativeZones, "How many native zones")
        ->check(manyRecords)
        ->capture_default_str();
    sub.add_option("--seed", _sample.seed, "Another number, other histories")
        ->capture_default_str();
    sub.add_flag("--label", _sample.label, "Have every value tell where it belongs");
    addForce(sub, _sample);
  }

  void addPlot() {
    CLI::App& sub = add("plot", "Draw the days and months of a record", _plot, plot);
    sub.add_option("FILE", _plot.file, "The database file")->required();
    sub.add_option("--table", _plot.table, "The table; the first with records without it");
    sub.add_option("--key", _plot.key, "The record; the first of the table without it");
    sub.add_option("--field", _plot.fields,
                   "Fields such as minA,maxA; minima and maxima without it")
        ->delimiter(',')
        ->expected(1)
        ->take_all();
    sub.add_option("-o,--output", _plot.output, "The file to write; standard output without it");
    CLI::Option* const terminal =
        sub.add_flag("--terminal", _plot.terminal, "Draw with characters instead, 80 columns wide");
    sub.add_flag("--ascii", _plot.ascii, "With --terminal: use no other characters than ASCII")
        ->needs(terminal);
    addForce(sub, _plot);
  }

  void addCopy() {
    CLI::App& sub = add("copy", "Write a compact copy, of what can be read", _copy, copy);
    sub.add_option("FILE", _copy.file, "The database file")->required();
    sub.add_option("NEWFILE", _copy.newFile, "The copy to write")->required();
    addForce(sub, _copy);
  }

  Console& _console;
  CLI::App _app{"Looks into history databases, proves and makes them", "history-db"};
  std::function<Status()> _command;
  InfoOptions _info;
  CheckOptions _check;
  DumpOptions _dump;
  LoadOptions _load;
  VerifyOptions _verify;
  MigrateOptions _migrate;
  SampleOptions _sample;
  PlotOptions _plot;
  CopyOptions _copy;
};

}  // namespace

Status runCommandLine(int argc, const char* const* argv, Console& console) {
  try {
    return CommandLine(console).run(argc, argv);
  } catch (const std::bad_alloc&) {
    console.tell("There is not enough memory.");
  } catch (const std::exception& trouble) {
    console.tell(trouble.what());
  }
  return Status::Trouble;
}

}  // namespace HistoryDb
