// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/migrate/Comparison.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <utility>

#include <fmt/format.h>

#include "history-db/base/Counted.h"
#include "history-db/base/Printable.h"
#include "history-db/records/Value.h"

namespace HistoryDb {

namespace {

constexpr std::size_t none = std::numeric_limits<std::size_t>::max();

std::string textOf(std::uint64_t bits, Type type) {
  std::string bytes(sizeof bits, '\0');
  putBits(bytes, 0, type, bits);
  std::string text;
  appendValue(text, bytes, 0, type);
  return text;
}

/// A field of schema 1 and the one of schema 0 that it is made from, null when there is none.
struct FieldPair {
  const Field* converted;
  const Field* original;
};

std::vector<FieldPair> pairsOf(List<Field> converted, List<Field> original) {
  std::vector<FieldPair> pairs;
  for (const Field& field : converted) {
    const auto* same = std::find_if(original.begin(), original.end(), [&](const Field& other) {
      return std::string_view(field.name) == other.name;
    });
    pairs.push_back({&field, same == original.end() ? nullptr : same});
  }
  return pairs;
}

/// Compares two records, header by header and period by period.
class RecordComparer {
 public:
  RecordComparer(std::string_view original, std::string_view converted)
      : _original(original), _converted(converted) {}

  /// The fields of a header, without a ring, or of a period, which begin at these places.
  void compare(const std::vector<FieldPair>& pairs, int originalStart, int convertedStart,
               const Ring* ring = nullptr, int period = 0) {
    for (const FieldPair& pair : pairs) {
      const Field& field = *pair.converted;
      for (int element = 0; element < field.count; ++element) {
        const std::uint64_t expected = expectedBits(pair.original, element, originalStart);
        const std::uint64_t found = bitsAt(
            _converted, convertedStart + field.offset + element * sizeOf(field.type), field.type);
        if (expected != found) {
          differences.push_back({ring, period, &field, element, expected, found});
        }
      }
    }
  }

  std::vector<ValueDifference> differences;

 private:
  std::uint64_t expectedBits(const Field* field, int element, int start) const {
    return field == nullptr || element >= field->count
               ? 0
               : bitsAt(_original, start + field->offset + element * sizeOf(field->type),
                        field->type);
  }

  const std::string_view _original;
  const std::string_view _converted;
};

/// The numbers of the rows, those of the lowest key first, those of the same key in their order.
std::vector<std::size_t> sortedByKey(const std::vector<Row>& rows) {
  std::vector<std::size_t> numbers(rows.size());
  std::iota(numbers.begin(), numbers.end(), std::size_t{0});
  std::stable_sort(numbers.begin(), numbers.end(),
                   [&](std::size_t a, std::size_t b) { return rows[a].key < rows[b].key; });
  return numbers;
}

/// For each row of the original the one of the converted table that belongs to it, or `none`.
std::vector<std::size_t> partnersOf(const std::vector<Row>& original,
                                    const std::vector<Row>& converted) {
  const std::vector<std::size_t> numbers = sortedByKey(original);
  const std::vector<std::size_t> others = sortedByKey(converted);
  std::vector<std::size_t> partners(original.size(), none);
  auto other = others.begin();
  for (const std::size_t number : numbers) {
    const std::int32_t key = original[number].key;
    while (other != others.end() && converted[*other].key < key) {
      ++other;
    }
    if (other != others.end() && converted[*other].key == key) {
      partners[number] = *other++;
    }
  }
  return partners;
}

/// Which rows of the original have to be moved so that all stand in the order of their partners: as
/// few as possible, so that one that was moved does not tell of all those behind it.
std::vector<bool> movedRows(const std::vector<std::size_t>& partners) {
  // Of each length, the ascending sequence whose last partner is the lowest: its last row.
  std::vector<std::size_t> lasts;
  std::vector<std::size_t> before(partners.size(), none);
  std::vector<bool> moved(partners.size(), false);
  for (std::size_t row = 0; row < partners.size(); ++row) {
    if (partners[row] == none) {
      continue;
    }
    moved[row] = true;
    const auto place = std::lower_bound(
        lasts.begin(), lasts.end(), partners[row],
        [&](std::size_t last, std::size_t partner) { return partners[last] < partner; });
    if (place != lasts.begin()) {
      before[row] = *(place - 1);
    }
    if (place == lasts.end()) {
      lasts.push_back(row);
    } else {
      *place = row;
    }
  }
  for (std::size_t row = lasts.empty() ? none : lasts.back(); row != none; row = before[row]) {
    moved[row] = false;
  }
  return moved;
}

/// How many rows have a key that one before them has.
std::size_t repeatedKeys(const std::vector<Row>& rows) {
  std::vector<std::int32_t> keys;
  keys.reserve(rows.size());
  for (const Row& row : rows) {
    keys.push_back(row.key);
  }
  std::sort(keys.begin(), keys.end());
  const auto end = std::unique(keys.begin(), keys.end());
  return static_cast<std::size_t>(keys.end() - end);
}

/// A note of views that no conversion takes over; none when there are none.
void noteViews(const Database& database, const char* which, const char* comment,
               std::vector<std::string>& notes) {
  constexpr std::size_t mostNames = 5;
  const std::vector<std::string>& views = database.otherViews();
  if (views.empty()) {
    return;
  }
  std::string names;
  for (std::size_t i = 0; i < std::min(views.size(), mostNames); ++i) {
    names += (i == 0 ? "" : ", ") + printable(views[i]);
  }
  if (views.size() > mostNames) {
    names += ", ...";
  }
  notes.push_back(fmt::format("The {} also holds {}, {}: {}.", which,
                              counted(views.size(), "other view", "other views"), comment, names));
}

class Comparer {
 public:
  explicit Comparer(Comparison& comparison) : _comparison(comparison) {}

  /// A difference of the files as a whole.
  void tellOfFiles(std::string what) {
    ++_comparison.differences;
    _comparison.told.push_back({"", {}, {}, "", std::move(what)});
  }

  void compareTables(const Table& original, const Table& converted, TableComparison& result) {
    _result = &result;
    result.name = original.name.name;
    result.originalRows = original.rows.size();
    result.convertedRows = converted.rows.size();
    noteRows(original);
    const std::vector<std::size_t> partners = partnersOf(original.rows, converted.rows);
    const std::vector<bool> moved = movedRows(partners);
    std::vector<bool> isPartner(converted.rows.size(), false);
    for (std::size_t i = 0; i < original.rows.size(); ++i) {
      const Row& row = original.rows[i];
      if (partners[i] == none) {
        tell(row.key, i, "", [] { return std::string("is missing"); });
        continue;
      }
      isPartner[partners[i]] = true;
      if (moved[i]) {
        tell(row.key, i, "",
             [&] { return fmt::format("is out of order: it became row {}", partners[i]); });
      }
      compareRows(original.name.kind, row, i, converted.rows[partners[i]]);
    }
    for (std::size_t i = 0; i < converted.rows.size(); ++i) {
      if (!isPartner[i]) {
        tell(converted.rows[i].key, i, "",
             [] { return std::string("is in the converted database only"); });
      }
    }
  }

 private:
  /// Counts a difference, and keeps it when it is one of the first.
  template <class MakeWhat>
  void tell(std::int32_t key, std::size_t row, std::string place, const MakeWhat& makeWhat) {
    ++_result->differences;
    ++_comparison.differences;
    if (_comparison.told.size() < Comparison::mostToldDifferences) {
      _comparison.told.push_back({_result->name, key, row, std::move(place), makeWhat()});
    }
  }

  void compareRows(Kind kind, const Row& original, std::size_t number, const Row& converted) {
    const auto size = static_cast<std::size_t>(layoutOf(kind, 1).size);
    if (converted.body.size() != size) {
      tell(original.key, number, "", [&] {
        return fmt::format("became a record of {} bytes instead of {}", converted.body.size(),
                           size);
      });
      return;
    }
    if (kind == Kind::System && _comparison.originalSchema == SchemaFound::One) {
      // Its values are in other places, which was told.
      return;
    }
    _result->values += valuesOf(kind);
    for (const ValueDifference& difference : compareRecords(kind, original.body, converted.body)) {
      const bool isTold = _comparison.told.size() < Comparison::mostToldDifferences;
      tell(original.key, number, isTold ? placeOf(difference) : "", [&] {
        const Type type = difference.field->type;
        return fmt::format("{} became {}", textOf(difference.original, type),
                           textOf(difference.converted, type));
      });
    }
  }

  /// Notes what is odd about the rows of the original, and converted nevertheless.
  void noteRows(const Table& table) {
    std::vector<std::string>& notes = _comparison.notes;
    const std::size_t repeated = repeatedKeys(table.rows);
    if (repeated > 0) {
      notes.push_back(fmt::format("{} has {} whose key stands there before; they are kept.",
                                  table.name.name, counted(repeated, "row", "rows")));
    }
    const auto size = static_cast<std::size_t>(layoutOf(table.name.kind, 0).size);
    const auto isShorter = [&](const Row& row) { return row.body.size() < size; };
    const auto isLonger = [&](const Row& row) { return row.body.size() > size; };
    const auto shorter = std::count_if(table.rows.begin(), table.rows.end(), isShorter);
    const auto longer = std::count_if(table.rows.begin(), table.rows.end(), isLonger);
    if (shorter > 0) {
      notes.push_back(fmt::format("{} has {} of less than {} bytes: zeros are read for the rest.",
                                  table.name.name, counted(shorter, "record", "records"), size));
    }
    if (longer > 0) {
      notes.push_back(fmt::format("{} has {} of more than {} bytes: the rest is left out.",
                                  table.name.name, counted(longer, "record", "records"), size));
    }
  }

  Comparison& _comparison;
  TableComparison* _result = nullptr;
};

}  // namespace

std::string placeOf(const ValueDifference& difference) {
  std::string place = difference.ring == nullptr
                          ? ""
                          : fmt::format("{}[{}] ", difference.ring->name, difference.period);
  place += difference.field->name;
  if (difference.field->count > 1) {
    place += fmt::format("[{}]", difference.element);
  }
  return place;
}

std::vector<ValueDifference> compareRecords(Kind kind, std::string_view original,
                                            std::string_view converted) {
  const Layout& before = layoutOf(kind, 0);
  const Layout& after = layoutOf(kind, 1);
  std::string whole(original.substr(0, static_cast<std::size_t>(before.size)));
  whole.resize(static_cast<std::size_t>(before.size), '\0');

  RecordComparer comparer(whole, converted);
  comparer.compare(pairsOf(after.header, before.header), 0, 0);
  const std::vector<FieldPair> pairs = pairsOf(after.period, before.period);
  for (std::size_t i = 0; i < after.rings.size; ++i) {
    const Ring& ring = after.rings[i];
    for (int period = 0; period < ring.count; ++period) {
      comparer.compare(pairs, before.rings[i].offset + period * before.periodSize,
                       ring.offset + period * after.periodSize, &ring, period);
    }
  }
  return std::move(comparer.differences);
}

std::uint64_t valuesOf(Kind kind) {
  const Layout& layout = layoutOf(kind, 1);
  const auto count = [](List<Field> fields) {
    return std::accumulate(fields.begin(), fields.end(), std::uint64_t{0},
                           [](std::uint64_t sum, const Field& field) {
                             return sum + static_cast<std::uint64_t>(field.count);
                           });
  };
  std::uint64_t values = count(layout.header);
  for (const Ring& ring : layout.rings) {
    values += static_cast<std::uint64_t>(ring.count) * count(layout.period);
  }
  return values;
}

Comparison compare(const Database& original, const Database& converted) {
  Comparison comparison;
  comparison.originalSchema = schemaOf(original);
  comparison.convertedSchema = schemaOf(converted);
  Comparer comparer(comparison);
  if (comparison.originalSchema == SchemaFound::One) {
    comparer.tellOfFiles("The original is of schema 1 already.");
  }
  if (comparison.convertedSchema == SchemaFound::Zero) {
    comparer.tellOfFiles("The converted database is of schema 0.");
  }
  for (std::size_t i = 0; i < tableNames.size(); ++i) {
    comparer.compareTables(original.tables()[i], converted.tables()[i], comparison.tables[i]);
  }
  noteViews(original, "original", "which no conversion takes over", comparison.notes);
  noteViews(converted, "converted database", "which no conversion makes", comparison.notes);
  return comparison;
}

std::string textOf(const Difference& difference) {
  if (difference.table.empty()) {
    return difference.what;
  }
  std::string text = difference.table;
  if (difference.key) {
    text += fmt::format(" key {}", *difference.key);
  }
  if (difference.row) {
    text += fmt::format(" (row {})", *difference.row);
  }
  return text + (difference.place.empty() ? "" : " " + difference.place + ":") + " " +
         difference.what;
}

}  // namespace HistoryDb
