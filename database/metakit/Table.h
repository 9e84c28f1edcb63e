// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <mk4.h>

#include "database/Table.h"
#include "database/TableAtomicReq.h"
#include "database/TableAtomicSync.h"
#include "database/TableReq.h"
#include "database/TableSync.h"
#include "database/metakit/Service.h"
#include "rtk/messaging/SAP.h"
#include "rtk/messaging/ServerRequest.h"
#include "rtk/string/FString.h"

namespace Pvn::Database::Metakit::Persist {

// How a table stands in the file: a view of its name with two columns, a row per record.
inline constexpr char keyColumnName[] = "Key";
inline constexpr char recordColumnName[] = "Record";
inline constexpr char schema[] = "[Key:I,Record:B]";

/// The characters that a table's name may have: with `schema` appended, 1024 are kept.
inline constexpr unsigned int maxTableNameLength = 1024 - (sizeof schema - 1);

class Record;

/// One table of a database: its records as rows of a view, in the order in which they were created,
/// each a key and a body of bytes. Built by its database in memory of the client, who ends it (see
/// Pvn::Database::Table::Api), and must not outlive the service. Clients reach it by request; it is
/// its own `RecordApi`, too, for the row that an iteration has come to. Nothing is fatal.
class Table : public Pvn::Database::Table::Api,
              public Pvn::Database::Persist::Table::Req::Api,
              public Pvn::Database::Table::Atomic::Req::Api,
              public Pvn::Database::Table::RecordApi {
 public:
  /// What goes wrong with a range of a row's body is told in the words of who was asked for it.
  struct RangeTexts {
    const char* offsetBeyond;
    const char* endBeyond;
    /// Writing only.
    const char* partial;
  };

  /// Opens the view, creating it if it does not exist. Copies the name. A name of more than
  /// `maxTableNameLength` characters is warned about: the table can be used, but it is in memory
  /// only, and nothing of it gets into the file. REQUIRES: the service is open. Server thread only.
  Table(Service& service, const char* name, unsigned int recordSize);

  // Any thread of the framework but the server's own. `mem` must be of `recordAlignment` and have
  // `recordObjectSize` bytes; where a record is created, a smaller `memSize` is warned about and
  // gives null, although the object is built all the same. A table that can take no more rows is
  // warned about, too: then nothing is built, and the result is null.
  void destroy() override;
  Pvn::Database::Record::Api* createRecordWithKey(const void* data, void* mem, unsigned int memSize,
                                                  int key) override;
  Pvn::Database::Record::Api* createRecord(const void* data, void* mem,
                                           unsigned int memSize) override;
  void iterate(Pvn::Database::Table::IteratorApi& iterator) override;
  Pvn::Database::Record::Api* openFirstRecord(void* mem, unsigned int memSize) override;

  // The row that an iteration has come to. When rows were removed during the iteration, it may not
  // exist: then openRecord() returns null, read() and write() return 0, all without a message.
  // Server thread only.
  Pvn::Database::Record::Api* openRecord(void* mem, unsigned int memSize) override;
  unsigned int read(void* buffer, unsigned int size, unsigned int offset) override;
  /// Is not committed by itself.
  unsigned int write(const void* data, unsigned int size, unsigned int offset) override;

  // Server thread only.
  void request(Rtk::ServerRequest<Pvn::Database::Persist::Table::Req::Api,
                                  Pvn::Database::Persist::Table::Req::Api::OpenFirstRecordPayload>&
                   request) override;
  void request(
      Rtk::ServerRequest<Pvn::Database::Persist::Table::Req::Api,
                         Pvn::Database::Persist::Table::Req::Api::CreateRecordWithKeyPayload>&
          request) override;
  void request(Rtk::ServerRequest<Pvn::Database::Persist::Table::Req::Api,
                                  Pvn::Database::Persist::Table::Req::Api::CreateRecordPayload>&
                   request) override;
  void request(Rtk::ServerRequest<Pvn::Database::Persist::Table::Req::Api,
                                  Pvn::Database::Persist::Table::Req::Api::DestroyPayload>& request)
      override;
  void request(
      Rtk::ServerRequest<Pvn::Database::Table::Atomic::Req::Api,
                         Pvn::Database::Table::Atomic::Req::Api::IteratePayload>& request) override;

  /// The first row with that key. If there is none, false, and `index` is the number of rows, which
  /// is where a new one will stand. Server thread only.
  bool findIndexByKey(int key, int& index);

  // What a record does with its row. False when the range is none of a record, which is warned
  // about, and when the row does not exist. Server thread only.
  int keyAt(int index);
  bool readAt(int index, void* buffer, unsigned int size, unsigned int offset,
              const RangeTexts& texts);
  /// A whole record is always taken. A part is taken only if `size` >= `offset` + length of the
  /// stored body, and refused with a warning otherwise: when the body has full length, even a write
  /// of 0 bytes at its end is refused. A part that reaches past the end of a shorter body makes the
  /// body longer; a gap is filled with zeros.
  bool writeAt(int index, const void* data, unsigned int size, unsigned int offset,
               const RangeTexts& texts);
  void removeAt(int index);

  /// Commits the store. Server thread only.
  void commit();

  // Any thread.
  Pvn::Database::Persist::Table::Api* getSyncApi() { return &_sync; }
  Rtk::SAP<Pvn::Database::Persist::Table::Req::Api>* getSAP() { return _sync.getSAP(); }

 private:
  bool hasRow(int index) const;
  bool isInRecord(unsigned int size, unsigned int offset, const RangeTexts& texts) const;
  /// Appends a row, then opens the row `index` in `mem`, if that is not null. Null, and a warning,
  /// when the table can take no more rows.
  Record* appendRecord(int key, const void* data, int index, void* mem);

  static const char* const _keyColumnName;
  static const char* const _recordColumnName;

  // Constant after construction.
  Service& _service;
  Pvn::Database::Persist::Table::Sync _sync;
  Pvn::Database::Table::Atomic::Sync _atomicSync;
  /// The name of the view with its structure.
  Rtk::FString<1024> _name;

  // Server thread only.
  c4_View* _view;
  alignas(c4_View) unsigned char _viewSpace[sizeof(c4_View)];
  /// The row that an iteration has come to; good only while one runs.
  int _cursor;

  // Constant after construction. Bytes in a record.
  unsigned int _recordSize;
};

}  // namespace Pvn::Database::Metakit::Persist
