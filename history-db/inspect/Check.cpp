// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/inspect/Check.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <map>
#include <string_view>
#include <utility>

#include "history-db/base/Counted.h"
#include "history-db/base/Json.h"
#include "history-db/base/Printable.h"
#include "history-db/files/FileJobs.h"
#include "history-db/inspect/Inspection.h"
#include "history-db/records/Layout.h"
#include "history-db/records/Value.h"
#include "persist/history/Schema0System.h"
#include "persist/history/Schema1System.h"
#include "persist/history/Schema1Zone.h"

namespace HistoryDb {

namespace {

/// The findings of one file. Keeps the first ones and counts all.
class Findings {
 public:
  /// `where` gives the place in words.
  template <class Where, class... Arguments>
  void addError(const Where& where, fmt::format_string<Arguments...> what,
                const Arguments&... arguments) {
    add(_errors, true, false, where, what, arguments...);
  }
  /// An error that a conversion keeps as it is.
  template <class Where, class... Arguments>
  void addKeptError(const Where& where, fmt::format_string<Arguments...> what,
                    const Arguments&... arguments) {
    add(_errors, true, true, where, what, arguments...);
  }
  template <class Where, class... Arguments>
  void addWarning(const Where& where, fmt::format_string<Arguments...> what,
                  const Arguments&... arguments) {
    add(_warnings, false, false, where, what, arguments...);
  }

  /// More errors, of which some were told.
  void countErrors(std::size_t count) { _errors += count; }

  std::size_t errors() const { return _errors; }
  std::size_t warnings() const { return _warnings; }
  std::size_t count() const { return _errors + _warnings; }
  std::vector<Finding>& first() { return _first; }

 private:
  template <class Where, class... Arguments>
  void add(std::size_t& count, bool isError, bool isKept, const Where& where,
           fmt::format_string<Arguments...> what, const Arguments&... arguments) {
    ++count;
    if (_first.size() < mostFindings) {
      _first.push_back({isError, where(), fmt::format(what, arguments...), isKept});
    }
  }

  std::vector<Finding> _first;
  std::size_t _errors = 0;
  std::size_t _warnings = 0;
};

// ---- Rings ----

template <class Record>
std::string_view firstPeriodOf(const Layout& layout) {
  static const Record record;
  const auto* bytes = reinterpret_cast<const char*>(&record);
  return {bytes + layout.rings[0].offset, static_cast<std::size_t>(layout.periodSize)};
}

/// The bytes of a period that was cleared: minima and maxima with their start values. Zone records
/// of schema 0 have none when they are made, but the same later.
std::string_view clearedPeriodOf(const Layout& layout) {
  namespace Kiv = Pvn::Persist::History::Kiv;
  return layout.kind == Kind::Zone ? firstPeriodOf<Kiv::Schema1::Bramal::Zone::Record>(layout)
         : layout.schema == 0      ? firstPeriodOf<Kiv::Schema0::Bramal::System::Record>(layout)
                                   : firstPeriodOf<Kiv::Schema1::Bramal::System::Record>(layout);
}

/// Looks for what a healthy device would not have stored in records of one layout.
class RecordCheck {
 public:
  explicit RecordCheck(const Layout& layout)
      : _layout(layout),
        _cleared(clearedPeriodOf(layout)),
        _time0(*layout.periodField("time0")),
        _time1(*layout.periodField("time1")) {
    for (const Field& field : layout.period) {
      const std::string name = field.name;
      const Field* maximum = name.rfind("min", 0) == 0
                                 ? layout.periodField(("max" + name.substr(3)).c_str())
                                 : nullptr;
      if (maximum != nullptr) {
        _pairs.push_back({&field, maximum});
      }
    }
  }

  /// `record` tells which one it is.
  template <class Name>
  void run(std::string_view body, const Name& record, Findings& findings) const {
    doubles(body.substr(0), _layout.header, record, findings);
    for (const Ring& ring : _layout.rings) {
      int newer = -1;
      for (int index = 0; index < ring.count; ++index) {
        const auto period = [&](int at) {
          const int offset = ring.offset + at * _layout.periodSize;
          return body.substr(static_cast<std::size_t>(offset),
                             static_cast<std::size_t>(_layout.periodSize));
        };
        const auto where = [&] { return fmt::format("{} {}[{}]", record(), ring.name, index); };
        doubles(period(index), _layout.period, where, findings);
        pairs(period(index), where, findings);
        const Times times = timesOf(period(index));
        if (times.areUnused()) {
          continue;
        }
        if (times.time1 < times.time0) {
          findings.addWarning(where, "it ends before it begins: time0 {}, time1 {}", times.time0,
                              times.time1);
        }
        const Times current = timesOf(period(0));
        if (index > 0 && !current.areUnused() && times.areNewerThan(current)) {
          findings.addWarning(where, "it is newer than the current one: {} and {}", told(times),
                              told(current));
        } else if (newer > 0 && times.areNewerThan(timesOf(period(newer)))) {
          findings.addWarning(where, "it is newer than {}[{}]: {} and {}", ring.name, newer,
                              told(times), told(timesOf(period(newer))));
        }
        newer = index;
      }
    }
  }

 private:
  struct Times {
    std::int32_t time0;
    std::int32_t time1;

    bool areUnused() const { return time0 == 0 && time1 == 0; }
    bool areNewerThan(const Times& other) const {
      return time0 > other.time0 || time1 > other.time1;
    }
  };

  Times timesOf(std::string_view period) const {
    return {integerAt(period, _time0.offset, _time0.type),
            integerAt(period, _time1.offset, _time1.type)};
  }

  static std::string told(const Times& times) {
    return fmt::format("{} to {}", times.time0, times.time1);
  }

  template <class Where>
  static void doubles(std::string_view bytes, List<Field> fields, const Where& where,
                      Findings& findings) {
    for (const Field& field : fields) {
      for (int i = 0; field.type == Type::Double && i < field.count; ++i) {
        const int offset = field.offset + i * sizeOf(field.type);
        if (!std::isfinite(realAt(bytes, offset))) {
          const auto here = [&] { return fmt::format("{} {}", where(), nameOf(field, i)); };
          findings.addWarning(here, "{}", valueAt(bytes, offset, field.type));
        }
      }
    }
  }

  template <class Where>
  void pairs(std::string_view period, const Where& where, Findings& findings) const {
    for (const auto& [minimum, maximum] : _pairs) {
      const bool isCleared = bitsOf(*minimum, period) == bitsOf(*minimum, _cleared) &&
                             bitsOf(*maximum, period) == bitsOf(*maximum, _cleared);
      if (!isCleared && realAt(period, minimum->offset) > realAt(period, maximum->offset)) {
        const auto here = [&, name = minimum->name] { return fmt::format("{} {}", where(), name); };
        findings.addWarning(here, "{} is above {} {}",
                            valueAt(period, minimum->offset, minimum->type), maximum->name,
                            valueAt(period, maximum->offset, maximum->type));
      }
    }
  }

  static std::uint64_t bitsOf(const Field& field, std::string_view period) {
    return bitsAt(period, field.offset, field.type);
  }

  static std::string nameOf(const Field& field, int index) {
    return field.count == 1 ? field.name : fmt::format("{}[{}]", field.name, index);
  }

  static std::string valueAt(std::string_view bytes, int offset, Type type) {
    std::string text;
    appendValue(text, bytes, offset, type);
    return text;
  }

  const Layout& _layout;
  const std::string_view _cleared;
  const Field& _time0;
  const Field& _time1;
  std::vector<std::pair<const Field*, const Field*>> _pairs;
};

// ---- Tables ----

std::string nameOf(const InspectedTable& table, std::size_t row) {
  const auto& key = table.rows[row].key;
  return key ? fmt::format("{} key {}", table.name.name, *key)
             : fmt::format("{} row {}", table.name.name, row);
}

void checkStructure(const InspectedTable& table, const Inspection& inspection, Findings& findings) {
  const auto where = [&] { return table.name.name; };
  if (table.isNoView) {
    findings.addError(where, "it is no table");
  } else if (table.view && !table.isUsual) {
    constexpr std::size_t longest = 200;
    findings.addError(where, "its structure is [{}], not [Key:I,Record:B]",
                      printable(inspection.views[*table.view].structure, longest));
  }
  if (table.hasTooManyRows) {
    findings.addError(where, "it has too many rows for the size of the file, {}; none is checked",
                      *inspection.views[*table.view].rows);
  }
}

void checkSizes(const InspectedTable& table, Findings& findings) {
  const Kind kind = table.name.kind;
  const int size0 = layoutOf(kind, 0).size;
  const int size1 = layoutOf(kind, 1).size;
  SchemaFound schema = SchemaFound::Either;
  for (std::size_t row = 0; row < table.rows.size(); ++row) {
    const auto& body = table.rows[row].body;
    if (!body) {
      continue;
    }
    if (layoutOfSize(kind, body->size()) != nullptr) {
      schema = combined(schema, schemaOf(kind, body->size()));
      continue;
    }
    findings.addError(
        [&] { return nameOf(table, row); }, "a record of {} bytes, not of {}", body->size(),
        size0 == size1 ? std::to_string(size0) : fmt::format("{} or {}", size0, size1));
  }
  if (schema == SchemaFound::Mixed) {
    findings.addError([&] { return table.name.name; },
                      "it has records of schema 0 and of schema 1");
  }
}

void checkKeys(const InspectedTable& table, Findings& findings) {
  std::vector<std::pair<std::int32_t, std::size_t>> keys;
  keys.reserve(table.rows.size());
  for (std::size_t row = 0; row < table.rows.size(); ++row) {
    if (table.rows[row].key) {
      keys.emplace_back(*table.rows[row].key, row);
    }
  }
  std::sort(keys.begin(), keys.end());
  for (std::size_t i = 1; i < keys.size(); ++i) {
    if (keys[i].first == keys[i - 1].first) {
      findings.addKeptError([&] { return nameOf(table, keys[i].second); },
                            "rows {} and {} have the same key", keys[i - 1].second, keys[i].second);
    }
  }
}

Findings findingsOf(const Inspection& inspection) {
  Findings findings;
  for (const Fault& fault : inspection.faults) {
    findings.addError([&] { return fault.where; }, "{}", fault.what);
  }
  findings.countErrors(inspection.faultCount - inspection.faults.size());
  for (const InspectedTable& table : inspection.tables) {
    checkStructure(table, inspection, findings);
    checkSizes(table, findings);
    checkKeys(table, findings);
  }
  const auto wholeFile = [] { return ""; };
  if (inspection.state == FileState::CutOff) {
    findings.addWarning(wholeFile, "the last commit was cut off; the one before it counts");
  } else if (inspection.state == FileState::Empty && inspection.length > 0) {
    findings.addWarning(wholeFile, "the first commit was cut off; there is nothing");
  }
  std::map<const Layout*, RecordCheck> checks;
  for (const InspectedTable& table : inspection.tables) {
    for (std::size_t row = 0; row < table.rows.size(); ++row) {
      const auto& body = table.rows[row].body;
      const Layout* layout = body ? layoutOfSize(table.name.kind, body->size()) : nullptr;
      if (layout != nullptr) {
        const RecordCheck& check = checks.try_emplace(layout, *layout).first->second;
        check.run(
            *body, [&] { return nameOf(table, row); }, findings);
      }
    }
  }
  return findings;
}

Findings findingsOf(const InputFile& file) {
  const Inspection inspection = inspect(file);
  if (inspection.state == FileState::NoDatafile) {
    throw Trouble(file.name() + ": It is no database: " + inspection.faults.front().what + '.');
  }
  return findingsOf(inspection);
}

// ---- Telling ----

const char* severityOf(const Finding& finding) {
  return finding.isError ? "error" : "warning";
}

std::string textOf(const std::string& path, Findings& findings) {
  const std::string name = printable(path, path.size());
  std::string text;
  for (const Finding& finding : findings.first()) {
    fmt::format_to(std::back_inserter(text), "{}: {}: {}{}{}\n", name, severityOf(finding),
                   finding.where, finding.where.empty() ? "" : ": ", finding.what);
  }
  fmt::format_to(std::back_inserter(text), "{}: {}, {}", name,
                 counted(findings.errors(), "error", "errors"),
                 counted(findings.warnings(), "warning", "warnings"));
  if (findings.count() > findings.first().size()) {
    fmt::format_to(std::back_inserter(text), "; the first {} are told", findings.first().size());
  }
  return text + '\n';
}

std::string jsonOf(const std::string& path, Findings& findings) {
  Json json = {{"file", path},
               {"errors", findings.errors()},
               {"warnings", findings.warnings()},
               {"findings", Json::array()}};
  for (const Finding& finding : findings.first()) {
    json["findings"].push_back(
        {{"severity", severityOf(finding)}, {"where", finding.where}, {"what", finding.what}});
  }
  return jsonText(json);
}

}  // namespace

std::vector<Finding> findingsIn(const InputFile& file) {
  return std::move(findingsOf(file).first());
}

Status check(const CheckOptions& options, Console& console) {
  const auto work = [&](const std::string& path) {
    Findings findings = findingsOf(InputFile(path));
    FileOutcome outcome;
    outcome.status = findings.count() > 0 ? Status::Findings : Status::Fine;
    if (!options.quiet) {
      outcome.output = options.json ? jsonOf(path, findings) : textOf(path, findings);
    }
    return outcome;
  };
  const auto trouble = [&](const std::string& path, const std::string& message) {
    return options.json && !options.quiet ? jsonText({{"file", path}, {"trouble", message}})
                                          : std::string();
  };
  return workOnFiles(options.files, options.jobs, !options.quiet, work, trouble, console);
}

}  // namespace HistoryDb
