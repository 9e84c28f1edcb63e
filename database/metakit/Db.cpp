// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "database/metakit/Db.h"

#include <new>

#include "database/metakit/Table.h"
#include "database/metakit/Warning.h"

namespace Pvn::Database::Metakit::Persist {

namespace DbReq = Pvn::Database::Persist::Db::Req;

Db::Db(Service& service) : _service(service), _sync(service.getSAP()->getPostMessageApi(), *this) {}

void Db::destroy() {
  _sync.destroy();
}

Pvn::Database::Table::Api* Db::createTable(const char* name, unsigned int recordSize, void* mem,
                                           unsigned int memSize) {
  return _sync.createTable(name, recordSize, mem, memSize);
}

void Db::request(Rtk::ServerRequest<DbReq::Api, DbReq::Api::CreateTablePayload>& request) {
  auto& payload = request.getPayload();
  const bool enough = isEnoughMemory<Table>(
      payload._memSize,
      "Pvn::Database::Metakit::Persist::Db::request(CreateTableReq): memSize < sizeof(Table)\n");
  // The check only warns, as the service's does.
  Table* table = payload._mem != nullptr ? new (payload._mem)
                                               Table(_service, payload._name, payload._recordSize)
                                         : nullptr;
  payload._result = enough ? table : nullptr;
  request.returnToSender();
}

void Db::request(Rtk::ServerRequest<DbReq::Api, DbReq::Api::DestroyPayload>& request) {
  this->~Db();
  request.returnToSender();
}

}  // namespace Pvn::Database::Metakit::Persist
