// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "database/Db.h"
#include "database/DbReq.h"
#include "database/DbSync.h"
#include "database/metakit/Service.h"
#include "rtk/messaging/SAP.h"
#include "rtk/messaging/ServerRequest.h"

namespace Pvn::Database::Metakit::Persist {

/// The database in a file: it opens and creates the tables. Built by its service in memory of the
/// client, who ends it (see Pvn::Database::Db::Api), and must not outlive the service. Nothing is
/// fatal.
class Db : public Pvn::Database::Db::Api, public Pvn::Database::Persist::Db::Req::Api {
 public:
  /// Server thread only.
  explicit Db(Service& service);

  // Any thread of the framework but the server's own.
  void destroy() override;
  /// `mem` must be of `tableAlignment` and have `tableSize` bytes. A smaller `memSize` is warned
  /// about and gives null, although the object is built all the same. `name` may have
  /// `maxTableNameLength` characters (see Table).
  Pvn::Database::Table::Api* createTable(const char* name, unsigned int recordSize, void* mem,
                                         unsigned int memSize) override;

  // Server thread only.
  void request(Rtk::ServerRequest<Pvn::Database::Persist::Db::Req::Api,
                                  Pvn::Database::Persist::Db::Req::Api::CreateTablePayload>&
                   request) override;
  void request(
      Rtk::ServerRequest<Pvn::Database::Persist::Db::Req::Api,
                         Pvn::Database::Persist::Db::Req::Api::DestroyPayload>& request) override;

  // Any thread.
  Pvn::Database::Persist::Db::Api* getSyncApi() { return &_sync; }
  Rtk::SAP<Pvn::Database::Persist::Db::Req::Api>* getSAP() { return _sync.getSAP(); }

 private:
  // Constant after construction.
  Service& _service;
  Pvn::Database::Persist::Db::Sync _sync;
};

}  // namespace Pvn::Database::Metakit::Persist
