// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/inspect/Inspection.h"

#include <fmt/format.h>

#include <algorithm>
#include <deque>
#include <limits>
#include <tuple>
#include <utility>

#include "history-db/base/Printable.h"
#include "history-db/base/Trouble.h"
#include "metakit/EntryReader.h"
#include "metakit/File.h"
#include "metakit/Structure.h"
#include "persist/history/RowLimit.h"
#include "posix/StoredSize.h"

namespace HistoryDb {

using Metakit::Extent;
using Metakit::File;
using Metakit::Mark;
using Metakit::markSize;
using Metakit::Structure;
using Metakit::tailSize;
using Metakit::WalkReader;

namespace {

/// The mark at `offset`; none when the file does not reach there.
Mark markAt(const Inspection& file, std::int64_t offset) {
  return offset >= 0 && offset + markSize <= file.length ? Metakit::decodeMark(file.bytes + offset)
                                                         : Mark{};
}

/// The commit whose tail ends with the mark at `offset`; none when no such tail is there, or it
/// leads to no header.
std::optional<CommitFound> commitAt(const Inspection& file, std::int64_t offset) {
  const Mark tail = markAt(file, offset);
  const Mark skip = markAt(file, offset - markSize);
  if (tail.kind != Mark::Kind::CommitTail || skip.kind != Mark::Kind::SkipTail) {
    return std::nullopt;
  }
  CommitFound found;
  found.base = offset - markSize - skip.value;
  const Mark header = markAt(file, found.base);
  if (header.kind != Mark::Kind::Header) {
    return std::nullopt;
  }
  found.end = skip.value + tailSize;
  found.rootWalk = {tail.value, tail.size};
  found.order = header.order;
  return found;
}

/// Follows the root walk of a commit to all that it leads to.
class Walk {
 public:
  /// All must outlive this object.
  Walk(Inspection& result, const CommitFound& commit)
      : _result(result), _commit(commit), _limit(commit.end - tailSize) {}

  void run() {
    root();
    overlaps();
  }

  /// How much was looked at, about.
  std::int64_t effort() const {
    return _effort + static_cast<std::int64_t>(_blocks.size() + _places.size());
  }

 private:
  /// A column on the way down from the root.
  struct Place {
    /// Index of the column that its table is a cell of, and the row there; `top` for a view of the
    /// root.
    std::int32_t above;
    std::int32_t row;
    const Metakit::Field* field;
  };
  static constexpr std::int32_t top = -1;
  /// No row in particular.
  static constexpr std::int32_t none = -1;

  /// What a block holds of its column.
  enum class Part : std::uint8_t { RootWalk, Values, Sizes, Memos, Item };

  struct Where {
    std::int32_t place = top;
    std::int32_t row = none;
    Part part = Part::Values;
  };

  struct Block {
    Extent extent;
    Where where;
  };

  /// What a walk says of a block.
  struct Entry {
    Extent block;
    /// Whether the block can be had; one of size 0 can.
    bool isSound = false;
  };

  struct PackedColumn {
    Entry entry;
    int width = 0;
  };

  struct Memo {
    std::int32_t row;
    Entry entry;
  };

  struct BytesColumn {
    Entry data;
    PackedColumn sizes;
    std::vector<Memo> memos;
    /// Whether the items that stand end to end can be had.
    bool hasInline = false;
    /// Whether all memos are listed.
    bool hasMemos = false;
  };

  /// The columns of a history table, as far as they were met.
  struct History {
    InspectedTable* table = nullptr;
    std::optional<PackedColumn> keys;
    std::optional<BytesColumn> records;
  };

  // ---- Telling ----

  std::string pathOf(const Where& where) const {
    if (where.part == Part::RootWalk) {
      return "root walk";
    }
    std::string path;
    std::int32_t row = where.row;
    for (std::int32_t at = where.place; at != top;) {
      const Place& place = _places[static_cast<std::size_t>(at)];
      std::string name = printable(place.field->name);
      // The root has one row.
      if (row != none && place.above != top) {
        name += fmt::format(" row {}", row);
      }
      if (!path.empty()) {
        name += '.';
      }
      path.insert(0, name);
      if (path.size() > longestPath && place.above != top) {
        path.insert(0, "...");
        break;
      }
      at = place.above;
      row = place.row;
    }
    return path + (where.part == Part::Sizes   ? " sizes"
                   : where.part == Part::Memos ? " memos"
                                               : "");
  }

  template <class... Arguments>
  void fault(const Where& where, fmt::format_string<Arguments...> what,
             const Arguments&... arguments) {
    if (++_result.faultCount <= Inspection::mostFaults) {
      _result.faults.push_back({pathOf(where), fmt::format(what, arguments...)});
    }
  }

  /// A fault that ends the inspection: there would be no end to it.
  void stop(const Where& where, const char* what) {
    fault(where, "{}; the rest is not looked at", what);
    _stops = true;
  }

  std::int64_t positionOf(Extent block) const { return _commit.base + block.position; }

  // ---- Entries ----

  bool holds(Extent block) const {
    return block.position >= markSize && block.size > 0 && block.size <= _limit - block.position;
  }

  const std::uint8_t* bytes(Extent block) const { return _result.bytes + positionOf(block); }

  /// Notes a block. False, and a fault, when it does not stand where one may stand.
  bool use(Extent block, const Where& where) {
    if (!holds(block)) {
      if (block.position < markSize) {
        fault(where, "block of {} bytes at {} stands in the header", block.size, positionOf(block));
      } else {
        fault(where, "block of {} bytes at {} reaches past the end at {}", block.size,
              positionOf(block), _commit.base + _limit);
      }
      return false;
    }
    _blocks.push_back({block, where});
    return true;
  }

  /// Whether a walk is to be followed. All of them together are no longer than the file, or they
  /// overlap, and could lead round and round.
  bool follows(Extent block, const Where& where) {
    _walked += block.size;
    if (_walked > _limit) {
      stop(where, "walks overlap");
    }
    return !_stops;
  }

  /// Reads an entry. False when the walk is malformed: what follows in it cannot be had.
  bool read(WalkReader& walk, const Where& where, Entry& entry) {
    entry.block.size = walk.count();
    if (entry.block.size > 0) {
      entry.block.position = walk.count();
    }
    if (walk.failed()) {
      malformed(walk, where);
      return false;
    }
    entry.isSound = entry.block.size == 0 || use(entry.block, where);
    return true;
  }

  void malformed(const WalkReader& walk, const Where& where) {
    fault(where, "the walk ends or is malformed at {}", walk.position() - _result.bytes);
  }

  // All that follows gives false when the walk cannot be followed any further.

  bool packed(WalkReader& walk, std::int32_t rows, const Where& where, PackedColumn& column) {
    if (!read(walk, where, column.entry)) {
      return false;
    }
    const std::int32_t size = column.entry.block.size;
    column.width = Metakit::packedWidthOf(rows, size);
    if (column.width < 0) {
      fault(where, "block of {} bytes at {} for {} rows: no width fits", size,
            positionOf(column.entry.block), rows);
      column.entry.isSound = false;
    }
    return true;
  }

  bool wide(WalkReader& walk, std::int32_t rows, const Where& where) {
    Entry entry;
    if (!read(walk, where, entry)) {
      return false;
    }
    if (entry.block.size > 0 &&
        entry.block.size != static_cast<std::int64_t>(rows) * Metakit::wideSize) {
      fault(where, "block of {} bytes at {} for {} rows of 8 bytes", entry.block.size,
            positionOf(entry.block), rows);
    }
    return true;
  }

  bool items(WalkReader& walk, std::int32_t rows, std::int32_t place, bool keepsMemos,
             BytesColumn& column) {
    const Where where{place};
    if (!read(walk, where, column.data)) {
      return false;
    }
    if (column.data.block.size > 0 &&
        !packed(walk, rows, {place, none, Part::Sizes}, column.sizes)) {
      return false;
    }
    column.hasInline = column.data.isSound && addUp(column, rows, {place, none, Part::Sizes});
    const Where memosWhere{place, none, Part::Memos};
    Entry memos;
    if (!read(walk, memosWhere, memos)) {
      return false;
    }
    column.hasMemos = memos.isSound && listMemos(memos.block, rows, memosWhere,
                                                 keepsMemos ? &column.memos : nullptr);
    return !_stops;
  }

  /// Whether the sizes of items are those of their data.
  bool addUp(const BytesColumn& column, std::int32_t rows, const Where& where) {
    const Extent data = column.data.block;
    if (data.size == 0) {
      return true;
    }
    if (!column.sizes.entry.isSound) {
      return false;
    }
    Metakit::SizeSum total;
    const Extent sizes = column.sizes.entry.block;
    if (column.sizes.width > 0) {
      total = Metakit::addSizes(*_result.file, positionOf(sizes), column.sizes.width, rows,
                                _commit.order);
    }
    if (const std::int32_t row = total.negativeRow; row >= 0) {
      fault({where.place, row, Part::Item}, "an item of {} bytes",
            Metakit::packedGet(bytes(sizes), column.sizes.width, row, _commit.order));
      return false;
    }
    if (total.sum != data.size) {
      fault(where, "items of {} bytes in a block of {} bytes at {}", total.sum, data.size,
            positionOf(data));
    }
    return total.sum == data.size;
  }

  /// Whether the whole list could be read.
  bool listMemos(Extent block, std::int32_t rows, const Where& where, std::vector<Memo>* memos) {
    if (block.size == 0) {
      return true;
    }
    if (!follows(block, where)) {
      return false;
    }
    WalkReader walk(bytes(block), block.size);
    std::int64_t row = 0;
    while (!walk.atEnd()) {
      row += walk.count();
      if (walk.failed()) {
        malformed(walk, where);
        return false;
      }
      if (row >= rows) {
        fault(where, "an item of row {}, but {} rows", row, rows);
        return false;
      }
      Memo memo{static_cast<std::int32_t>(row), {}};
      if (!read(walk, {where.place, memo.row, Part::Item}, memo.entry)) {
        return false;
      }
      if (memos != nullptr) {
        memos->push_back(memo);
      }
      ++row;
    }
    return true;
  }

  bool view(WalkReader& walk, std::int32_t rows, std::int32_t place, int depth) {
    const Where where{place};
    Entry entry;
    if (!read(walk, where, entry)) {
      return false;
    }
    const Structure& structure = *_places[static_cast<std::size_t>(place)].field->rows;
    if (entry.block.size == 0) {
      count(rows, 0, structure, where);
      return !_stops;
    }
    if (!entry.isSound) {
      return true;
    }
    if (depth >= Metakit::maxNesting) {
      fault(where, "it is nested deeper than {}", Metakit::maxNesting);
      return true;
    }
    if (!follows(entry.block, where)) {
      return false;
    }
    WalkReader nested(bytes(entry.block), entry.block.size);
    for (std::int32_t row = 0; row < rows; ++row) {
      if (!sequence(nested, structure, {place, row}, depth + 1)) {
        // What is behind this row is lost, what is behind the block is not.
        return !_stops;
      }
    }
    if (!nested.atEnd()) {
      fault(where, "block of {} bytes at {}: its rows end at {}", entry.block.size,
            positionOf(entry.block), nested.position() - _result.bytes);
    }
    return true;
  }

  bool sequence(WalkReader& walk, const Structure& structure, const Where& where, int depth) {
    const bool beginsWell = walk.integer() == 0;
    const std::int32_t rows = walk.count();
    if (walk.failed() || !beginsWell) {
      malformed(walk, where);
      return false;
    }
    History history;
    if (depth == 1) {
      _result.views[_view].rows = rows;
      history.table = tableOf(_view);
      countRows(history.table, rows);
    }
    if (!count(1, rows, structure, where)) {
      return false;
    }
    const bool goesOn = rows == 0 || columns(walk, structure, rows, where, depth, &history);
    listRows(history, rows);
    return goesOn;
  }

  /// Counts tables; what is 0 or empty takes no bytes, but time.
  bool count(std::int64_t tables, std::int32_t rows, const Structure& structure,
             const Where& where) {
    if (!_stops && !_tally.add(tables, rows, structure, _limit)) {
      stop(where, "it makes more rows and columns than a file of that length may have");
    }
    return !_stops;
  }

  bool columns(WalkReader& walk, const Structure& structure, std::int32_t rows, const Where& table,
               int depth, History* history) {
    for (const Metakit::Field& field : structure.fields) {
      const auto place = static_cast<std::int32_t>(_places.size());
      _places.push_back({table.place, table.row, &field});
      _effort += rows;
      bool goesOn = true;
      switch (field.type) {
        case 'I':
        case 'F': {
          PackedColumn column;
          goesOn = packed(walk, rows, {place}, column);
          if (history->table != nullptr && isKey(field)) {
            history->keys = column;
          }
          break;
        }
        case 'L':
        case 'D':
          goesOn = wide(walk, rows, {place});
          break;
        case 'V':
          goesOn = view(walk, rows, place, depth);
          _view += depth == 0 ? 1 : 0;
          break;
        default: {
          BytesColumn column;
          const bool isBody = history->table != nullptr && isRecord(field);
          goesOn = items(walk, rows, place, isBody && !history->table->hasTooManyRows, column);
          if (isBody) {
            history->records = std::move(column);
          }
        }
      }
      if (!goesOn) {
        return false;
      }
    }
    return true;
  }

  // ---- The root ----

  static bool isKey(const Metakit::Field& field) {
    return field.type == 'I' && Metakit::isSameName(field.name, "Key");
  }
  static bool isRecord(const Metakit::Field& field) {
    return field.type == 'B' && Metakit::isSameName(field.name, "Record");
  }

  void root() {
    const Where where{top, none, Part::RootWalk};
    if (!use(_commit.rootWalk, where)) {
      return;
    }
    WalkReader walk(bytes(_commit.rootWalk), _commit.rootWalk.size);
    const bool beginsWell = walk.integer() == 0;
    const std::string_view description = walk.text(walk.count());
    if (!beginsWell || walk.failed()) {
      malformed(walk, where);
      return;
    }
    _structure = Metakit::parseStructure(description);
    if (_structure == nullptr) {
      fault(where, "the description of {} bytes is malformed, nests too deep or is too large",
            description.size());
      return;
    }
    listViews();
    const std::int32_t rows = walk.count();
    if (rows != 1) {
      fault(where, "{} rows", rows);
      return;
    }
    History unused;
    if (columns(walk, *_structure, rows, {}, 0, &unused) && !walk.atEnd()) {
      fault(where, "it goes on behind its end at {}", walk.position() - _result.bytes);
    }
  }

  void listViews() {
    for (const Metakit::Field& field : _structure->fields) {
      const bool isView = field.type == 'V';
      for (InspectedTable& table : _result.tables) {
        if (!Metakit::isSameName(field.name, table.name.name)) {
          continue;
        }
        table.isNoView = !isView;
        if (isView) {
          table.view = _result.views.size();
          const auto& columns = field.rows->fields;
          table.hasColumns = std::any_of(columns.begin(), columns.end(), isKey) &&
                             std::any_of(columns.begin(), columns.end(), isRecord);
          table.isUsual = columns.size() == 2 && isKey(columns[0]) && isRecord(columns[1]);
        }
      }
      if (isView) {
        _result.views.push_back(
            {field.name, field.isRecursive() ? "^" : field.rows->description(), std::nullopt});
      }
    }
  }

  /// The history table that a view is, null for other views.
  InspectedTable* tableOf(std::size_t view) {
    for (InspectedTable& table : _result.tables) {
      if (table.view == view) {
        return &table;
      }
    }
    return nullptr;
  }

  /// Counts the rows of a history table, if it is one.
  void countRows(InspectedTable* table, std::int32_t rows) {
    if (table != nullptr && table->hasColumns) {
      (table->name.kind == Kind::System ? _systemRows : _zoneRows) += rows;
      table->hasTooManyRows =
          !Pvn::Persist::History::areRowsPlausible(_systemRows, _zoneRows, _result.stored);
    }
  }

  void listRows(const History& history, std::int32_t rows) {
    if (history.table == nullptr || !history.table->hasColumns || history.table->hasTooManyRows) {
      return;
    }
    std::vector<InspectedRow>& list = history.table->rows;
    list.resize(static_cast<std::size_t>(rows));
    if (history.keys && history.keys->entry.isSound) {
      const std::uint8_t* keys = bytes(history.keys->entry.block);
      for (std::int32_t row = 0; row < rows; ++row) {
        list[static_cast<std::size_t>(row)].key =
            Metakit::packedGet(keys, history.keys->width, row, _commit.order);
      }
    }
    if (history.records) {
      listBodies(*history.records, list);
    }
  }

  void listBodies(const BytesColumn& column, std::vector<InspectedRow>& list) const {
    if (column.hasInline) {
      const PackedColumn& sizes = column.sizes;
      Extent item = column.data.block;
      for (std::size_t row = 0; row < list.size(); ++row) {
        item.size = Metakit::packedGet(bytes(sizes.entry.block), sizes.width,
                                       static_cast<std::int32_t>(row), _commit.order);
        // No bytes may be a memo that could not be read.
        if (item.size > 0 || column.hasMemos) {
          list[row].body = text(item);
        }
        item.position += item.size;
      }
    }
    for (const Memo& memo : column.memos) {
      std::optional<std::string_view>& body = list[static_cast<std::size_t>(memo.row)].body;
      body.reset();
      if (memo.entry.isSound) {
        body = text(memo.entry.block);
      }
    }
  }

  std::string_view text(Extent block) const {
    return block.size == 0 ? std::string_view()
                           : std::string_view(reinterpret_cast<const char*>(bytes(block)),
                                              static_cast<std::size_t>(block.size));
  }

  // ---- Space ----

  void overlaps() {
    // Of two blocks at one position, the one that was met first comes first.
    const auto isBefore = [](const Block& a, const Block& b) {
      return std::tie(a.extent.position, a.where.place, a.where.row, a.where.part) <
             std::tie(b.extent.position, b.where.place, b.where.row, b.where.part);
    };
    if (!std::is_sorted(_blocks.begin(), _blocks.end(), isBefore)) {
      std::sort(_blocks.begin(), _blocks.end(), isBefore);
    }
    _result.live = markSize + tailSize;
    const Block* furthest = nullptr;
    std::int32_t end = markSize;
    for (const Block& block : _blocks) {
      const Extent extent = block.extent;
      if (extent.position < end && _result.faultCount >= Inspection::mostFaults) {
        ++_result.faultCount;
      } else if (extent.position < end) {
        fault(block.where, "block of {} bytes at {} overlaps the one of {} bytes at {} of {}",
              extent.size, positionOf(extent), furthest->extent.size, positionOf(furthest->extent),
              pathOf(furthest->where));
      }
      const std::int32_t blockEnd = extent.position + extent.size;
      if (blockEnd > end) {
        _result.live += blockEnd - std::max(end, extent.position);
        end = blockEnd;
        furthest = &block;
      }
    }
    _result.free = _commit.end - _result.live;
  }

  /// Of a path that is told; one that is longer has its beginning left out.
  static constexpr std::size_t longestPath = 200;

  Inspection& _result;
  const CommitFound& _commit;
  /// Blocks end before this position.
  const std::int32_t _limit;
  std::unique_ptr<Structure> _structure;
  std::vector<Place> _places;
  /// Not in one piece: there may be millions, and a vector that grows takes three times their size.
  std::deque<Block> _blocks;
  /// The view of the root that is looked at.
  std::size_t _view = 0;
  /// Bytes of all walks that were followed.
  std::int64_t _walked = 0;
  Metakit::Tally _tally;
  /// Rows of history tables met.
  std::int64_t _systemRows = 0;
  std::int64_t _zoneRows = 0;
  /// Cells met.
  std::int64_t _effort = 0;
  bool _stops = false;
};

/// Looks at what a commit leads to. Gives the effort that it took.
std::int64_t follow(Inspection& inspection, const CommitFound& commit) {
  inspection.commit = commit;
  Walk walk(inspection, commit);
  walk.run();
  return walk.effort();
}

/// The same file with nothing known about it yet.
Inspection begun(const std::shared_ptr<File>& file, const std::uint8_t* bytes,
                 std::int64_t stored) {
  Inspection inspection;
  inspection.file = file;
  inspection.stored = stored;
  inspection.bytes = bytes;
  inspection.length = file->length();
  for (std::size_t i = 0; i < tableNames.size(); ++i) {
    inspection.tables[i].name = tableNames[i];
  }
  return inspection;
}

/// Finds the last commit, or tells why there is none.
std::optional<CommitFound> lastCommit(Inspection& inspection) {
  const auto fault = [&](FileState state, std::string what) {
    inspection.state = state;
    inspection.faults.push_back({"marks", std::move(what)});
    inspection.faultCount = 1;
    return std::nullopt;
  };
  const std::int64_t length = inspection.length;
  inspection.state = FileState::Empty;
  if (length == 0) {
    return std::nullopt;
  }
  if (length > std::numeric_limits<std::int32_t>::max()) {
    return fault(FileState::NoDatafile, "a datafile has less than 2 GiB");
  }
  // A skip tail leads past bytes of a commit that was not completed.
  std::int64_t at = length - markSize;
  Mark last = markAt(inspection, at);
  while (last.kind == Mark::Kind::SkipTail) {
    at -= static_cast<std::int64_t>(last.value) + markSize;
    last = markAt(inspection, at);
  }
  if (const auto found = commitAt(inspection, at)) {
    return found;
  }
  // The end is torn; then the header tells where the last complete commit ends.
  const Mark header = markAt(inspection, 0);
  if (header.kind != Mark::Kind::Header) {
    return last.kind == Mark::Kind::CommitTail
               ? fault(FileState::Damaged,
                       fmt::format("the tail at {} leads to no header", at - markSize))
               : fault(FileState::NoDatafile, "neither a header nor a tail is there");
  }
  if (header.value == 0) {
    inspection.behind = length - markSize;
    return std::nullopt;
  }
  if (header.value > length) {
    return fault(FileState::Damaged,
                 fmt::format("the last commit ends at {}, the file at {}: it was cut short",
                             header.value, length));
  }
  const auto found = commitAt(inspection, header.value - markSize);
  if (!found || found->base != 0) {
    return fault(FileState::Damaged,
                 fmt::format("no tail is at the end of the file at {}, nor where the header tells, "
                             "at {}",
                             length, header.value));
  }
  return found;
}

}  // namespace

const char* nameOf(FileState state) {
  switch (state) {
    case FileState::Whole:
      return "whole";
    case FileState::CutOff:
      return "last commit cut off";
    case FileState::Empty:
      return "empty";
    case FileState::NoDatafile:
      return "not a datafile";
    default:
      return "damaged";
  }
}

std::size_t InspectedTable::completeRows() const {
  return static_cast<std::size_t>(std::count_if(
      rows.begin(), rows.end(), [](const InspectedRow& row) { return row.isComplete(); }));
}

std::size_t Inspection::completeRows() const {
  std::size_t count = 0;
  for (const InspectedTable& table : tables) {
    count += table.completeRows();
  }
  return count;
}

std::int64_t Inspection::knownRows() const {
  std::int64_t count = 0;
  for (const InspectedView& view : views) {
    count += view.rows.value_or(0);
  }
  return count;
}

Inspection inspect(const std::string& path) {
  return inspect(InputFile(path));
}

Inspection inspect(const InputFile& input) {
  const std::shared_ptr<File> file = input.open();
  const std::uint8_t* bytes = nullptr;
  if (file->length() > 0) {
    bytes = file->bytes(0, static_cast<std::size_t>(file->length()));
    if (bytes == nullptr) {
      throw Trouble(input.name() + ": It cannot be read.");
    }
  }
  Inspection inspection = begun(file, bytes, StoredSize::of(input.descriptor()));
  if (const auto commit = lastCommit(inspection)) {
    inspection.behind = inspection.length - commit->base - commit->end;
    follow(inspection, *commit);
    inspection.state = inspection.faultCount > 0 ? FileState::Damaged
                       : inspection.behind > 0   ? FileState::CutOff
                                                 : FileState::Whole;
  }
  return inspection;
}

namespace {

/// The root walk that begins at `position`, without a tail: 0, a description that ends with a view,
/// one row. Adds the effort that it took.
std::optional<CommitFound> rootWalkAt(const Inspection& file, std::int64_t position,
                                      const Mark& header, std::int64_t& effort) {
  const bool isCutShort = file.length < header.value;
  const std::int32_t end = isCutShort ? static_cast<std::int32_t>(file.length) : header.value;
  WalkReader walk(file.bytes + position, end - static_cast<std::int32_t>(position));
  const bool beginsWell = walk.integer() == 0;
  const std::string_view description = walk.text(walk.count());
  if (!beginsWell || description.empty() || description.back() != ']' || walk.count() != 1 ||
      walk.failed()) {
    return std::nullopt;
  }
  effort += static_cast<std::int64_t>(description.size());
  // Its size is not known: it ends where its entries do.
  const auto structure = Metakit::parseStructure(description);
  const std::size_t views = structure != nullptr ? structure->fields.size() : 0;
  for (std::size_t i = 0; i < views; ++i) {
    if (structure->fields[i].type != 'V') {
      return std::nullopt;
    }
    if (walk.count() > 0) {
      walk.count();
    }
  }
  if (views == 0 || walk.failed()) {
    return std::nullopt;
  }
  CommitFound found;
  found.hasTail = false;
  // The tail was cut off, too.
  found.end = isCutShort ? end + tailSize : end;
  const auto size = walk.position() - (file.bytes + position);
  found.rootWalk = {static_cast<std::int32_t>(position), static_cast<std::int32_t>(size)};
  found.order = header.order;
  return found;
}

}  // namespace

std::optional<Inspection> inspectOlder(const Inspection& last) {
  // No datafile is that long, and there is no end of it here.
  if (last.length > std::numeric_limits<std::int32_t>::max() - tailSize) {
    return std::nullopt;
  }
  constexpr std::int64_t mostEffort = 20000000;
  std::int64_t effort = 0;
  std::optional<Inspection> best;
  std::pair<std::size_t, std::int64_t> mostRows;
  // Gives whether it has no fault.
  const auto attempt = [&](const CommitFound& commit) {
    Inspection older = begun(last.file, last.bytes, last.stored);
    effort += follow(older, commit);
    const std::pair rows(older.completeRows(), older.knownRows());
    const bool isSound = older.faultCount == 0;
    if ((isSound && commit.hasTail) || (rows.first > 0 && rows > mostRows)) {
      mostRows = rows;
      best = std::move(older);
    }
    return isSound;
  };
  for (std::int64_t at = last.length - markSize; at >= 0 && effort < mostEffort; --at) {
    const auto commit = commitAt(last, at);
    const bool isLast = last.commit && commit && commit->base == last.commit->base &&
                        commit->end == last.commit->end;
    if (commit && !isLast && attempt(*commit)) {
      return best;
    }
  }
  const Mark header = markAt(last, 0);
  if (header.kind != Mark::Kind::Header) {
    return best;
  }
  for (std::int64_t at = last.length - 1; at >= markSize && effort < mostEffort; --at) {
    // What every root walk begins with.
    const auto commit = at < header.value && last.bytes[at] == 0x80
                            ? rootWalkAt(last, at, header, effort)
                            : std::nullopt;
    if (commit) {
      attempt(*commit);
    }
  }
  return best;
}

}  // namespace HistoryDb
