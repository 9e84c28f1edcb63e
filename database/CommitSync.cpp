// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "database/CommitSync.h"

#include "database/SyncCall.h"

namespace Pvn::Database::Persist::Commit {

Sync::Sync(Rtk::PostMessageApi& server, Req::Api& target) : _sap(target, server) {}

void Sync::decrementInhibit() {
  syncCall<Req::Api::DecrInhibitPayload>(_sap);
}

void Sync::incrementInhibit() {
  syncCall<Req::Api::IncrInhibitPayload>(_sap);
}

}  // namespace Pvn::Database::Persist::Commit
