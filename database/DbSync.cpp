// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "database/DbSync.h"

#include "database/SyncCall.h"

namespace Pvn::Database::Persist::Db {

Sync::Sync(Rtk::PostMessageApi& server, Req::Api& target) : _sap(target, server) {}

Pvn::Database::Table::Api* Sync::createTable(const char* name, unsigned int recordSize, void* mem,
                                             unsigned int memSize) {
  return syncCall<Req::Api::CreateTablePayload>(_sap, name, recordSize, mem, memSize)._result;
}

void Sync::destroy() {
  syncCall<Req::Api::DestroyPayload>(_sap);
}

}  // namespace Pvn::Database::Persist::Db
