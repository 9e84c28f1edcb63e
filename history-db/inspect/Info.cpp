// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/inspect/Info.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <map>
#include <optional>

#include "history-db/base/Counted.h"
#include "history-db/base/Json.h"
#include "history-db/base/Printable.h"
#include "history-db/files/FileJobs.h"
#include "history-db/inspect/Inspection.h"
#include "history-db/records/Database.h"
#include "history-db/records/Layout.h"

namespace HistoryDb {

namespace {

/// How many of the sizes that no record has are told.
constexpr std::size_t mostSizes = 10;

/// What the records of a history table tell.
struct History {
  TableName name;
  SchemaFound schema = SchemaFound::Either;
  /// How many records have a size that no record should have, by size.
  std::map<std::size_t, std::size_t> otherSizes;
  std::optional<std::int32_t> firstKey;
  std::optional<std::int32_t> lastKey;
  /// Rows whose key a row before them has.
  std::size_t duplicates = 0;
  /// Whether the records are too many for the size of the file; then nothing is known of them.
  bool areTooMany = false;
};

History historyOf(const InspectedTable& table) {
  History history;
  history.name = table.name;
  history.areTooMany = table.hasTooManyRows;
  std::vector<std::int32_t> keys;
  keys.reserve(table.rows.size());
  for (const InspectedRow& row : table.rows) {
    if (row.key) {
      keys.push_back(*row.key);
    }
    if (row.body) {
      const std::size_t size = row.body->size();
      history.schema = combined(history.schema, schemaOf(table.name.kind, size));
      if (layoutOfSize(table.name.kind, size) == nullptr) {
        ++history.otherSizes[size];
      }
    }
  }
  if (!keys.empty()) {
    std::sort(keys.begin(), keys.end());
    history.firstKey = keys.front();
    history.lastKey = keys.back();
    const auto end = std::unique(keys.begin(), keys.end());
    history.duplicates = static_cast<std::size_t>(std::distance(end, keys.end()));
  }
  return history;
}

std::vector<History> historiesOf(const Inspection& inspection) {
  std::vector<History> histories;
  for (const InspectedTable& table : inspection.tables) {
    if (table.view) {
      histories.push_back(historyOf(table));
    }
  }
  return histories;
}

const char* orderOf(const CommitFound& commit) {
  return commit.order == Metakit::ByteOrder::Big ? "big-endian" : "little-endian";
}

std::string firstFaultOf(const Inspection& inspection) {
  const Fault& fault = inspection.faults.front();
  return fault.where + ": " + fault.what;
}

/// A name however long, printable.
std::string whole(std::string_view name) {
  return printable(name, name.size());
}

// ---- Text ----

/// Lines "name: value".
class Facts {
 public:
  template <class Value>
  void add(std::string_view name, const Value& value) {
    fmt::format_to(std::back_inserter(_text), "{}: {}\n", name, value);
  }

  const std::string& text() const { return _text; }

 private:
  std::string _text;
};

std::string stateOf(const Inspection& inspection) {
  std::string state = nameOf(inspection.state);
  switch (inspection.state) {
    case FileState::CutOff:
      return state + ", the one before it counts";
    case FileState::Empty:
      return inspection.length > 0 ? state + ", the first commit was cut off" : state;
    case FileState::NoDatafile:
    case FileState::Damaged:
      return state + ", " + firstFaultOf(inspection);
    default:
      return state;
  }
}

void add(Facts& facts, const History& history) {
  const std::string name = history.name.name;
  facts.add(name + " kind", nameOf(history.name.kind));
  if (history.areTooMany) {
    facts.add(name + " records", "too many for the size of the file");
    return;
  }
  facts.add(name + " schema", nameOf(history.schema));
  if (!history.otherSizes.empty()) {
    std::string sizes;
    std::size_t told = 0;
    for (const auto& [size, records] : history.otherSizes) {
      if (told == mostSizes) {
        sizes += fmt::format(" and {} more", history.otherSizes.size() - told);
        break;
      }
      sizes += fmt::format("{}{} ({})", told++ > 0 ? ", " : "", size,
                           counted(records, "record", "records"));
    }
    facts.add(name + " other sizes", sizes);
  }
  if (history.firstKey) {
    facts.add(name + " keys", fmt::format("{} to {}", *history.firstKey, *history.lastKey));
  }
  facts.add(name + " duplicate keys", history.duplicates);
}

std::string textOf(const Inspection& inspection) {
  Facts facts;
  facts.add("length", inspection.length);
  if (inspection.commit) {
    facts.add("byte order", orderOf(*inspection.commit));
  }
  facts.add("state", stateOf(inspection));
  if (inspection.faultCount > 0) {
    facts.add("faults", inspection.faultCount);
  }
  if (inspection.commit) {
    const CommitFound& commit = *inspection.commit;
    facts.add("last commit",
              fmt::format("root walk of {} bytes at {}, end at {}", commit.rootWalk.size,
                          commit.base + commit.rootWalk.position, commit.base + commit.end));
    facts.add("bytes before", commit.base);
    facts.add("live bytes", inspection.live);
    facts.add("free bytes", inspection.free);
  }
  facts.add("bytes behind", inspection.behind);
  for (const InspectedView& view : inspection.views) {
    facts.add("view " + whole(view.name),
              fmt::format("[{}], {}", whole(view.structure),
                          view.rows ? counted(*view.rows, "row", "rows") : "unknown rows"));
  }
  for (const History& history : historiesOf(inspection)) {
    add(facts, history);
  }
  return facts.text();
}

// ---- JSON ----

Json toJson(const History& history) {
  Json sizes = Json::array();
  for (const auto& [size, records] : history.otherSizes) {
    if (sizes.size() < mostSizes) {
      sizes.push_back({{"size", size}, {"records", records}});
    }
  }
  Json json = {{"name", history.name.name},
               {"kind", nameOf(history.name.kind)},
               {"schema", nameOf(history.schema)},
               {"otherSizes", sizes},
               {"otherSizeCount", history.otherSizes.size()}};
  json["firstKey"] = history.firstKey ? Json(*history.firstKey) : Json();
  json["lastKey"] = history.lastKey ? Json(*history.lastKey) : Json();
  json["duplicateKeys"] = history.duplicates;
  json["tooManyRecords"] = history.areTooMany;
  return json;
}

Json toJson(const Inspection& inspection) {
  Json json = {{"length", inspection.length}, {"state", nameOf(inspection.state)}};
  json["faults"] = inspection.faultCount;
  json["firstFault"] = inspection.faultCount > 0 ? Json(firstFaultOf(inspection)) : Json();
  json["commit"] = Json();
  if (inspection.commit) {
    const CommitFound& commit = *inspection.commit;
    json["commit"] = {{"byteOrder", orderOf(commit)},
                      {"rootWalkPosition", commit.base + commit.rootWalk.position},
                      {"rootWalkSize", commit.rootWalk.size},
                      {"end", commit.base + commit.end},
                      {"bytesBefore", commit.base},
                      {"liveBytes", inspection.live},
                      {"freeBytes", inspection.free}};
  }
  json["bytesBehind"] = inspection.behind;
  json["views"] = Json::array();
  for (const InspectedView& view : inspection.views) {
    json["views"].push_back({{"name", view.name},
                             {"structure", view.structure},
                             {"rows", view.rows ? Json(*view.rows) : Json()}});
  }
  json["histories"] = Json::array();
  for (const History& history : historiesOf(inspection)) {
    json["histories"].push_back(toJson(history));
  }
  return json;
}

/// A line.
std::string lineOf(const std::string& path, const Json& facts) {
  Json json = {{"file", path}};
  json.update(facts);
  return jsonText(json);
}

Status statusOf(const Inspection& inspection) {
  switch (inspection.state) {
    case FileState::Whole:
      return Status::Fine;
    case FileState::Empty:
      return inspection.length > 0 ? Status::Findings : Status::Fine;
    case FileState::CutOff:
      return Status::Findings;
    default:
      return Status::Trouble;
  }
}

}  // namespace

Status info(const InfoOptions& options, Console& console) {
  const bool isOne = options.files.size() == 1;
  const auto work = [&](const std::string& path) {
    const Inspection inspection = inspect(path);
    FileOutcome outcome;
    outcome.status = statusOf(inspection);
    if (outcome.status == Status::Trouble) {
      outcome.message = fmt::format("{}: It is {}: {}.", path, nameOf(inspection.state),
                                    firstFaultOf(inspection));
    }
    if (options.json && !options.quiet) {
      outcome.output = lineOf(path, toJson(inspection));
    } else if (!options.quiet) {
      outcome.output = isOne ? textOf(inspection)
                             : fmt::format("file: {}\n{}\n", whole(path), textOf(inspection));
    }
    return outcome;
  };
  const auto trouble = [&](const std::string& path, const std::string& message) {
    return options.json && !options.quiet ? lineOf(path, {{"trouble", message}}) : std::string();
  };
  return workOnFiles(options.files, options.jobs, !options.quiet, work, trouble, console);
}

}  // namespace HistoryDb
