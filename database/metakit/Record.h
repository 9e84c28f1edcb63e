// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "database/Property.h"
#include "database/Record.h"
#include "database/RecordReq.h"
#include "database/RecordSync.h"
#include "database/metakit/Table.h"
#include "rtk/messaging/SAP.h"
#include "rtk/messaging/ServerRequest.h"

namespace Pvn::Database::Metakit::Persist {

/// An open record: the key of a row, by which every operation finds it again, so that it does not
/// matter what becomes of other rows. Of several rows with one key it is the first. Built by its
/// table in memory of the client, who ends it (see Pvn::Database::Record::Api), and must not
/// outlive the table. Nothing is fatal.
class Record : public Pvn::Database::Record::Api, public Pvn::Database::Persist::Record::Req::Api {
 public:
  /// Takes its key from the row. REQUIRES: the row exists. Server thread only.
  Record(Table& table, int index);

  // Any thread.
  Pvn::Database::Property::Read::Api* getReadApi() override { return this; }
  Pvn::Database::Property::Write::Api* getWriteApi() override { return this; }
  int getKey() const override { return _key; }

  // Any thread of the framework but the server's own.
  void destroy() override;
  unsigned int read(void* buffer, unsigned int size, unsigned int offset) override;
  unsigned int write(const void* data, unsigned int size, unsigned int offset) override;

  // Server thread only.
  void request(
      Rtk::ServerRequest<Pvn::Database::Persist::Record::Req::Api,
                         Pvn::Database::Persist::Record::Req::Api::WritePayload>& request) override;
  void request(
      Rtk::ServerRequest<Pvn::Database::Persist::Record::Req::Api,
                         Pvn::Database::Persist::Record::Req::Api::ReadPayload>& request) override;
  void request(Rtk::ServerRequest<Pvn::Database::Persist::Record::Req::Api,
                                  Pvn::Database::Persist::Record::Req::Api::DestroyPayload>&
                   request) override;

  // Any thread.
  Pvn::Database::Persist::Record::Api* getSyncApi() { return &_sync; }
  Rtk::SAP<Pvn::Database::Persist::Record::Req::Api>* getSAP() { return _sync.getSAP(); }

 private:
  // Constant after construction.
  Table& _table;
  Pvn::Database::Persist::Record::Sync _sync;
  int _key;
};

}  // namespace Pvn::Database::Metakit::Persist
