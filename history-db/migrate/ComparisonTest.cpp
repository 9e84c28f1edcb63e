// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/migrate/Comparison.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "history-db/records/Database.h"
#include "history-db/records/NewDatabase.h"
#include "history-db/records/Value.h"
#include "tests/support/Child.h"
#include "tests/support/Golden.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using HistoryDb::compareRecords;
using HistoryDb::Comparison;
using HistoryDb::Database;
using HistoryDb::Field;
using HistoryDb::Kind;
using HistoryDb::Layout;
using HistoryDb::layoutOf;
using HistoryDb::Ring;
using HistoryDb::tableNames;
using HistoryDb::ValueDifference;

using Rows = std::vector<std::pair<std::int32_t, std::string>>;
/// The rows of a database, table by table.
using Contents = std::array<Rows, tableNames.size()>;

void write(const std::string& path, const Contents& contents) {
  HistoryDb::NewDatabase database(path);
  for (std::size_t i = 0; i < contents.size(); ++i) {
    database.addTable(tableNames[i].name);
    for (const auto& [key, body] : contents[i]) {
      database.addRow(key, body);
    }
  }
  database.commit();
}

Contents read(const std::string& path) {
  const Database database(path);
  Contents contents;
  for (std::size_t i = 0; i < contents.size(); ++i) {
    for (const HistoryDb::Row& row : database.tables()[i].rows) {
      contents[i].emplace_back(row.key, row.body);
    }
  }
  return contents;
}

/// Bytes of which none is 0, so that no value is what a missing one is read as; in padding, too.
std::string noise(std::size_t size) {
  static std::mt19937 random(1);
  std::string bytes(size, '\0');
  for (char& byte : bytes) {
    byte = static_cast<char>(1 + random() % 255);
  }
  return bytes;
}

/// What history-convert makes of that.
Contents converted(const Contents& original) {
  const TestSupport::TemporaryFolder folder;
  write(folder.path("in.mk"), original);
  EXPECT_EQ(TestSupport::run(
                {HISTORY_CONVERT, "-q", folder.path("in.mk"), "0", folder.path("out.mk"), "1"})
                .status,
            0);
  return read(folder.path("out.mk"));
}

Comparison compare(const Contents& original, const Contents& converted) {
  const TestSupport::TemporaryFolder folder;
  write(folder.path("in.mk"), original);
  write(folder.path("out.mk"), converted);
  return compare(Database(folder.path("in.mk")), Database(folder.path("out.mk")));
}

/// The differences that are told, a line each.
std::string told(const Comparison& comparison) {
  std::string lines;
  for (const HistoryDb::Difference& difference : comparison.told) {
    lines += textOf(difference) + "\n";
  }
  return lines;
}

std::string notes(const Comparison& comparison) {
  std::string lines;
  for (const std::string& note : comparison.notes) {
    lines += note + "\n";
  }
  return lines;
}

/// Calls `visit` for each value of a record of schema 1: with the place, the offset and the field.
template <class Visit>
void forEachValue(const Layout& layout, const Visit& visit) {
  const auto visitFields = [&](HistoryDb::List<Field> fields, const std::string& prefix,
                               int start) {
    for (const Field& field : fields) {
      for (int i = 0; i < field.count; ++i) {
        visit(prefix + field.name + (field.count > 1 ? "[" + std::to_string(i) + "]" : ""),
              start + field.offset + i * sizeOf(field.type), field);
      }
    }
  };
  visitFields(layout.header, "", 0);
  for (const Ring& ring : layout.rings) {
    for (int period = 0; period < ring.count; ++period) {
      visitFields(layout.period, ring.name + ("[" + std::to_string(period) + "] "),
                  ring.offset + period * layout.periodSize);
    }
  }
}

class ComparisonTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    original = {{{{5, noise(4624)}, {-5, noise(4624)}},
                 {{1, noise(2040)}},
                 {{10, noise(2040)}, {11, noise(2040)}, {12, noise(2040)}, {13, noise(2040)}}}};
    correct = converted(original);
  }

  /// What is told when `change` has been made to what the converter wrote.
  template <class Change>
  static std::string toldOf(const Change& change) {
    Contents changed = correct;
    change(changed);
    const Comparison comparison = compare(original, changed);
    EXPECT_FALSE(comparison.isEqual());
    return told(comparison);
  }

  static Contents original;
  static Contents correct;
};

Contents ComparisonTest::original;
Contents ComparisonTest::correct;

/// A record of each kind, and what the converter makes of it.
class RecordComparisonTest : public ComparisonTest, public ::testing::WithParamInterface<Kind> {
 protected:
  std::vector<ValueDifference> differences() const { return compareRecords(kind, before, after); }

  /// The places of all differences, which must be within the periods `from` to `to` of a ring.
  void expectOnlyIn(int ring, int from, int to) const {
    const auto found = differences();
    EXPECT_FALSE(found.empty());
    for (const ValueDifference& difference : found) {
      EXPECT_EQ(difference.ring, &layout.rings[static_cast<std::size_t>(ring)])
          << placeOf(difference);
      EXPECT_GE(difference.period, from);
      EXPECT_LE(difference.period, to);
    }
  }

  std::string::iterator period(int ring, int number) {
    return after.begin() + layout.rings[static_cast<std::size_t>(ring)].offset +
           number * layout.periodSize;
  }

  const Kind kind = GetParam();
  const Layout& layout = layoutOf(kind, 1);
  const std::string& before = original[kind == Kind::System ? 0 : 2][0].second;
  std::string after = correct[kind == Kind::System ? 0 : 2][0].second;
};

TEST_P(RecordComparisonTest, IsEqualWhenItWasConverted) {
  EXPECT_TRUE(differences().empty());
}

TEST_P(RecordComparisonTest, FindsEachBitInEachValue) {
  std::size_t values = 0;
  forEachValue(layout, [&](const std::string& place, int offset, const Field& field) {
    ++values;
    for (int bit = 0; bit < 8 * sizeOf(field.type); bit += sizeOf(field.type) == 2 ? 5 : 13) {
      char& byte = *(after.begin() + offset + bit / 8);
      const char flipped = static_cast<char>(1 << (bit % 8));
      byte = static_cast<char>(byte ^ flipped);
      const auto found = differences();
      byte = static_cast<char>(byte ^ flipped);
      ASSERT_EQ(found.size(), 1U) << place;
      ASSERT_EQ(placeOf(found[0]), place);
      ASSERT_EQ(found[0].original ^ found[0].converted, std::uint64_t{1} << bit) << place;
    }
  });
  EXPECT_EQ(values, HistoryDb::valuesOf(kind));
}

TEST_P(RecordComparisonTest, PaddingCountsForNothing) {
  std::vector<bool> isPadding(after.size(), true);
  forEachValue(layout, [&](const std::string& /*place*/, int offset, const Field& field) {
    std::fill_n(isPadding.begin() + offset, sizeOf(field.type), false);
  });
  ASSERT_NE(std::count(isPadding.begin(), isPadding.end(), true), 0);
  for (std::size_t i = 0; i < after.size(); ++i) {
    if (isPadding[i]) {
      after[i] = '\xFF';
    }
  }
  EXPECT_TRUE(differences().empty());
}

TEST_P(RecordComparisonTest, FindsSwappedDays) {
  std::swap_ranges(period(0, 3), period(0, 4), period(0, 4));
  expectOnlyIn(0, 3, 4);
}

TEST_P(RecordComparisonTest, FindsADroppedMonth) {
  std::copy(period(1, 6), after.end(), period(1, 5));
  std::fill(period(1, 13), after.end(), '\0');
  expectOnlyIn(1, 5, 13);
}

TEST_P(RecordComparisonTest, FindsAShiftedField) {
  const Field& field = *layout.periodField("realValue2");
  std::rotate(period(0, 2) + field.offset, period(0, 2) + field.offset + 1,
              period(0, 2) + field.end());
  ASSERT_EQ(differences().size(), 1U);
  EXPECT_EQ(placeOf(differences()[0]), "days[2] realValue2");
}

TEST_P(RecordComparisonTest, FindsValuesOfWhatIsMissing) {
  // Behind the end of the original, in the middle of a value of the last month, zeros are read.
  const Layout& old = layoutOf(kind, 0);
  const int end = old.rings[1].offset + 13 * old.periodSize + 2;
  const auto size = static_cast<std::size_t>(end);
  const auto found = compareRecords(kind, before.substr(0, size), after);
  const auto values = (HistoryDb::valuesOf(kind) - compareRecords(kind, "", after).size());
  EXPECT_GT(found.size(), 10U);
  EXPECT_EQ(placeOf(found[0]), "months[13] time0");
  EXPECT_EQ(found[0].original, found[0].converted & 0xFFFFU);
  // What schema 0 has not is 0 anyway.
  EXPECT_EQ(values, kind == Kind::System ? 23U * 11U : 0U);
}

INSTANTIATE_TEST_SUITE_P(Each, RecordComparisonTest, ::testing::Values(Kind::System, Kind::Zone),
                         [](const auto& kind) { return std::string(nameOf(kind.param)); });

TEST_F(ComparisonTest, CountsWhatItCompared) {
  const Comparison comparison = compare(original, correct);
  EXPECT_TRUE(comparison.isEqual()) << told(comparison);
  EXPECT_EQ(notes(comparison), "");
  EXPECT_EQ(comparison.tables[0].originalRows, 2U);
  EXPECT_EQ(comparison.tables[0].convertedRows, 2U);
  EXPECT_EQ(comparison.tables[0].values, 2 * (2U + 8U + 23U * 53U));
  EXPECT_EQ(comparison.tables[2].values, 4 * (3U + 23U * 17U));
}

TEST_F(ComparisonTest, TellsThePlaceAndBothValues) {
  EXPECT_EQ(toldOf([](Contents& changed) {
              std::string& system = changed[0][1].second;
              const Layout& layout = layoutOf(Kind::System, 1);
              const auto put = [&](const char* name, int element, HistoryDb::Type type,
                                   std::uint64_t bits) {
                putBits(system,
                        layout.rings[1].offset + 2 * layout.periodSize +
                            layout.periodField(name)->offset + element * sizeOf(type),
                        type, bits);
              };
              put("intArray", 10, HistoryDb::Type::Int32, 4294967295U);
              put("shortValue2", 0, HistoryDb::Type::Int16, 7);
              put("minC", 0, HistoryDb::Type::Double, HistoryDb::bitsOf(140.0));
              put("maxC", 0, HistoryDb::Type::Double, HistoryDb::bitsOf(-0.0));
              put("realValue7", 0, HistoryDb::Type::Double, 0x7FF8000000000001U);
            }),
            "TormaQuilletHistory key -5 (row 1) months[2] intArray[10]: 0 became -1\n"
            "TormaQuilletHistory key -5 (row 1) months[2] shortValue2: 0 became 7\n"
            "TormaQuilletHistory key -5 (row 1) months[2] realValue7: 0.0 became "
            "NaN:7ff8000000000001\n"
            "TormaQuilletHistory key -5 (row 1) months[2] minC: 0.0 became 140.0\n"
            "TormaQuilletHistory key -5 (row 1) months[2] maxC: 0.0 became -0.0\n");
}

TEST_F(ComparisonTest, FindsALostRow) {
  EXPECT_EQ(toldOf([](Contents& changed) { changed[2].erase(changed[2].begin() + 1); }),
            "ZoneHistory key 11 (row 1) is missing\n");
}

TEST_F(ComparisonTest, FindsARowTooMany) {
  EXPECT_EQ(toldOf([](Contents& changed) { changed[1].insert(changed[1].begin(), correct[2][0]); }),
            "nativeZoneHistory key 10 (row 0) is in the converted database only\n");
}

TEST_F(ComparisonTest, FindsAChangedKey) {
  EXPECT_EQ(toldOf([](Contents& changed) { changed[2][3].first = 14; }),
            "ZoneHistory key 13 (row 3) is missing\n"
            "ZoneHistory key 14 (row 3) is in the converted database only\n");
}

TEST_F(ComparisonTest, FindsSwappedRows) {
  EXPECT_EQ(toldOf([](Contents& changed) { std::swap(changed[2][0], changed[2][1]); }),
            "ZoneHistory key 10 (row 0) is out of order: it became row 1\n");
  EXPECT_EQ(toldOf([](Contents& changed) {
              std::swap(changed[2][0].second, changed[2][1].second);
            }).rfind("ZoneHistory key 10 (row 0) zone: ", 0),
            0U);
}

TEST_F(ComparisonTest, ARowThatWasMovedTellsOfNoOther) {
  EXPECT_EQ(toldOf([](Contents& changed) {
              std::rotate(changed[2].begin(), changed[2].begin() + 1, changed[2].end());
            }),
            "ZoneHistory key 10 (row 0) is out of order: it became row 3\n");
  EXPECT_EQ(toldOf([](Contents& changed) {
              std::rotate(changed[2].begin(), changed[2].end() - 1, changed[2].end());
            }),
            "ZoneHistory key 13 (row 3) is out of order: it became row 0\n");
}

TEST_F(ComparisonTest, FindsATableInThePlaceOfAnother) {
  EXPECT_EQ(toldOf([](Contents& changed) {
              changed[2].push_back(changed[1][0]);
              changed[1].clear();
            }),
            "nativeZoneHistory key 1 (row 0) is missing\n"
            "ZoneHistory key 1 (row 4) is in the converted database only\n");
}

TEST_F(ComparisonTest, FindsARecordOfAnotherSize) {
  EXPECT_EQ(toldOf([](Contents& changed) {
              changed[0][0].second += '\0';
              changed[1][0].second.pop_back();
              changed[2][0].second.clear();
            }),
            "TormaQuilletHistory key 5 (row 0) became a record of 6281 bytes instead of 6280\n"
            "nativeZoneHistory key 1 (row 0) became a record of 2039 bytes instead of 2040\n"
            "ZoneHistory key 10 (row 0) became a record of 0 bytes instead of 2040\n");
}

TEST_F(ComparisonTest, ARepeatedKeyIsKeptAsOftenAsItStandsThere) {
  Contents repeated = original;
  repeated[2][1].first = repeated[2][3].first = 10;
  const Contents kept = converted(repeated);
  const Comparison comparison = compare(repeated, kept);
  EXPECT_TRUE(comparison.isEqual()) << told(comparison);
  EXPECT_EQ(notes(comparison),
            "ZoneHistory has 2 rows whose key stands there before; they are kept.\n");

  Contents lost = kept;
  lost[2].pop_back();
  EXPECT_EQ(told(compare(repeated, lost)), "ZoneHistory key 10 (row 3) is missing\n");
  Contents twice = kept;
  twice[2].push_back(twice[2][3]);
  EXPECT_EQ(told(compare(repeated, twice)),
            "ZoneHistory key 10 (row 4) is in the converted database only\n");
}

TEST_F(ComparisonTest, RecordsOfOtherSizesAreReadAsTheConverterDoes) {
  Contents odd;
  for (const std::size_t size : {0U, 1U, 9U, 200U, 1823U, 4623U, 4624U, 4625U, 9000U}) {
    odd[0].emplace_back(static_cast<int>(size), noise(size));
    odd[2].emplace_back(static_cast<int>(size), noise(size / 2));
  }
  const Comparison comparison = compare(odd, converted(odd));
  EXPECT_TRUE(comparison.isEqual()) << told(comparison);
  EXPECT_EQ(
      notes(comparison),
      "TormaQuilletHistory has 6 records of less than 4624 bytes: zeros are read for the rest.\n"
      "TormaQuilletHistory has 2 records of more than 4624 bytes: the rest is left out.\n"
      "ZoneHistory has 5 records of less than 2040 bytes: zeros are read for the rest.\n"
      "ZoneHistory has 4 records of more than 2040 bytes: the rest is left out.\n");
}

TEST_F(ComparisonTest, TellsOfTheFirstDifferencesAndCountsAll) {
  Contents changed = correct;
  changed[0][0].second = std::string(6280, '\0');
  const Comparison comparison = compare(original, changed);
  EXPECT_EQ(comparison.told.size(), 20U);
  EXPECT_EQ(comparison.differences, 2U + 8U + 23U * 42U);
  EXPECT_EQ(comparison.tables[0].differences, comparison.differences);
  EXPECT_EQ(comparison.tables[2].differences, 0U);
}

TEST_F(ComparisonTest, TellsOfFilesOfTheWrongSchema) {
  EXPECT_EQ(told(compare(correct, correct)), "The original is of schema 1 already.\n");
  EXPECT_EQ(told(compare(original, original)),
            "The converted database is of schema 0.\n"
            "TormaQuilletHistory key 5 (row 0) became a record of 4624 bytes instead of 6280\n"
            "TormaQuilletHistory key -5 (row 1) became a record of 4624 bytes instead of 6280\n");
}

TEST_F(ComparisonTest, NotesOtherViews) {
  const TestSupport::GoldenFile& golden = TestSupport::goldenFile("other-views.mk");
  const Comparison comparison = compare(Database(golden.path), Database(golden.path));
  EXPECT_EQ(
      notes(comparison),
      "The original also holds 3 other views, which no conversion takes over: settings, plant, "
      "journal.\n"
      "The converted database also holds 3 other views, which no conversion makes: settings, "
      "plant, journal.\n");
}

TEST_F(ComparisonTest, EachGoldenFileIsEqualToItsConversion) {
  const TestSupport::TemporaryFolder folder;
  for (const TestSupport::GoldenFile& golden : TestSupport::goldenFiles()) {
    const std::string path = folder.path(golden.name);
    ASSERT_EQ(TestSupport::run({HISTORY_CONVERT, "-q", golden.path, "0", path, "1"}).status, 0);
    const Comparison comparison = compare(Database(golden.path), Database(path));
    EXPECT_TRUE(comparison.isEqual()) << golden.name << ":\n" << told(comparison);
  }
}

}  // namespace
