// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "database/TableSync.h"

#include "database/SyncCall.h"

namespace Pvn::Database::Persist::Table {

Sync::Sync(Rtk::PostMessageApi& server, Req::Api& target) : _sap(target, server) {}

Pvn::Database::Record::Api* Sync::openFirstRecord(void* mem, unsigned int memSize) {
  return syncCall<Req::Api::OpenFirstRecordPayload>(_sap, mem, memSize)._result;
}

Pvn::Database::Record::Api* Sync::createRecordWithKey(const void* data, void* mem,
                                                      unsigned int memSize, int key) {
  return syncCall<Req::Api::CreateRecordWithKeyPayload>(_sap, data, mem, memSize, key)._result;
}

Pvn::Database::Record::Api* Sync::createRecord(const void* data, void* mem, unsigned int memSize) {
  return syncCall<Req::Api::CreateRecordPayload>(_sap, data, mem, memSize)._result;
}

void Sync::destroy() {
  syncCall<Req::Api::DestroyPayload>(_sap);
}

}  // namespace Pvn::Database::Persist::Table
