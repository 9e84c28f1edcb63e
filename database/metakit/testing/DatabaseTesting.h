// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstring>
#include <functional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <mk4.h>

#include "database/metakit/ObjectSizes.h"
#include "database/metakit/Service.h"
#include "database/metakit/Table.h"
#include "database/testing/SyncTesting.h"
#include "rtk/messaging/Message.h"
#include "rtk/messaging/ReturnHandler.h"
#include "rtk/messaging/ServerRequest.h"
#include "tests/support/RtkThread.h"
#include "tests/support/TemporaryFolder.h"

namespace DatabaseTesting {

/// Opens the system's source of random numbers for the tests of a fixture.
class RandomSource {
 public:
  RandomSource();
  ~RandomSource();
  RandomSource(const RandomSource&) = delete;
  RandomSource& operator=(const RandomSource&) = delete;

 private:
  const int _before;
};

/// Called in place of the operating system's sync(), which these tests replace: they want to see
/// it, and must not hold the machine up. Set while no request is on its way.
extern std::function<void()> onSync;

/// A key and a body, whatever size that has.
using Row = std::pair<int, std::string>;
using Rows = std::vector<Row>;

/// The rows of a table, without the code under test: as they stand in memory, and as another
/// storage finds them in the file.
Rows rowsOf(c4_Storage& storage, const std::string& table);
Rows rowsIn(const std::string& path, const std::string& table);

/// Appends rows to a table of a file, without the code under test.
void putRows(const std::string& path, const std::string& table, const Rows& rows);

/// The structure that a file has.
std::string descriptionOf(const std::string& path);

/// A record body of 8 bytes in a character.
inline std::string bodyOf(char c) {
  return std::string(8, c);
}

/// A range of a record, and what comes of it.
struct RangeCase {
  const char* name;
  std::string body;
  unsigned int size;
  unsigned int offset;
  unsigned int result;
  std::string printed;
  /// Reading: a buffer of ten dots. Writing: the row.
  std::string bytes;
};

inline std::ostream& operator<<(std::ostream& stream, const RangeCase& range) {
  return stream << range.name;
}

inline std::string rangeName(const ::testing::TestParamInfo<RangeCase>& range) {
  return range.param.name;
}

/// A body of as many bytes as a record has.
inline const std::string whole = "01234567";

/// Memory for an object that is to be built in it, followed by some that must not be touched.
template <unsigned int size, unsigned int alignment>
class Memory {
 public:
  Memory() {
    std::memset(_bytes, fill, sizeof _bytes);
    std::memset(_behind, fill, sizeof _behind);
  }

  void* get() { return _bytes; }

  bool isUntouched() const { return isFilled(_bytes, size) && isUntouchedBehind(); }
  bool isUntouchedBehind() const { return isFilled(_behind, sizeof _behind); }

 private:
  static constexpr unsigned char fill = 0xEE;

  static bool isFilled(const unsigned char* bytes, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      if (bytes[i] != fill) {
        return false;
      }
    }
    return true;
  }

  alignas(alignment) unsigned char _bytes[size];
  unsigned char _behind[16];
};

using DbMemory =
    Memory<Pvn::Database::Metakit::Persist::dbSize, Pvn::Database::Metakit::Persist::dbAlignment>;
using TableMemory = Memory<Pvn::Database::Metakit::Persist::tableSize,
                           Pvn::Database::Metakit::Persist::tableAlignment>;
using RecordMemory = Memory<Pvn::Database::Metakit::Persist::recordObjectSize,
                            Pvn::Database::Metakit::Persist::recordAlignment>;

/// Counts how many times a request comes back, and runs a check each time.
class Returns : public Rtk::ReturnHandler {
 public:
  explicit Returns(std::function<void()> check) : _check(std::move(check)) {}
  void rts() override {
    ++count;
    _check();
  }

  int count = 0;

 private:
  std::function<void()> _check;
};

/// Serves one request on the calling thread, where no other request is on its way, and tells how
/// many times it came back; `check` runs each time.
template <class Api, class Payload>
int serve(
    Api& target, Payload& payload, const std::function<void()>& check = [] {}) {
  Returns returns(check);
  Rtk::ServerRequest<Api, Payload> request(target, payload, returns);
  Rtk::Message& message = request;
  message.process();
  return returns.count;
}

/// An object that tells at its end on which thread that came.
template <class Object>
class Ending : public Object {
 public:
  template <class... Arguments>
  explicit Ending(std::string& end, Arguments&&... arguments)
      : Object(std::forward<Arguments>(arguments)...), _end(end) {}
  ~Ending() override { _end = Rtk::Thread::getCurrent()->getName(); }

 private:
  std::string& _end;
};

/// An iterator made of a function.
class Visitor : public Pvn::Database::Table::IteratorApi {
 public:
  explicit Visitor(std::function<bool(Pvn::Database::Table::RecordApi&)> visit)
      : _visit(std::move(visit)) {}
  bool nextRecord(Pvn::Database::Table::RecordApi& row) override { return _visit(row); }

 private:
  std::function<bool(Pvn::Database::Table::RecordApi&)> _visit;
};

/// A store on a new file, served by a thread, and a table "Table" of 8-byte records in it once
/// openTable() has been called. What a case changes is done by clients; what it looks at is looked
/// at directly, when no request is on its way.
class DatabaseTest : public ::testing::Test {
 protected:
  using Service = Pvn::Database::Metakit::Persist::Service;
  using Table = Pvn::Database::Metakit::Persist::Table;
  using RecordHandle = Pvn::Database::Record::Api;

  static constexpr unsigned int dbSize = Pvn::Database::Metakit::Persist::dbSize;
  static constexpr unsigned int tableSize = Pvn::Database::Metakit::Persist::tableSize;
  static constexpr unsigned int recordObjectSize =
      Pvn::Database::Metakit::Persist::recordObjectSize;
  static constexpr unsigned int recordSize = 8;

  DatabaseTest();
  ~DatabaseTest() override;

  /// Runs `body` on a client thread and blocks until it has ended.
  static void client(const std::function<void()>& body);

  /// The same, giving what came on standard output, or on standard error, meanwhile.
  static std::string output(const std::function<void()>& body);
  static std::string error(const std::function<void()>& body);

  /// Opens the store, on a file with `rows` if there are any, and in it the table.
  void openTable(const Rows& rows = {});

  /// A client's call of the table.
  RecordHandle* create(int key, const std::string& body, RecordMemory& memory);

  /// The rows of the table as they stand in memory, and in the file.
  Rows rows() { return rowsOf(*service.getStorage(), "Table"); }
  Rows rowsInFile() { return rowsIn(path, "Table"); }

  TestSupport::TemporaryFolder folder;
  const std::string path = folder.path("file.mk");
  /// How many rows the table had in the file at each call of sync().
  std::vector<std::size_t> rowsAtSyncs;
  Server server;
  Service service{server, path.c_str()};

  DbMemory dbMemory;
  Pvn::Database::Db::Api* db = nullptr;
  TableMemory tableMemory;
  /// Null without a table; a case that ends the table sets it to null.
  Table* table = nullptr;
};

}  // namespace DatabaseTesting
