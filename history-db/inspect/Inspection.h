// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "history-db/records/Database.h"
#include "metakit/Codec.h"

namespace Metakit {
class File;
}

namespace HistoryDb {

/// Something in the bytes of a datafile that breaks the rules of docs/datafile.md.
struct Fault {
  /// Such as "ZoneHistory.Record row 12".
  std::string where;
  /// What is wrong, positions counted from the start of the file.
  std::string what;
};

/// How a datafile is left.
enum class FileState {
  Whole,
  /// The last commit was not completed; the one before it counts.
  CutOff,
  /// Nothing was ever committed.
  Empty,
  NoDatafile,
  /// A datafile with faults: nobody opens it.
  Damaged
};

/// "whole", "last commit cut off", "empty", "not a datafile" or "damaged".
const char* nameOf(FileState state);

/// A view of the root.
struct InspectedView {
  std::string name;
  /// The properties, such as "Key:I,Record:B".
  std::string structure;
  /// None when they cannot be told.
  std::optional<std::int32_t> rows;
};

/// A row of a history table, with what can be had of it.
struct InspectedRow {
  std::optional<std::int32_t> key;
  /// Valid as long as the inspection.
  std::optional<std::string_view> body;

  bool isComplete() const { return key && body; }
};

/// A history table, however it is made.
struct InspectedTable {
  TableName name;
  /// Among the views; none when there is no such view.
  std::optional<std::size_t> view;
  /// Whether the root has a property of that name which is no view.
  bool isNoView = false;
  /// Whether it has properties Key:I and Record:B; without them it has no rows here.
  bool hasColumns = false;
  /// Whether they are all it has, in this order.
  bool isUsual = false;
  /// Whether it has more rows than a file of that size may have; then none are listed.
  bool hasTooManyRows = false;
  std::vector<InspectedRow> rows;

  std::size_t completeRows() const;
};

/// Where a commit is. Positions count from the header, as in the file.
struct CommitFound {
  /// Whether there is a tail; without one just a root walk was found.
  bool hasTail = true;
  /// Where the header is: bytes before the datafile.
  std::int64_t base = 0;
  /// Past the commit's last byte, its tail included.
  std::int32_t end = 0;
  Metakit::Extent rootWalk;
  Metakit::ByteOrder order = Metakit::ByteOrder::Little;
};

/// What a datafile is and what is wrong with it, as its bytes alone tell. Unlike the engine, which
/// refuses a file at the first fault, the inspection goes on wherever it can; it finds no fault in
/// just those files that the engine opens. Time and memory are limited by the bytes that the file
/// system stores for the file. Keeps the file open as long as it lives, and never writes to it.
struct Inspection {
  /// Faults that are kept; the others are only counted.
  static constexpr std::size_t mostFaults = 1000;

  std::shared_ptr<Metakit::File> file;
  /// All of it; null when it has none.
  const std::uint8_t* bytes = nullptr;
  std::int64_t length = 0;
  /// Without the holes.
  std::int64_t stored = 0;
  FileState state = FileState::NoDatafile;
  /// The last one; none in a file that is empty or has no marks.
  std::optional<CommitFound> commit;
  /// Bytes behind the commit: of one that was not completed.
  std::int64_t behind = 0;
  /// Bytes of the commit that it uses, and those that it does not; none of them twice.
  std::int64_t live = 0;
  std::int64_t free = 0;
  std::vector<InspectedView> views;
  /// Those of `tableNames`.
  std::array<InspectedTable, tableNames.size()> tables;
  std::vector<Fault> faults;
  std::size_t faultCount = 0;

  /// Rows of history tables with both key and body.
  std::size_t completeRows() const;
  /// Rows of all views, as far as that is known.
  std::int64_t knownRows() const;
};

/// Inspects a file. Throws Trouble when it cannot be read.
Inspection inspect(const InputFile& file);
Inspection inspect(const std::string& path);

/// Looks for what else can be had of a file whose last commit is damaged or lost, from the end
/// backwards: the first older commit without a fault; else that older commit, or root walk without
/// a tail, of which the most rows of history tables can be had, and which tells of the most rows;
/// none when no such rows can be had. What an older commit used was free for later ones, so nobody
/// can vouch for it. Gives up on files that are made to keep it busy.
std::optional<Inspection> inspectOlder(const Inspection& last);

}  // namespace HistoryDb
