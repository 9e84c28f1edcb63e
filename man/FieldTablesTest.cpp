// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <string>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "history-db/records/Layout.h"
#include "man/PageTesting.h"
#include "tests/support/KeptFile.h"

namespace {

using HistoryDb::Field;
using HistoryDb::Kind;
using HistoryDb::Layout;
using HistoryDb::List;
using HistoryDb::Ring;

/// The tables of a page's fields.
class Tables {
 public:
  void add(const Layout& layout, const std::string& name) {
    const std::string kind = nameOf(layout.kind);
    begin(fmt::format("{}, {} bytes", name, layout.size));
    addFields(layout.header);
    for (const Ring& ring : layout.rings) {
      const int size = ring.count * layout.periodSize;
      row(ring.offset, size, fmt::format("{} period x {}", kind, ring.count), ring.name);
    }
    end(layout.size);
    begin(fmt::format("{}: a period, {} bytes", name, layout.periodSize));
    addFields(layout.period);
    end(layout.periodSize);
  }

  const std::string& text() const { return _text; }

 private:
  void begin(const std::string& title) {
    _text += ".Ss " + title + "\n";
    _text += ".Bl -column \"Offset\" \"Bytes\" \"System period x 14\" \"headerShortsA\"\n";
    _text += ".It Em Offset Ta Em Bytes Ta Em Type Ta Em Field\n";
    _end = 0;
  }

  void addFields(List<Field> fields) {
    for (const Field& field : fields) {
      const std::string type = nameOf(field.type);
      row(field.offset, field.end() - field.offset,
          field.count == 1 ? type : fmt::format("{} x {}", type, field.count), field.name);
    }
  }

  void row(int offset, int size, const std::string& type, const std::string& name) {
    padTo(offset);
    _text += fmt::format(".It {} Ta {} Ta {} Ta {}\n", offset, size, type, name);
    _end = offset + size;
  }

  void padTo(int offset) {
    if (_end < offset) {
      _text += fmt::format(".It {} Ta {} Ta Ta padding\n", _end, offset - _end);
    }
  }

  void end(int size) {
    padTo(size);
    _text += ".El\n";
  }

  std::string _text;
  /// Of the last row.
  int _end = 0;
};

TEST(FieldTablesTest, AreThoseOfTheProgram) {
  Tables tables;
  tables.add(layoutOf(Kind::System, 0), "System record of schema 0");
  tables.add(layoutOf(Kind::System, 1), "System record of schema 1");
  tables.add(layoutOf(Kind::Zone, 0), "Zone record of both schemas");
  const std::string page = "history-database.5";
  const std::string source = PageTesting::sourceOf(page);
  const std::size_t begin = source.find('\n', source.find(".\\\" The tables from here on")) + 1;
  const std::size_t end = source.find(".\\\" The tables end here.");
  ASSERT_NE(end, std::string::npos);
  TestSupport::expectKept(PageTesting::pathOf(page),
                          source.substr(0, begin) + tables.text() + source.substr(end));
}

TEST(FieldTablesTest, ZonesAreTheSameInBothSchemas) {
  Tables schema0;
  schema0.add(layoutOf(Kind::Zone, 0), "Zone");
  Tables schema1;
  schema1.add(layoutOf(Kind::Zone, 1), "Zone");
  EXPECT_EQ(schema0.text(), schema1.text());
}

}  // namespace
