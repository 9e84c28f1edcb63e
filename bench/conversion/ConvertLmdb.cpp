// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

// convert-lmdb INFILE OUTFILE: the conversion of history-convert, into a database of LMDB, each row
// a transaction that is on the device when it is done. A key that is there is refused.

#include <lmdb.h>

#include <array>
#include <cstdio>
#include <cstdlib>

#include "bench/conversion/Rows.h"

namespace {

/// Room in the addresses, not in memory or on the disk, for more than any benchmark stores.
constexpr std::size_t mapSize = 1024UL * 1024 * 1024;

void require(int error) {
  if (error != MDB_SUCCESS) {
    std::fprintf(stderr, "convert-lmdb: %s\n", mdb_strerror(error));
    std::exit(1);
  }
}

/// A database that is open while the object lives, with one table for each of the history's.
class Outfile {
 public:
  explicit Outfile(const char* path) {
    require(mdb_env_create(&_environment));
    require(mdb_env_set_maxdbs(_environment, Bench::tableNames.size()));
    require(mdb_env_set_mapsize(_environment, mapSize));
    require(mdb_env_open(_environment, path, MDB_NOSUBDIR, 0666));
    inTransaction([this](MDB_txn* transaction) {
      for (std::size_t table = 0; table < Bench::tableNames.size(); ++table) {
        require(mdb_dbi_open(transaction, Bench::tableNames.at(table), MDB_CREATE | MDB_INTEGERKEY,
                             &_tables.at(table)));
      }
    });
  }

  ~Outfile() { mdb_env_close(_environment); }

  Outfile(const Outfile&) = delete;
  Outfile& operator=(const Outfile&) = delete;

  void insert(const Bench::ConvertedRow& row) {
    inTransaction([this, &row](MDB_txn* transaction) {
      // Neither is written through.
      auto key = static_cast<unsigned int>(row.key);
      MDB_val keyValue = {sizeof key, &key};
      MDB_val body = {row.size, const_cast<void*>(row.body)};
      require(mdb_put(transaction, _tables.at(row.table), &keyValue, &body, MDB_NOOVERWRITE));
    });
  }

 private:
  template <class Action>
  void inTransaction(Action&& action) {
    MDB_txn* transaction = nullptr;
    require(mdb_txn_begin(_environment, nullptr, 0, &transaction));
    action(transaction);
    require(mdb_txn_commit(transaction));
  }

  MDB_env* _environment = nullptr;
  std::array<MDB_dbi, Bench::tableNames.size()> _tables = {};
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "Usage: convert-lmdb INFILE OUTFILE\n");
    return 2;
  }
  Outfile outfile(argv[2]);
  return Bench::convertEach(argv[1], [&](const Bench::ConvertedRow& row) { outfile.insert(row); })
             ? 0
             : 1;
}
