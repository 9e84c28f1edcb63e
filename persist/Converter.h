// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "database/Db.h"
#include "database/Record.h"
#include "database/Table.h"
#include "database/TableComposer.h"
#include "database/metakit/ObjectSizes.h"
#include "persist/Pair.h"
#include "rtk/list/SList.h"

namespace Pvn::Persist {

/// Copies one table into a new one of another database, each record of type `Old` as a record of
/// type `New`, which is constructed from it, under the same key and in the same order. The whole
/// old table is read into memory before anything is written. Its maker keeps it on the stack, calls
/// convert() once and lets it go; the databases must outlive it. To be used on an Rtk::Thread other
/// than the databases' server; a part of it runs on that server while the caller waits. It checks
/// nothing: what becomes of a missing table or of a key that stands twice is the store's to decide.
///
/// REQUIRES of `Old`: default-constructible, its bytes those of a stored record. Of `New`: a
/// constructor from `const Old&`, its bytes those to be stored.
template <class Old, class New>
class Converter {
 public:
  /// The names and databases must outlive this object. The hooks may be null: `oldRecordHook` sees
  /// each old record before it is converted, `newRecordHook` each new one before it is stored,
  /// which it may change.
  Converter(Pvn::Database::Db::Api& oldDb, Pvn::Database::Db::Api& newDb, const char* oldTableName,
            const char* newTableName, void (*oldRecordHook)(const Old&),
            void (*newRecordHook)(New&))
      : _oldDb(oldDb),
        _newDb(newDb),
        _oldTableName(oldTableName),
        _newTableName(newTableName),
        _oldRecordHook(oldRecordHook),
        _newRecordHook(newRecordHook),
        _oldTable(nullptr),
        _newTable(nullptr),
        _composer(*this, &Converter::nextRecord) {}

  ~Converter() {
    while (Pair<Old>* pair = _pairs.get()) {
      delete pair;
    }
  }

  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

  /// Converts the table. Blocks until all is written; the last commit is the caller's. Any thread
  /// of the framework but the server's own.
  void convert() {
    TableMemory oldTableMemory;
    TableMemory newTableMemory;
    Pvn::Database::Table::Api* oldTable =
        _oldDb.createTable(_oldTableName, sizeof(Old), oldTableMemory.bytes, sizeof oldTableMemory);
    _newTable =
        _newDb.createTable(_newTableName, sizeof(New), newTableMemory.bytes, sizeof newTableMemory);
    oldTable->iterate(_composer);
    createNewTable();
    // Tables and records are let go of by their destructors: their destroy() would do more than
    // that, a record's even delete its row.
    _newTable->~Api();
    _newTable = nullptr;
    oldTable->~Api();
  }

  /// Takes the row that the iteration over the old table has come to into memory. False, so that
  /// the iteration goes on. Server thread only.
  bool nextRecord(Pvn::Database::Table::RecordApi& current) {
    auto* pair = new Pair<Old>(_oldTableName, _newTableName);
    _pairs.put(*pair);
    RecordMemory memory;
    Pvn::Database::Record::Api* record = current.openRecord(memory.bytes, sizeof memory);
    current.read(&pair->_record, sizeof(Old), 0);
    pair->_key = record->getKey();
    pair->_oldName += static_cast<int>(pair->_key);
    record->~Api();
    return false;
  }

  /// Writes the new table from what was read. Any thread of the framework but the server's own.
  void createNewTable() {
    for (Pair<Old>* pair = _pairs.first(); pair != nullptr; pair = _pairs.next(*pair)) {
      if (_oldRecordHook != nullptr) {
        _oldRecordHook(pair->_record);
      }
      New converted(pair->_record);
      if (_newRecordHook != nullptr) {
        _newRecordHook(converted);
      }
      RecordMemory memory;
      Pvn::Database::Record::Api* record =
          _newTable->createRecordWithKey(&converted, memory.bytes, sizeof memory, pair->_key);
      pair->_newName += record->getKey();
      record->~Api();
    }
  }

  /// What was read, in the order of the old table. Valid until this object ends; to be looked at
  /// when convert() is over, or in its hooks.
  const Rtk::SList<Pair<Old>>& pairs() const { return _pairs; }

 private:
  struct TableMemory {
    alignas(Pvn::Database::Metakit::Persist::tableAlignment) unsigned char bytes
        [Pvn::Database::Metakit::Persist::tableSize];
  };
  struct RecordMemory {
    alignas(Pvn::Database::Metakit::Persist::recordAlignment) unsigned char bytes
        [Pvn::Database::Metakit::Persist::recordObjectSize];
  };

  // Constant after construction.
  Pvn::Database::Db::Api& _oldDb;
  Pvn::Database::Db::Api& _newDb;
  const char* const _oldTableName;
  const char* const _newTableName;
  void (*const _oldRecordHook)(const Old&);
  void (*const _newRecordHook)(New&);
  /// Always null: the old table is in use within convert() alone.
  [[maybe_unused]] Pvn::Database::Table::Api* _oldTable;

  // Null but while convert() runs.
  Pvn::Database::Table::Api* _newTable;

  // Constant after construction.
  Pvn::Database::Table::Composer<Converter> _composer;

  /// The old records in the order of the table. Filled on the server thread while the caller waits.
  Rtk::SList<Pair<Old>> _pairs;
};

}  // namespace Pvn::Persist
