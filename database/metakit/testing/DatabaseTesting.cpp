// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "database/metakit/testing/DatabaseTesting.h"

#include <unistd.h>

#include "random/Random.h"

namespace DatabaseTesting {

RandomSource::RandomSource() : _before(Pvn::Random::Posix::fd) {
  Pvn::Random::initialize();
}

RandomSource::~RandomSource() {
  ::close(Pvn::Random::Posix::fd);
  Pvn::Random::Posix::fd = _before;
}

std::function<void()> onSync;

namespace {

std::string structureOf(const std::string& table) {
  return table + "[Key:I,Record:B]";
}

}  // namespace

Rows rowsOf(c4_Storage& storage, const std::string& table) {
  const c4_IntProp key("Key");
  const c4_BytesProp record("Record");
  const c4_View view = storage.GetAs(structureOf(table).c_str());
  Rows rows;
  for (int i = 0; i < view.GetSize(); ++i) {
    const c4_Bytes body = record(view[i]);
    rows.emplace_back(key(view[i]), std::string(reinterpret_cast<const char*>(body.Contents()),
                                                static_cast<std::size_t>(body.Size())));
  }
  return rows;
}

Rows rowsIn(const std::string& path, const std::string& table) {
  c4_Storage storage(path.c_str(), 0);
  return rowsOf(storage, table);
}

void putRows(const std::string& path, const std::string& table, const Rows& rows) {
  const c4_IntProp key("Key");
  const c4_BytesProp record("Record");
  c4_Storage storage(path.c_str(), 1);
  c4_View view = storage.GetAs(structureOf(table).c_str());
  for (const Row& row : rows) {
    c4_Row cells;
    key(cells) = row.first;
    record(cells) = c4_Bytes(row.second.data(), static_cast<int>(row.second.size()));
    view.Add(cells);
  }
  storage.Commit(false);
}

std::string descriptionOf(const std::string& path) {
  c4_Storage storage(path.c_str(), 0);
  return storage.Description();
}

DatabaseTest::DatabaseTest() {
  onSync = [this] { rowsAtSyncs.push_back(rowsInFile().size()); };
  server.start();
}

DatabaseTest::~DatabaseTest() {
  // First of all: what a case had called may use its own variables.
  onSync = nullptr;
  if (table != nullptr) {
    client([this] { table->destroy(); });
  }
  server.stop();
}

void DatabaseTest::client(const std::function<void()>& body) {
  TestSupport::onRtkThread(body, "client");
}

std::string DatabaseTest::output(const std::function<void()>& body) {
  ::testing::internal::CaptureStdout();
  client(body);
  return ::testing::internal::GetCapturedStdout();
}

std::string DatabaseTest::error(const std::function<void()>& body) {
  ::testing::internal::CaptureStderr();
  client(body);
  return ::testing::internal::GetCapturedStderr();
}

void DatabaseTest::openTable(const Rows& rows) {
  if (!rows.empty()) {
    putRows(path, "Table", rows);
  }
  client([this] {
    service.open();
    db = service.create("database", dbMemory.get(), dbSize);
    table = static_cast<Table*>(db->createTable("Table", recordSize, tableMemory.get(), tableSize));
  });
}

DatabaseTest::RecordHandle* DatabaseTest::create(int key, const std::string& body,
                                                 RecordMemory& memory) {
  RecordHandle* record = nullptr;
  client([&] {
    record = table->createRecordWithKey(body.data(), memory.get(), recordObjectSize, key);
  });
  return record;
}

}  // namespace DatabaseTesting

// Takes the place of the C library's.
extern "C" void sync() noexcept {
  if (DatabaseTesting::onSync) {
    DatabaseTesting::onSync();
  }
}
