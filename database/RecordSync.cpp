// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "database/RecordSync.h"

#include "database/SyncCall.h"

namespace Pvn::Database::Persist::Record {

Sync::Sync(Rtk::PostMessageApi& server, Req::Api& target) : _sap(target, server) {}

unsigned int Sync::write(const void* data, unsigned int size, unsigned int offset) {
  return syncCall<Req::Api::WritePayload>(_sap, data, size, offset)._result;
}

unsigned int Sync::read(void* buffer, unsigned int size, unsigned int offset) {
  return syncCall<Req::Api::ReadPayload>(_sap, buffer, size, offset)._result;
}

void Sync::destroy() {
  syncCall<Req::Api::DestroyPayload>(_sap);
}

}  // namespace Pvn::Database::Persist::Record
