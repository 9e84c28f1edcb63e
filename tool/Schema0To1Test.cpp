// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "tool/Schema0To1.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <new>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "database/StoreSync.h"
#include "database/metakit/ObjectSizes.h"
#include "tests/support/Child.h"
#include "tests/support/Golden.h"
#include "tests/support/TemporaryFolder.h"
#include "tool/testing/ConversionTesting.h"

namespace {

using StoreSync = Pvn::Database::Persist::Store::Sync;

bool areSizesPrinted = false;
bool isFlushRefused = false;

}  // namespace

// The linker's --wrap option gives these names to StoreSync::create() and its callers' calls.
// NOLINTBEGIN(clang-diagnostic-reserved-identifier,bugprone-reserved-identifier)
extern "C" {
using Db = Pvn::Database::Db::Api;
Db* __real__ZN3Pvn8Database7Persist5Store4Sync6createEPKcPvj(StoreSync*, const char*, void*,
                                                             unsigned);
Db* __wrap__ZN3Pvn8Database7Persist5Store4Sync6createEPKcPvj(StoreSync*, const char*, void*,
                                                             unsigned);
Db* __wrap__ZN3Pvn8Database7Persist5Store4Sync6createEPKcPvj(StoreSync* sync, const char* name,
                                                             void* mem, unsigned memSize) {
  if (areSizesPrinted) {
    std::printf("%s: %u bytes\n", name, memSize);
  }
  return __real__ZN3Pvn8Database7Persist5Store4Sync6createEPKcPvj(sync, name, mem, memSize);
}

/// In place of the C library's.
int fsync(int descriptor) {
  if (isFlushRefused) {
    std::printf("flush, standard descriptor: %d\n", descriptor <= STDERR_FILENO);
    errno = EIO;
    return -1;
  }
  return ::fdatasync(descriptor);
}
}
// NOLINTEND(clang-diagnostic-reserved-identifier,bugprone-reserved-identifier)

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

/// A whole conversion in a child process.
class DriverTest : public ::testing::Test {
 protected:
  TestSupport::TemporaryFolder folder;
  const std::string infile = TestSupport::goldenFile("zones-only.mk").path;
  const std::string outfile = folder.path("out.mk");
};

TEST_F(DriverTest, GivesEachDatabaseExactlyItsMemory) {
  const TestSupport::Outcome outcome = TestSupport::inChild([this] {
    areSizesPrinted = true;
    TestSupport::convertHere(infile, outfile);
  });
  const std::string size = std::to_string(Pvn::Database::Metakit::Persist::dbSize);
  EXPECT_EQ(outcome, (TestSupport::Outcome{
                         0, "original: " + size + " bytes\nconverted: " + size + " bytes\n", ""}));
}

TEST_F(DriverTest, AFileThatCannotBeFlushedIsIncomplete) {
  const TestSupport::Outcome outcome = TestSupport::inChild([this] {
    isFlushRefused = true;
    // The check must not use the free descriptor.
    ::close(STDIN_FILENO);
    TestSupport::convertHere(infile, outfile);
  });
  EXPECT_EQ(outcome.status, 255);
  EXPECT_EQ(outcome.standardOutput, "flush, standard descriptor: 0\n");
  const std::string& record = outcome.standardError;
  EXPECT_EQ(record.substr(std::min(record.find("OUTFILE"), record.size())),
            "OUTFILE \"" + outfile + "\" is incomplete. Input/output error.\n");
}

}  // namespace
