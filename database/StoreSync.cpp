// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "database/StoreSync.h"

#include "database/SyncCall.h"

namespace Pvn::Database::Persist::Store {

Sync::Sync(Rtk::PostMessageApi& server, Req::Api& target) : _sap(target, server) {}

Pvn::Database::Db::Api* Sync::create(const char* name, void* mem, unsigned int memSize) {
  return syncCall<Req::Api::CreatePayload>(_sap, name, mem, memSize)._result;
}

}  // namespace Pvn::Database::Persist::Store
