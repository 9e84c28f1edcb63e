// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <cstdio>

#include "database/Db.h"
#include "database/Table.h"
#include "database/TableComposer.h"
#include "database/metakit/ObjectSizes.h"
#include "database/metakit/Service.h"
#include "docs/api/examples/Beside.h"
#include "persist/Converter.h"
#include "rtk/messaging/MailboxServer.h"

namespace {

namespace Metakit = Pvn::Database::Metakit::Persist;

//! [records]
struct Celsius {
  double degrees = 0;
};

struct Kelvin {
  explicit Kelvin(const Celsius& old) : degrees(old.degrees + 273.15) {}
  double degrees;
};
//! [records]

/// A store of its own with its database. Open until the process ends, as in the tool: a converter
/// lets go of its tables without a word to the server, so that their views stay.
class Database {
 public:
  Database(Rtk::MailboxServer& server, const char* file) : _service(server, file) {
    _service.open();
    _db = _service.create("values", _memory, sizeof _memory);
  }
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  Pvn::Database::Db::Api& get() { return *_db; }

 private:
  Metakit::Service _service;
  alignas(Metakit::dbAlignment) unsigned char _memory[Metakit::dbSize] = {};
  Pvn::Database::Db::Api* _db = nullptr;
};

/// A table of doubles in memory of its own.
class Temperatures {
 public:
  explicit Temperatures(Pvn::Database::Db::Api& db)
      : _table(db.createTable("Temperatures", sizeof(double), _memory, sizeof _memory)) {}
  ~Temperatures() { _table->destroy(); }
  Temperatures(const Temperatures&) = delete;
  Temperatures& operator=(const Temperatures&) = delete;

  void add(int key, double value) {
    alignas(Metakit::recordAlignment) unsigned char memory[Metakit::recordObjectSize];
    _table->createRecordWithKey(&value, memory, sizeof memory, key)->~Api();
  }

  //! [iterate]
  void print() {
    Pvn::Database::Table::Composer<Temperatures> composer(*this, &Temperatures::printRecord);
    _table->iterate(composer);
  }

  /// Server thread only: the table calls it from within the request.
  bool printRecord(Pvn::Database::Table::RecordApi& record) {
    double value = 0;
    record.read(&value, sizeof value, 0);
    alignas(Metakit::recordAlignment) unsigned char memory[Metakit::recordObjectSize];
    Pvn::Database::Record::Api* handle = record.openRecord(memory, sizeof memory);
    std::printf("%d: %.2f\n", handle->getKey(), value);
    handle->~Api();
    // With the next one.
    return false;
  }
  //! [iterate]

 private:
  alignas(Metakit::tableAlignment) unsigned char _memory[Metakit::tableSize] = {};
  Pvn::Database::Table::Api* _table;
};

//! [convert]
void convert(Pvn::Database::Db::Api& oldDb, Pvn::Database::Db::Api& newDb) {
  Pvn::Persist::Converter<Celsius, Kelvin> converter(oldDb, newDb, "Temperatures", "Temperatures",
                                                     nullptr, nullptr);
  converter.convert();
}
//! [convert]

}  // namespace

int main(int argc, char* argv[]) {
  if (argc != 3) {
    return 1;
  }
  std::remove(argv[1]);
  std::remove(argv[2]);
  Rtk::MailboxServer server;
  Examples::callBeside(server, [&] {
    static auto* const original = new Database(server, argv[1]);
    static auto* const converted = new Database(server, argv[2]);
    {
      Temperatures temperatures(original->get());
      temperatures.add(7, 20.5);
      temperatures.add(9, -3.0);
    }
    convert(original->get(), converted->get());
    Temperatures(converted->get()).print();
  });
}
