// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <functional>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "persist/Converter.h"
#include "persist/Pair.h"

// A converter seen from inside: what it asks of the database, call by call, without a store behind
// it, and its members. This file alone is compiled without access control, to see these.

namespace {

using namespace std::string_literals;
using Pvn::Persist::Converter;
using Pvn::Persist::Pair;
namespace Database = Pvn::Database;
namespace Metakit = Pvn::Database::Metakit::Persist;

/// All that is called, in order, by the name of whose operation it is.
std::vector<std::string> calls;

void note(const std::string& object, const std::string& call) {
  calls.push_back(object + "." + call);
}

/// Four characters, and the same in brackets.
struct Old {
  char text[4];
};
struct New {
  New(const Old& old) : text{'[', old.text[0], old.text[1], old.text[2], old.text[3], ']'} {}
  char text[6];
};

class FakeRecord : public Database::Record::Api {
 public:
  FakeRecord(const char* name, int key) : _name(name), _key(key) {}
  ~FakeRecord() override { note(_name, "end"); }

  int getKey() const override {
    note(_name, "getKey");
    return _key;
  }
  void destroy() override { note(_name, "destroy"); }

  Database::Property::Read::Api* getReadApi() override { return this; }
  Database::Property::Write::Api* getWriteApi() override { return this; }
  unsigned int read(void*, unsigned int, unsigned int) override { return 0; }
  unsigned int write(const void*, unsigned int, unsigned int) override { return 0; }

 private:
  const char* _name;
  int _key;
};

/// Called when a row is opened.
std::function<void()> onOpenRecord;

/// A row of the old table.
class FakeRow : public Database::Table::RecordApi {
 public:
  FakeRow(int key, const char* body) : _key(key), _body(body) {}

  Database::Record::Api* openRecord(void* mem, unsigned int memSize) override {
    note("row", "openRecord");
    if (onOpenRecord) {
      onOpenRecord();
    }
    EXPECT_EQ(memSize, Metakit::recordObjectSize);
    return new (mem) FakeRecord("old record", _key);
  }
  unsigned int read(void* buffer, unsigned int size, unsigned int offset) override {
    note("row", "read " + std::to_string(size) + " at " + std::to_string(offset));
    std::memcpy(buffer, _body, size);
    return size;
  }
  unsigned int write(const void*, unsigned int, unsigned int) override { return 0; }

 private:
  int _key;
  const char* _body;
};

/// The old table has two rows; a new one gives its records other keys than it is asked for.
class FakeTable : public Database::Table::Api {
 public:
  explicit FakeTable(const char* name) : _name(name) {}
  ~FakeTable() override { note(_name, "end"); }

  void iterate(Database::Table::IteratorApi& iterator) override {
    note(_name, "iterate");
    for (auto [key, body] : {std::pair(7, "aaaa"), std::pair(-1, "bbbb")}) {
      FakeRow row(key, body);
      EXPECT_FALSE(iterator.nextRecord(row));
    }
  }
  Database::Record::Api* createRecordWithKey(const void* data, void* mem, unsigned int memSize,
                                             int key) override {
    const std::string body(static_cast<const char*>(data), sizeof(New));
    note(_name, "createRecordWithKey " + std::to_string(key) + " " + body);
    EXPECT_EQ(memSize, Metakit::recordObjectSize);
    return new (mem) FakeRecord("new record", key + 100);
  }

  void destroy() override { note(_name, "destroy"); }
  Database::Record::Api* createRecord(const void*, void*, unsigned int) override { return nullptr; }
  Database::Record::Api* openFirstRecord(void*, unsigned int) override { return nullptr; }

 private:
  const char* _name;
};

class FakeDb : public Database::Db::Api {
 public:
  FakeDb(const char* name, const char* tableName) : _name(name), _tableName(tableName) {}

  Database::Table::Api* createTable(const char* name, unsigned int recordSize, void* mem,
                                    unsigned int memSize) override {
    note(_name, "createTable "s + name + " " + std::to_string(recordSize));
    EXPECT_EQ(memSize, Metakit::tableSize);
    return new (mem) FakeTable(_tableName);
  }
  void destroy() override { note(_name, "destroy"); }

 private:
  const char* _name;
  const char* _tableName;
};

static_assert(sizeof(FakeTable) <= Metakit::tableSize);
static_assert(sizeof(FakeRecord) <= Metakit::recordObjectSize);

TEST(ConverterStepsTest, ReadsAllWritesAllAndEndsEachHandleInPlace) {
  calls.clear();
  FakeDb oldDb("old db", "old table");
  FakeDb newDb("new db", "new table");
  Converter<Old, New> converter(
      oldDb, newDb, "First", "Second",
      [](const Old& old) { note("old hook", std::string(old.text, sizeof old.text)); },
      [](New& converted) { note("new hook", std::string(converted.text, sizeof converted.text)); });
  converter.convert();
  const std::vector<std::string> expected = {
      "old db.createTable First 4",
      "new db.createTable Second 6",
      "old table.iterate",
      "row.openRecord",
      "row.read 4 at 0",
      "old record.getKey",
      "old record.end",
      "row.openRecord",
      "row.read 4 at 0",
      "old record.getKey",
      "old record.end",
      "old hook.aaaa",
      "new hook.[aaaa]",
      "new table.createRecordWithKey 7 [aaaa]",
      "new record.getKey",
      "new record.end",
      "old hook.bbbb",
      "new hook.[bbbb]",
      "new table.createRecordWithKey -1 [bbbb]",
      "new record.getKey",
      "new record.end",
      "new table.end",
      "old table.end",
  };
  EXPECT_EQ(calls, expected);
}

TEST(ConverterStepsTest, ListsEachPairBeforeItOpensTheRow) {
  FakeDb oldDb("old db", "old table");
  FakeDb newDb("new db", "new table");
  Converter<Old, New> converter(oldDb, newDb, "First", "Second", nullptr, nullptr);
  std::vector<int> listed;
  onOpenRecord = [&] {
    int pairs = 0;
    for (const auto* pair = converter.pairs().first(); pair != nullptr;
         pair = converter.pairs().next(*pair)) {
      ++pairs;
    }
    listed.push_back(pairs);
  };
  converter.convert();
  onOpenRecord = nullptr;
  EXPECT_EQ(listed, (std::vector<int>{1, 2}));
}

TEST(ConverterStepsTest, NamesRowsByTheKeysThatTheirRecordsHave) {
  FakeDb oldDb("old db", "old table");
  FakeDb newDb("new db", "new table");
  Converter<Old, New> converter(oldDb, newDb, "First", "Second", nullptr, nullptr);
  converter.convert();
  const Pair<Old>* pair = converter.pairs().first();
  EXPECT_STREQ(pair->oldName().getString(), "First7");
  EXPECT_STREQ(pair->newName().getString(), "Second107");
  pair = converter.pairs().next(*pair);
  EXPECT_STREQ(pair->oldName().getString(), "First-1");
  EXPECT_STREQ(pair->newName().getString(), "Second99");
}

TEST(ConverterStepsTest, HasTheNewTableOnlyWhileItConverts) {
  FakeDb oldDb("old db", "old table");
  FakeDb newDb("new db", "new table");
  static const Converter<Old, New>* current = nullptr;
  Converter<Old, New> converter(
      oldDb, newDb, "First", "Second",
      [](const Old&) {
        EXPECT_NE(current->_newTable, nullptr);
        EXPECT_EQ(current->_oldTable, nullptr);
      },
      nullptr);
  current = &converter;
  EXPECT_EQ(converter._newTable, nullptr);
  converter.convert();
  current = nullptr;
  EXPECT_EQ(converter._newTable, nullptr);
  EXPECT_EQ(converter._oldTable, nullptr);
}

// ---- Members ----

using Converting = Converter<Old, New>;
using Converted = Pair<Old>;

bool inOrder(const std::vector<std::size_t>& offsets) {
  return offsets.front() == 0 && std::adjacent_find(offsets.begin(), offsets.end(),
                                                    std::greater_equal<>()) == offsets.end();
}

TEST(ConverterStepsTest, MembersAreInOrder) {
  EXPECT_TRUE(inOrder({offsetof(Converting, _oldDb), offsetof(Converting, _newDb),
                       offsetof(Converting, _oldTableName), offsetof(Converting, _newTableName),
                       offsetof(Converting, _oldRecordHook), offsetof(Converting, _newRecordHook),
                       offsetof(Converting, _oldTable), offsetof(Converting, _newTable),
                       offsetof(Converting, _composer), offsetof(Converting, _pairs)}));
}

TEST(ConverterStepsTest, HandlesGetExactlyTheMemoryOfTheirObjects) {
  EXPECT_EQ(sizeof(Converting::TableMemory), Metakit::tableSize);
  EXPECT_EQ(alignof(Converting::TableMemory), Metakit::tableAlignment);
  EXPECT_EQ(sizeof(Converting::RecordMemory), Metakit::recordObjectSize);
  EXPECT_EQ(alignof(Converting::RecordMemory), Metakit::recordAlignment);
}

TEST(PairStepsTest, MembersAreInOrder) {
  EXPECT_TRUE(inOrder({offsetof(Converted, _next), offsetof(Converted, _oldName),
                       offsetof(Converted, _newName), offsetof(Converted, _record),
                       offsetof(Converted, _key)}));
}

struct Made {
  int number = 5;
};

TEST(PairStepsTest, BeginsWithARecordOfItsOwnMakingAndTheKeyZero) {
  const Pair<Made> pair("First", "Second");
  EXPECT_EQ(pair._next, nullptr);
  EXPECT_EQ(pair._record.number, 5);
  EXPECT_EQ(pair._key, 0);
}

TEST(PairStepsTest, NamesGrowBySixteenCharacters) {
  Pair<Old> pair("First", "");
  EXPECT_EQ(pair._oldName.maxLength(), 15);
  EXPECT_EQ(pair._newName.maxLength(), 15);
  for (Rtk::DString* name : {&pair._oldName, &pair._newName}) {
    *name = "a text of 20 letters";
    EXPECT_EQ(name->maxLength(), 31);
  }
}

}  // namespace
