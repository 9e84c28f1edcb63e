// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/records/Sample.h"

#include <cmath>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "history-db/files/Sha256.h"
#include "history-db/records/Database.h"
#include "history-db/records/Layout.h"
#include "history-db/records/Value.h"
#include "history-db/testing/ProgramTesting.h"
#include "persist/history/Schema0System.h"
#include "persist/history/Schema0Zone.h"
#include "persist/history/Schema1System.h"
#include "persist/history/Schema1Zone.h"
#include "tests/support/TemporaryFolder.h"

namespace {

namespace Kiv = Pvn::Persist::History::Kiv;

using HistoryDb::Database;
using HistoryDb::Field;
using HistoryDb::Kind;
using HistoryDb::Layout;
using HistoryDb::layoutOf;
using HistoryDb::Ring;
using HistoryDb::tableNames;
using HistoryDb::Type;
using HistoryDbTesting::historyDb;
using TestSupport::Outcome;
using TestSupport::readFile;

template <class Record>
std::string bytesOf(const Record& record) {
  return {reinterpret_cast<const char*>(&record), sizeof record};
}

/// A record that was just made.
std::string freshRecord(Kind kind, int schema) {
  if (kind == Kind::System) {
    return schema == 0 ? bytesOf(Kiv::Schema0::Bramal::System::Record(1))
                       : bytesOf(Kiv::Schema1::Bramal::System::Record(1));
  }
  return schema == 0 ? bytesOf(Kiv::Schema0::Bramal::Zone::Record(1, 1))
                     : bytesOf(Kiv::Schema1::Bramal::Zone::Record(1, 1));
}

class SampleTest : public ::testing::Test {
 protected:
  /// Makes a sample and gives its bytes.
  std::string made(std::vector<std::string> options) const {
    options.insert(options.begin(), {"sample", "--force", path});
    EXPECT_EQ(historyDb(options), (Outcome{0, "", ""}));
    return readFile(path);
  }

  const TestSupport::TemporaryFolder folder;
  const std::string path = folder.path("sample.mk");
};

TEST_F(SampleTest, HasTheRowsThatAreAskedFor) {
  made({"--schema", "1", "--systems", "3", "--zones", "5", "--native-zones", "0", "--seed", "9"});
  const Database database(path);
  const std::size_t rows[] = {3, 0, 5};
  std::set<std::int32_t> keys;
  for (std::size_t t = 0; t < tableNames.size(); ++t) {
    const auto& table = database.tables()[t];
    EXPECT_TRUE(table.exists);
    EXPECT_EQ(table.rows.size(), rows[t]);
    for (std::size_t i = 0; i < table.rows.size(); ++i) {
      const Layout& layout = layoutOf(table.name.kind, 1);
      EXPECT_EQ(table.rows[i].body.size(), static_cast<std::size_t>(layout.size));
      keys.insert(table.rows[i].key);
      if (table.name.kind == Kind::Zone) {
        EXPECT_EQ(HistoryDb::integerAt(table.rows[i].body, layout.headerField("zone")->offset,
                                       Type::Int32),
                  static_cast<std::int32_t>(i) + 1);
      }
    }
  }
  EXPECT_EQ(keys.size(), 8U);
}

TEST_F(SampleTest, IsTheSameForTheSameSeed) {
  const std::string one = made({"--seed", "1"});
  EXPECT_EQ(made({}), one);
  EXPECT_NE(made({"--seed", "2"}), one);
  EXPECT_NE(made({"--seed", "18446744073709551615"}), one);
}

TEST_F(SampleTest, IsTheSameOnEveryMachine) {
  made({"--schema", "1", "--systems", "40", "--zones", "40"});
  EXPECT_EQ(HistoryDb::sha256OfFile(HistoryDb::InputFile(path)),
            "a49d5978d2589347b7498c356b972baa9367ccd11de92700f29921fbc19cbd8f");
}

TEST_F(SampleTest, HistoryOfARecordDoesNotDependOnTheOthers) {
  made({"--zones", "2"});
  const Database few(path);
  const std::string more = folder.path("more.mk");
  ASSERT_EQ(historyDb({"sample", more, "--zones", "3", "--systems", "2"}).status, 0);
  const Database many(more);
  EXPECT_EQ(few.tables()[0].rows[0].body, many.tables()[0].rows[0].body);
  EXPECT_EQ(few.tables()[2].rows[1].body, many.tables()[2].rows[1].body);
}

/// What must hold for a period that is in use.
void expectPlausible(const Layout& layout, std::string_view body, int offset) {
  for (const Field& field : layout.period) {
    if (field.type != Type::Double) {
      for (int i = 0; i < field.count; ++i) {
        EXPECT_GE(
            HistoryDb::integerAt(body, offset + field.offset + i * sizeOf(field.type), field.type),
            0)
            << field.name;
      }
      continue;
    }
    const double value = HistoryDb::realAt(body, offset + field.offset);
    EXPECT_TRUE(std::isfinite(value));
    if (std::string_view(field.name).substr(0, 3) == "min") {
      const Field* const most = layout.periodField(("max" + std::string(field.name + 3)).c_str());
      const double maximum = HistoryDb::realAt(body, offset + most->offset);
      const std::string fresh = freshRecord(layout.kind, layout.schema);
      const double top = HistoryDb::realAt(fresh, layout.rings[0].offset + field.offset);
      const double bottom = HistoryDb::realAt(fresh, layout.rings[0].offset + most->offset);
      // Measured within the range, or not at all.
      EXPECT_TRUE((bottom < value && value < maximum && maximum < top) ||
                  (value == top && maximum == bottom))
          << field.name << " " << value << " " << maximum;
    }
  }
}

class PlausibleSampleTest : public SampleTest, public ::testing::WithParamInterface<int> {};

TEST_P(PlausibleSampleTest, HasRingsAsADeviceLeavesThem) {
  const int schema = GetParam();
  int unusedPeriods = 0;
  int gaps = 0;
  for (int seed = 0; seed < 12; ++seed) {
    made({"--schema", std::to_string(schema), "--systems", "4", "--seed", std::to_string(seed)});
    const Database database(path);
    std::set<std::int32_t> ends;
    for (const auto& table : database.tables()) {
      const Layout& layout = layoutOf(table.name.kind, schema);
      const int time0 = layout.periodField("time0")->offset;
      const int time1 = layout.periodField("time1")->offset;
      const std::string fresh = freshRecord(layout.kind, schema);
      for (const auto& row : table.rows) {
        for (const Ring& ring : layout.rings) {
          const bool isMonths = &ring == &layout.rings[1];
          std::int32_t younger = 0;
          for (int i = 0; i < ring.count; ++i) {
            const int offset = ring.offset + i * layout.periodSize;
            const std::int32_t begin = HistoryDb::integerAt(row.body, offset + time0, Type::Int32);
            const std::int32_t end = HistoryDb::integerAt(row.body, offset + time1, Type::Int32);
            if (begin == 0) {
              ++unusedPeriods;
              younger = -1;
              EXPECT_EQ(row.body.substr(static_cast<std::size_t>(offset),
                                        static_cast<std::size_t>(layout.periodSize)),
                        std::string_view(fresh).substr(
                            static_cast<std::size_t>(ring.offset + 3 * layout.periodSize),
                            static_cast<std::size_t>(layout.periodSize)));
              continue;
            }
            EXPECT_NE(younger, -1) << "used behind an unused one";
            EXPECT_LT(begin, end);
            if (i == 0) {
              ends.insert(end);
            } else {
              EXPECT_LE(end, younger);
              gaps += end < younger ? 1 : 0;
            }
            younger = begin;
            EXPECT_EQ(begin % 86400, 0);
            const std::time_t seconds = begin;
            EXPECT_TRUE(!isMonths || ::gmtime(&seconds)->tm_mday == 1);
            expectPlausible(layout, row.body, offset);
          }
        }
      }
    }
    // All were looked at at once, in the years 2009 to 2020.
    ASSERT_EQ(ends.size(), 1U);
    EXPECT_GE(*ends.begin(), 1230768000);
    EXPECT_LT(*ends.begin(), 1609459200);
  }
  EXPECT_GT(unusedPeriods, 100);
  EXPECT_GT(gaps, 10);
}

TEST_P(PlausibleSampleTest, HasMonthsThatEncloseTheirDays) {
  const int schema = GetParam();
  made({"--schema", std::to_string(schema), "--systems", "20"});
  const Database database(path);
  int compared = 0;
  for (const auto& table : database.tables()) {
    const Layout& layout = layoutOf(table.name.kind, schema);
    const int time0 = layout.periodField("time0")->offset;
    const int least = layout.periodField("minA")->offset;
    const int most = layout.periodField("maxA")->offset;
    for (const auto& row : table.rows) {
      const int month = layout.rings[1].offset;
      for (int i = 0; i < layout.rings[0].count; ++i) {
        const int day = layout.rings[0].offset + i * layout.periodSize;
        if (HistoryDb::integerAt(row.body, day + time0, Type::Int32) >=
                HistoryDb::integerAt(row.body, month + time0, Type::Int32) &&
            HistoryDb::realAt(row.body, day + least) < HistoryDb::realAt(row.body, day + most)) {
          EXPECT_LE(HistoryDb::realAt(row.body, month + least),
                    HistoryDb::realAt(row.body, day + least));
          EXPECT_GE(HistoryDb::realAt(row.body, month + most),
                    HistoryDb::realAt(row.body, day + most));
          ++compared;
        }
      }
    }
  }
  EXPECT_GT(compared, 20);
}

TEST_P(PlausibleSampleTest, HasCountersThatGrow) {
  const int schema = GetParam();
  made({"--schema", std::to_string(schema), "--systems", "4"});
  const Database database(path);
  for (const auto& table : database.tables()) {
    const Layout& layout = layoutOf(table.name.kind, schema);
    for (const Field& field : layout.period) {
      if (field.type != Type::Int32 || std::string_view(field.name).substr(0, 4) == "time") {
        continue;
      }
      for (const auto& row : table.rows) {
        for (const Ring& ring : layout.rings) {
          for (int i = 1; i < ring.count; ++i) {
            const int at = ring.offset + i * layout.periodSize + field.offset;
            EXPECT_GE(HistoryDb::integerAt(row.body, at - layout.periodSize, field.type),
                      HistoryDb::integerAt(row.body, at, field.type))
                << field.name << " " << i;
          }
        }
      }
    }
  }
}

TEST_P(PlausibleSampleTest, IsWithoutAFinding) {
  for (const char* seed : {"1", "2", "3", "4", "5"}) {
    made({"--schema", std::to_string(GetParam()), "--systems", "8", "--zones", "30", "--seed",
          seed});
    EXPECT_EQ(historyDb({"check", "-q", path}), (Outcome{0, "", ""})) << seed;
  }
}

INSTANTIATE_TEST_SUITE_P(Schema, PlausibleSampleTest, ::testing::Values(0, 1));

class LabelledSampleTest : public PlausibleSampleTest {
 protected:
  LabelledSampleTest() {
    made({"--label", "--schema", std::to_string(GetParam()), "--systems", "3", "--zones", "3",
          "--native-zones", "3"});
  }

  /// Calls `take` with the type and bits of every value of a record.
  template <class Take>
  static void forEachValue(const Layout& layout, std::string_view body, Take take) {
    const auto visit = [&](HistoryDb::List<Field> fields, int offset) {
      for (const Field& field : fields) {
        for (int i = 0; i < field.count; ++i) {
          take(field.type,
               HistoryDb::bitsAt(body, offset + field.offset + i * sizeOf(field.type), field.type));
        }
      }
    };
    visit(layout.header, 0);
    for (const Ring& ring : layout.rings) {
      for (int i = 0; i < ring.count; ++i) {
        visit(layout.period, ring.offset + i * layout.periodSize);
      }
    }
  }
};

TEST_P(LabelledSampleTest, HasEachValueOnce) {
  const Database database(path);
  std::set<double> values;
  std::size_t count = 0;
  for (const auto& table : database.tables()) {
    for (const auto& row : table.rows) {
      forEachValue(layoutOf(table.name.kind, GetParam()), row.body,
                   [&](Type type, std::uint64_t bits) {
                     if (type != Type::Int16) {
                       values.insert(type == Type::Double ? HistoryDb::realOf(bits)
                                                          : static_cast<std::int32_t>(bits));
                       ++count;
                     }
                   });
    }
  }
  EXPECT_GT(count, 3000U);
  EXPECT_EQ(values.size(), count);
}

TEST_P(LabelledSampleTest, HasEachShortValueOnceInSoManyRowsOfATable) {
  made({"--label", "--schema", std::to_string(GetParam()), "--systems", "32"});
  const Database database(path);
  std::set<std::uint64_t> values;
  std::size_t count = 0;
  for (const auto& row : database.tables()[0].rows) {
    forEachValue(layoutOf(Kind::System, GetParam()), row.body, [&](Type type, std::uint64_t bits) {
      if (type == Type::Int16) {
        values.insert(bits);
        ++count;
      }
    });
  }
  EXPECT_EQ(values.size(), count);
}

TEST_P(LabelledSampleTest, TellsWhereAValueBelongs) {
  const Database database(path);
  const Layout& layout = layoutOf(Kind::Zone, GetParam());
  const std::string_view body = database.tables()[2].rows[1].body;
  const auto at = [&](int ring, int index, const char* field) {
    return layout.rings[static_cast<std::size_t>(ring)].offset + index * layout.periodSize +
           layout.periodField(field)->offset;
  };
  EXPECT_EQ(HistoryDb::integerAt(body, layout.headerField("headerWord1")->offset, Type::Int32),
            300010002);
  EXPECT_EQ(HistoryDb::realAt(body, at(0, 8, "minA")), 300000011811.5);
  EXPECT_EQ(HistoryDb::integerAt(body, at(1, 13, "intValue5"), Type::Int32), 300013317);
  EXPECT_EQ(HistoryDb::integerAt(body, at(0, 0, "shortValue1"), Type::Int16),
            static_cast<std::int16_t>((3 * 1 + 3) % 32 * 2048 + 1 * 64 + 16));
}

INSTANTIATE_TEST_SUITE_P(Schema, LabelledSampleTest, ::testing::Values(0, 1));

TEST_F(SampleTest, RefusesWhatNoDatabaseHolds) {
  EXPECT_EQ(historyDb({"sample", path, "--systems", "500000"}),
            (Outcome{2, "",
                     "history-db: " + path +
                         ": So many records take more than the 2 GiB that a database has.\n"}));
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(SampleTest, ReplacesAFileOnlyWhenItIsTold) {
  TestSupport::writeFile(path, "old");
  EXPECT_EQ(historyDb({"sample", path}).status, 2);
  EXPECT_EQ(readFile(path), "old");
  EXPECT_NE(made({}), "old");
}

}  // namespace
