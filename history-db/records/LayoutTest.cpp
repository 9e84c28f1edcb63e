// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/records/Layout.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/TemporaryFolder.h"

namespace {

using HistoryDb::Field;
using HistoryDb::Kind;
using HistoryDb::Layout;
using HistoryDb::layoutOf;
using HistoryDb::layoutOfSize;
using HistoryDb::List;
using HistoryDb::Ring;

constexpr const char* tableHead = "| Offset | Bytes | Type | Field |\n|---:|---:|---|---|\n";

/// A row for what no field covers, if there is anything.
std::string paddingRow(int begin, int end) {
  return begin == end ? "" : fmt::format("| {} | {} | | padding |\n", begin, end - begin);
}

/// The rows of a table of docs/history-records.md for the bytes from `begin` to `end`.
std::string rows(List<Field> fields, int begin, int end) {
  std::string text;
  for (const Field& field : fields) {
    if (field.offset >= begin) {
      text += paddingRow(begin, field.offset);
      text += fmt::format("| {} | {} | {}{} | `{}` |\n", field.offset, field.end() - field.offset,
                          nameOf(field.type),
                          field.count > 1 ? fmt::format(" x {}", field.count) : "", field.name);
      begin = field.end();
    }
  }
  return text + paddingRow(begin, end);
}

std::string recordTable(const Layout& layout) {
  std::string text = tableHead + rows(layout.header, 0, layout.rings[0].offset);
  for (const Ring& ring : layout.rings) {
    text += fmt::format("| {} | {} | {} period x {} | `{}` |\n", ring.offset,
                        ring.count * layout.periodSize, nameOf(layout.kind), ring.count, ring.name);
  }
  return text + "\n";
}

/// The table of the bytes from `begin` on.
std::string periodTable(const Layout& layout, int begin) {
  return tableHead + rows(layout.period, begin, layout.periodSize) + "\n";
}

class LayoutTest : public ::testing::TestWithParam<const Layout*> {
 protected:
  const Layout& layout = *GetParam();
};

TEST_P(LayoutTest, FieldsFollowEachOtherWhereTheirTypesMayStand) {
  for (const List<Field>& fields : {layout.header, layout.period}) {
    int end = 0;
    for (const Field& field : fields) {
      EXPECT_GE(field.offset, end) << field.name;
      EXPECT_EQ(field.offset % sizeOf(field.type), 0) << field.name;
      end = field.end();
    }
  }
  EXPECT_LE(layout.header[layout.header.size - 1].end(), layout.rings[0].offset);
  EXPECT_LE(layout.period[layout.period.size - 1].end(), layout.periodSize);
}

TEST_P(LayoutTest, RingsFillTheRecordBehindItsHeader) {
  int end = layout.rings[0].offset;
  for (const Ring& ring : layout.rings) {
    EXPECT_EQ(ring.offset, end);
    end += ring.count * layout.periodSize;
  }
  EXPECT_EQ(end, layout.size);
}

TEST_P(LayoutTest, FindsItsFieldsByName) {
  for (const Field& field : layout.header) {
    EXPECT_EQ(layout.headerField(field.name), &field);
  }
  for (const Field& field : layout.period) {
    EXPECT_EQ(layout.periodField(field.name), &field);
  }
  EXPECT_EQ(layout.headerField("time0"), nullptr);
  EXPECT_EQ(layout.periodField("headerWord1"), nullptr);
  EXPECT_EQ(layout.periodField(""), nullptr);
}

TEST_P(LayoutTest, IsWhatItsPageShows) {
  const std::string page = TestSupport::readFile(PROJECT_FOLDER "/docs/history-records.md");
  // Tables that follow from those of schema 0 are left out there.
  const bool isZone1 = layout.kind == Kind::Zone && layout.schema == 1;
  const bool isSystem1 = layout.kind == Kind::System && layout.schema == 1;
  const std::size_t chapter =
      page.find(fmt::format("\n## Schema {}\n", isZone1 ? 0 : layout.schema));
  ASSERT_NE(chapter, std::string::npos);
  const std::size_t section =
      page.find(fmt::format("\n### {} record\n", nameOf(layout.kind)), chapter);
  ASSERT_NE(section, std::string::npos);
  const std::string text = page.substr(section, page.find("\n##", section + 1) - section + 1);
  for (const std::string& table : {recordTable(layout), periodTable(layout, isSystem1 ? 156 : 0)}) {
    EXPECT_NE(text.find("\n\n" + table), std::string::npos) << table;
  }
  EXPECT_NE(text.find(fmt::format("{} period, {} bytes", nameOf(layout.kind), layout.periodSize)),
            std::string::npos);
  EXPECT_NE(page.find(fmt::format("\n| {} | {} bytes | {} bytes |\n", nameOf(layout.kind),
                                  layoutOf(layout.kind, 0).size, layoutOf(layout.kind, 1).size)),
            std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(Each, LayoutTest,
                         ::testing::Values(&layoutOf(Kind::System, 0), &layoutOf(Kind::System, 1),
                                           &layoutOf(Kind::Zone, 0), &layoutOf(Kind::Zone, 1)),
                         [](const auto& layout) {
                           return std::string(nameOf(layout.param->kind)) + "Schema" +
                                  std::to_string(layout.param->schema);
                         });

TEST(LayoutOfSizeTest, IsKnownForWhatRecordsTake) {
  EXPECT_EQ(layoutOfSize(Kind::System, 4624), &layoutOf(Kind::System, 0));
  EXPECT_EQ(layoutOfSize(Kind::System, 6280), &layoutOf(Kind::System, 1));
  EXPECT_EQ(layoutOfSize(Kind::Zone, 2040), &layoutOf(Kind::Zone, 0));
  for (const std::size_t size : {0U, 2039U, 2041U, 4624U, 6280U}) {
    EXPECT_EQ(layoutOfSize(Kind::Zone, size), nullptr) << size;
  }
  EXPECT_EQ(layoutOfSize(Kind::System, 2040), nullptr);
}

TEST(LayoutsTest, SystemOfSchema1BeginsAsThatOfSchema0) {
  const Layout& old = layoutOf(Kind::System, 0);
  const Layout& young = layoutOf(Kind::System, 1);
  for (const Field& field : old.period) {
    const Field* const same = young.periodField(field.name);
    ASSERT_NE(same, nullptr) << field.name;
    EXPECT_EQ(same->offset, field.offset);
    EXPECT_EQ(same->type, field.type);
    EXPECT_GE(same->count, field.count);
  }
  EXPECT_TRUE(std::equal(
      old.header.begin(), old.header.end(), young.header.begin(), young.header.end(),
      [](const Field& a, const Field& b) { return a.offset == b.offset && a.type == b.type; }));
}

}  // namespace
