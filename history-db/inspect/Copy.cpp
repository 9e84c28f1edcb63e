// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/inspect/Copy.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "history-db/base/Counted.h"
#include "history-db/base/Printable.h"
#include "history-db/files/NewFile.h"
#include "history-db/inspect/Inspection.h"
#include "history-db/records/NewDatabase.h"
#include "metakit/Column.h"
#include "metakit/Datafile.h"
#include "metakit/EntryReader.h"
#include "metakit/File.h"
#include "metakit/Sequence.h"
#include "metakit/Source.h"
#include "metakit/Space.h"
#include "metakit/Structure.h"
#include "metakit/ViewColumn.h"

namespace HistoryDb {

using Metakit::Sequence;
using Metakit::Structure;
using Metakit::ViewColumn;
using Metakit::WalkReader;

namespace {

// ---- Commits without a fault ----

/// The root of a commit. The engine gives that of the last one only; this holds any against the
/// engine's rules.
std::shared_ptr<Sequence> rootOf(const InputFile& input, const CommitFound& commit) {
  const Trouble changed(input.name() + ": It changed while it was read.");
  auto file = input.open();
  if (file->length() < commit.base + commit.end - Metakit::tailSize) {
    throw changed;
  }
  const auto source = std::make_shared<Metakit::Source>(
      std::move(file), commit.base, commit.end - Metakit::tailSize, commit.order);
  const std::uint8_t* bytes =
      source->holds(commit.rootWalk) ? source->bytes(commit.rootWalk) : nullptr;
  if (bytes == nullptr) {
    throw changed;
  }
  WalkReader walk(bytes, commit.rootWalk.size);
  walk.integer();
  const std::string_view description = walk.text(walk.count());
  const std::shared_ptr<const Structure> structure = Metakit::parseStructure(description);
  if (walk.failed() || structure == nullptr || WalkReader(walk).count() != 1) {
    throw changed;
  }
  WalkReader entries = walk;
  std::vector<Metakit::Extent> used = {commit.rootWalk};
  if (!Metakit::EntryReader(*source, used).rows(entries, *structure) || !entries.atEnd() ||
      !Metakit::Space().reset(commit.end, std::move(used))) {
    throw changed;
  }
  return std::make_shared<Sequence>(source, structure, walk);
}

/// Fills an empty table of the same structure. Column by column, without looking for their names:
/// there may be thousands.
void fill(Sequence& to, const Sequence& from) {
  for (std::int32_t row = 0; row < from.rows(); ++row) {
    to.append();
  }
  const auto& fields = from.structure().fields;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    Metakit::Column& column = to.columnAt(static_cast<int>(i));
    const Metakit::Column& source = from.columnAt(static_cast<int>(i));
    for (std::int32_t row = 0; row < from.rows(); ++row) {
      if (fields[i].type == 'V') {
        fill(*static_cast<ViewColumn&>(column).at(row),
             *static_cast<const ViewColumn&>(source).at(row));
      } else {
        column.copy(row, source, row);
      }
    }
  }
}

void copyAll(const Sequence& root, const NewFile& newFile) {
  Metakit::Datafile file(newFile.open());
  Sequence& copy = *file.root();
  copy.restructure(root.structure().clone());
  copy.remove(0, copy.rows());
  fill(copy, root);
  const int error = file.commit();
  if (error != 0) {
    throwError(newFile.path(), "It cannot be written", error);
  }
}

// ---- Others ----

void copyRows(const Inspection& inspection, const NewFile& newFile) {
  NewDatabase copy(newFile);
  for (const InspectedTable& table : inspection.tables) {
    if (!table.hasColumns) {
      continue;
    }
    copy.addTable(table.name.name);
    for (const InspectedRow& row : table.rows) {
      if (row.isComplete()) {
        copy.addRow(*row.key, *row.body);
      }
    }
  }
  copy.commit();
}

/// How many views or rows are named one by one.
constexpr std::size_t mostNamed = 20;

/// Names, the first ones of many.
class Names {
 public:
  void add(const std::string& name) {
    if (++_count <= mostNamed) {
      _names += (_count > 1 ? ", " : "") + name;
    }
  }
  bool areNone() const { return _count == 0; }
  std::string told() const {
    return _count > mostNamed ? fmt::format("{} and {} more", _names, _count - mostNamed) : _names;
  }

 private:
  std::string _names;
  std::size_t _count = 0;
};

std::string rows(std::size_t count) {
  return counted(count, "row", "rows");
}

void tellViews(const Inspection& inspection, const std::string& file, Console& console) {
  Names names;
  for (const InspectedView& view : inspection.views) {
    names.add(fmt::format("{} with {}", printable(view.name),
                          rows(static_cast<std::size_t>(view.rows.value_or(0)))));
  }
  console.tell(
      fmt::format("{}: The copy holds {}.", file, names.areNone() ? "no tables" : names.told()));
}

void tellTable(const InspectedTable& table, const Inspection& inspection, const std::string& file,
               Console& console) {
  const auto& known = inspection.views[*table.view].rows;
  if (!known) {
    console.tell(fmt::format("{}: {}: all is lost; how many rows there were is not known.", file,
                             table.name.name));
    return;
  }
  const auto all = static_cast<std::size_t>(*known);
  const std::size_t kept = table.completeRows();
  if (kept == all) {
    console.tell(
        fmt::format("{}: {}: the copy holds all of {}.", file, table.name.name, rows(all)));
    return;
  }
  if (table.rows.empty()) {
    console.tell(fmt::format("{}: {}: all of {} are lost.", file, table.name.name, rows(all)));
    return;
  }
  Names lost;
  for (std::size_t row = 0; row < table.rows.size(); ++row) {
    if (!table.rows[row].isComplete()) {
      const auto& key = table.rows[row].key;
      lost.add(key ? fmt::format("{} (key {})", row, *key) : std::to_string(row));
    }
  }
  console.tell(fmt::format("{}: {}: the copy holds {} of {}; lost are rows {}.", file,
                           table.name.name, kept, rows(all), lost.told()));
}

void tellTables(const Inspection& inspection, const std::string& file, Console& console) {
  Names others;
  for (std::size_t view = 0; view < inspection.views.size(); ++view) {
    const auto isIt = [&](const InspectedTable& table) {
      return table.view == view && table.hasColumns;
    };
    const auto* table = std::find_if(inspection.tables.begin(), inspection.tables.end(), isIt);
    if (table != inspection.tables.end()) {
      tellTable(*table, inspection, file, console);
    } else {
      others.add(printable(inspection.views[view].name));
    }
  }
  if (!others.areNone()) {
    console.tell(fmt::format("{}: Lost as a whole, being no history: {}.", file, others.told()));
  }
}

/// Copies what can be had of a file that nobody opens.
void salvage(const Inspection& last, const InputFile& input, const NewFile& copy,
             Console& console) {
  const std::string& file = input.name();
  const std::string is = fmt::format("{}: It is {}: {}: {}.", file, nameOf(last.state),
                                     last.faults.front().where, last.faults.front().what);
  // The blocks of the last commit were never overwritten; those of older ones may have been.
  const bool takesLast = last.completeRows() > 0;
  const std::optional<Inspection> older = takesLast ? std::nullopt : inspectOlder(last);
  if (!takesLast && !older) {
    throw Trouble(is + " Nothing of it can be read.");
  }
  console.tell(is);
  const Inspection& source = takesLast ? last : *older;
  if (source.faultCount == 0) {
    copyAll(*rootOf(input, *source.commit), copy);
  } else {
    copyRows(source, copy);
  }
  if (takesLast) {
    console.tell(file + ": The copy holds what the last commit still leads to.");
  } else {
    console.tell(fmt::format(
        "{}: The copy holds what {} leads to; what was committed later is lost. Later commits were "
        "free to use its bytes, so records may hold what was written later, wholly or in part.",
        file,
        source.commit->hasTail ? fmt::format("an older commit, which ended at {},",
                                             source.commit->base + source.commit->end)
                               : fmt::format("a root walk at {}, the last one or an older one,",
                                             source.commit->rootWalk.position)));
  }
  if (source.faultCount == 0) {
    tellViews(source, file, console);
  } else {
    tellTables(source, file, console);
  }
  console.tell(file + ": Nobody can vouch for the values in the copy.");
}

void checkThatTheyDiffer(const CopyOptions& options) {
  struct stat file = {};
  struct stat newFile = {};
  if (::stat(options.file.c_str(), &file) == 0 && ::stat(options.newFile.c_str(), &newFile) == 0 &&
      file.st_dev == newFile.st_dev && file.st_ino == newFile.st_ino) {
    throw Trouble(options.newFile + ": It is the file that is to be copied.");
  }
}

}  // namespace

Status copy(const CopyOptions& options, Console& console) {
  checkThatTheyDiffer(options);
  const std::string& file = options.file;
  const InputFile input(file);
  const Inspection last = inspect(input);
  NewFile copy(options.newFile, options.force);
  copy.limitPermissions(input);
  switch (last.state) {
    case FileState::Whole:
    case FileState::CutOff:
      copyAll(*rootOf(input, *last.commit), copy);
      break;
    case FileState::Empty:
      // A file of no bytes is one without tables.
      break;
    default:
      salvage(last, input, copy, console);
  }
  copy.finish();
  if (last.state == FileState::CutOff) {
    console.tell(file + ": Its last commit was cut off; the copy holds the one before it.");
  } else if (last.state == FileState::Empty && last.length > 0) {
    console.tell(file + ": Its first commit was cut off; there was nothing to copy.");
  }
  const bool isWhole =
      last.state == FileState::Whole || (last.state == FileState::Empty && last.length == 0);
  return isWhole ? Status::Fine : Status::Findings;
}

}  // namespace HistoryDb
