// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

// convert-sqlite INFILE OUTFILE: the conversion of history-convert, into a database of SQLite, each
// row a transaction that is on the device when it is done. The primary key refuses a key that is
// there.

#include <sqlite3.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "bench/conversion/Rows.h"

namespace {

void require(bool condition, sqlite3* database) {
  if (!condition) {
    std::fprintf(stderr, "convert-sqlite: %s\n", sqlite3_errmsg(database));
    std::exit(1);
  }
}

/// A database that is open while the object lives, with one table for each of the history's.
class Outfile {
 public:
  explicit Outfile(const char* path) {
    require(sqlite3_open(path, &_database) == SQLITE_OK, _database);
    execute("PRAGMA journal_mode = WAL");
    execute("PRAGMA synchronous = FULL");
    for (std::size_t table = 0; table < Bench::tableNames.size(); ++table) {
      const std::string name = Bench::tableNames.at(table);
      execute("CREATE TABLE " + name + " (Key INTEGER PRIMARY KEY, Record BLOB)");
      const std::string insert = "INSERT INTO " + name + " VALUES (?, ?)";
      require(sqlite3_prepare_v3(_database, insert.c_str(), -1, SQLITE_PREPARE_PERSISTENT,
                                 &_inserts.at(table), nullptr) == SQLITE_OK,
              _database);
    }
  }

  ~Outfile() {
    for (sqlite3_stmt* insert : _inserts) {
      sqlite3_finalize(insert);
    }
    require(sqlite3_close(_database) == SQLITE_OK, _database);
  }

  Outfile(const Outfile&) = delete;
  Outfile& operator=(const Outfile&) = delete;

  /// Outside of a transaction, so that it is one by itself.
  void insert(const Bench::ConvertedRow& row) {
    sqlite3_stmt* statement = _inserts.at(row.table);
    sqlite3_bind_int(statement, 1, row.key);
    sqlite3_bind_blob(statement, 2, row.body, static_cast<int>(row.size), SQLITE_STATIC);
    require(sqlite3_step(statement) == SQLITE_DONE, _database);
    require(sqlite3_reset(statement) == SQLITE_OK, _database);
  }

 private:
  void execute(const std::string& statement) {
    require(sqlite3_exec(_database, statement.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK,
            _database);
  }

  sqlite3* _database = nullptr;
  std::array<sqlite3_stmt*, Bench::tableNames.size()> _inserts = {};
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "Usage: convert-sqlite INFILE OUTFILE\n");
    return 2;
  }
  Outfile outfile(argv[2]);
  return Bench::convertEach(argv[1], [&](const Bench::ConvertedRow& row) { outfile.insert(row); })
             ? 0
             : 1;
}
