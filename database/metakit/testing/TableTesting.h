// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <functional>
#include <string>
#include <vector>

#include "database/metakit/testing/DatabaseTesting.h"

namespace DatabaseTesting {

inline const std::string tableLine = "Pvn::Database::Metakit::Persist::Table::";
inline const std::string duplicateLine =
    tableLine + "request(CreateRecordWithKeyReq): WARNING: The key specified was not unique!\n";

/// What tests of a table's operations share.
class TableTest : public DatabaseTest {
 protected:
  using Table = DatabaseTest::Table;
  using RecordApi = Pvn::Database::Table::RecordApi;

  /// Visits rows and gives their keys until `last` has come.
  std::vector<int> keysUpTo(int last) {
    std::vector<int> keys;
    Visitor visitor([&](RecordApi& row) {
      RecordMemory opened;
      keys.push_back(row.openRecord(opened.get(), recordObjectSize)->getKey());
      return keys.back() == last;
    });
    client([&] { table->iterate(visitor); });
    return keys;
  }

  /// Calls `visit` for the first row alone, giving what is printed.
  std::string onFirstRow(const std::function<void(RecordApi&)>& visit) {
    Visitor visitor([&](RecordApi& row) {
      visit(row);
      return true;
    });
    return output([&] { table->iterate(visitor); });
  }

  RecordHandle* createWithRandomKey(const std::string& body) {
    RecordHandle* record = nullptr;
    client([&] { record = table->createRecord(body.data(), memory.get(), recordObjectSize); });
    return record;
  }

  static std::string read(RecordHandle& record) {
    std::string bytes(recordSize, '.');
    client([&] { EXPECT_EQ(record.read(bytes.data(), recordSize, 0), recordSize); });
    return bytes;
  }

  RecordMemory memory;
};

}  // namespace DatabaseTesting
