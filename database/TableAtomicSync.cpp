// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "database/TableAtomicSync.h"

#include "database/SyncCall.h"

namespace Pvn::Database::Table::Atomic {

Sync::Sync(Rtk::PostMessageApi& server, Req::Api& target) : _sap(target, server) {}

void Sync::iterate(Pvn::Database::Table::IteratorApi& iterator) {
  syncCall<Req::Api::IteratePayload>(_sap, iterator);
}

}  // namespace Pvn::Database::Table::Atomic
