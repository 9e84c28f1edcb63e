// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "database/Record.h"

namespace Pvn::Database::Table {

/// The row that an iteration has come to. A face of the table, good only inside nextRecord(); it
/// works directly, without a request, since nextRecord() runs on the server thread already.
/// Nothing is fatal.
class RecordApi {
 public:
  RecordApi() = default;
  virtual ~RecordApi() = default;
  RecordApi(const RecordApi&) = delete;
  RecordApi& operator=(const RecordApi&) = delete;

  /// Builds a handle to the row in `mem`, as Table::Api::openFirstRecord() does; null when `mem` is
  /// null or too small. The handle may be kept beyond nextRecord(). Server thread only.
  virtual Record::Api* openRecord(void* mem, unsigned int memSize) = 0;

  /// The number of bytes copied, which is `size`, or 0 on failure. Server thread only.
  virtual unsigned int read(void* buffer, unsigned int size, unsigned int offset) = 0;

  /// The number of bytes copied, which is `size`, or 0 on failure. Server thread only.
  virtual unsigned int write(const void* data, unsigned int size, unsigned int offset) = 0;
};

/// What a client does with each row of a table. The client implements and owns it; it must live
/// until iterate() has returned. Nothing is fatal.
class IteratorApi {
 public:
  IteratorApi() = default;
  virtual ~IteratorApi() = default;
  IteratorApi(const IteratorApi&) = delete;
  IteratorApi& operator=(const IteratorApi&) = delete;

  /// Called in order, as many times as the table had rows when the iteration began; true stops the
  /// iteration. It must not call anything that blocks on the same server. It should not remove
  /// rows: the rows after a removed one move up, so that the next visit misses one, and the last
  /// visits have no row. Then `record` opens no record, and reads and writes 0 bytes. Server thread
  /// only.
  virtual bool nextRecord(RecordApi& record) = 0;
};

/// A handle to one table: records of one fixed size, each under a key. It lives in memory of the
/// client, who ends it: by destroy(), or by its destructor where the server need not hear of it,
/// either way after the table's record handles. Whatever builds a record handle builds it in `mem`,
/// which stays the client's, and gives `mem` back as its result; null when `mem` is null or the
/// operation fails. All that blocks is fatal on a thread that is not an Rtk::Thread.
class Api {
 public:
  Api() = default;
  virtual ~Api() = default;
  Api(const Api&) = delete;
  Api& operator=(const Api&) = delete;

  /// Ends this object, not the table in the store. Blocks until that is done: the memory is the
  /// caller's to reuse then. Any thread of the framework but the server's own.
  virtual void destroy() = 0;

  /// Appends a record under `key` and opens it; a key that exists is warned about, and taken all
  /// the same. REQUIRES: `data` holds as many bytes as the table's records have. Any thread of the
  /// framework but the server's own.
  virtual Record::Api* createRecordWithKey(const void* data, void* mem, unsigned int memSize,
                                           int key) = 0;

  /// The same under a new random key. Any thread of the framework but the server's own.
  virtual Record::Api* createRecord(const void* data, void* mem, unsigned int memSize) = 0;

  /// Visits the rows in their order until `iterator` stops it. Blocks until the last visit is over.
  /// Any thread of the framework but the server's own.
  virtual void iterate(IteratorApi& iterator) = 0;

  /// Opens the first row; null when there is none. Any thread of the framework but the server's
  /// own.
  virtual Record::Api* openFirstRecord(void* mem, unsigned int memSize) = 0;
};

namespace Atomic {

/// What is done with a table as one request, so that nothing comes in between. It belongs to the
/// table. Fatal on a thread that is not an Rtk::Thread.
class Api {
 public:
  Api() = default;
  virtual ~Api() = default;
  Api(const Api&) = delete;
  Api& operator=(const Api&) = delete;

  /// As Table::Api::iterate(). Any thread of the framework but the server's own.
  virtual void iterate(IteratorApi& iterator) = 0;
};

}  // namespace Atomic

}  // namespace Pvn::Database::Table
