// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "tool/Schema0To1.h"

#include <new>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace {

namespace Bramal = Pvn::Persist::History::Kiv::Schema1::Bramal;

/// An empty table.
class EmptyTable final : public Pvn::Database::Table::Api {
 public:
  void destroy() override {}
  Pvn::Database::Record::Api* createRecordWithKey(const void*, void*, unsigned, int) override {
    return nullptr;
  }
  Pvn::Database::Record::Api* createRecord(const void*, void*, unsigned) override {
    return nullptr;
  }
  void iterate(Pvn::Database::Table::IteratorApi&) override {}
  Pvn::Database::Record::Api* openFirstRecord(void*, unsigned) override { return nullptr; }
};

/// A database of empty tables that notes which of them are opened.
class NotingDb final : public Pvn::Database::Db::Api {
 public:
  NotingDb(std::string name, std::string& notes) : _name(std::move(name)), _notes(notes) {}

  void destroy() override {}
  Pvn::Database::Table::Api* createTable(const char* name, unsigned recordSize, void* mem,
                                         unsigned) override {
    _notes += _name + ' ' + name + ' ' + std::to_string(recordSize) + '\n';
    return new (mem) EmptyTable;
  }

 private:
  const std::string _name;
  std::string& _notes;
};

class Schema0To1Test : public ::testing::Test {
 protected:
  std::string notes;
  NotingDb original{"original", notes};
  NotingDb converted{"converted", notes};
};

TEST_F(Schema0To1Test, ConvertsTheTablesOfTheFamilyInOrder) {
  Torma::Quillet::Persist::History::Schema1::Family::Kiv::convertSchema0(original, converted);
  EXPECT_EQ(notes,
            "original TormaQuilletHistory 4624\n"
            "converted TormaQuilletHistory 6280\n"
            "original nativeZoneHistory 2040\n"
            "converted nativeZoneHistory 2040\n"
            "original ZoneHistory 2040\n"
            "converted ZoneHistory 2040\n");
}

TEST_F(Schema0To1Test, ConvertsATableUnderAnotherName) {
  Bramal::System::convertSchema0(original, converted, "oldSystems", "newSystems");
  Bramal::Zone::convertSchema0(original, converted, "oldZones", "newZones");
  EXPECT_EQ(notes,
            "original oldSystems 4624\n"
            "converted newSystems 6280\n"
            "original oldZones 2040\n"
            "converted newZones 2040\n");
}

}  // namespace
