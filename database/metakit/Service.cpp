// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "database/metakit/Service.h"

#include <unistd.h>

#include <new>

#include "database/metakit/Db.h"
#include "database/metakit/Table.h"
#include "database/metakit/Warning.h"

namespace Pvn::Database::Metakit::Persist {

namespace StoreReq = Pvn::Database::Persist::Store::Req;
namespace CommitReq = Pvn::Database::Persist::Commit::Req;

// The storage is only marked by its pointer; its space is left as it is until it is used.
// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init)
Service::Service(Rtk::PostMessageApi& server, const char* fileName)
    : Rtk::Close(server),
      _sync(server, *this),
      _commitSync(server, *this),
      _fileName(fileName),
      _storage(nullptr),
      _commitInhibit(0),
      _commitPending(false) {}

Service::~Service() {
  closeStorage();
}

Pvn::Database::Db::Api* Service::create(const char* name, void* mem, unsigned int memSize) {
  return _sync.create(name, mem, memSize);
}

void Service::request(Rtk::ServerRequest<Rtk::OpenReqApi, Rtk::OpenReqApi::OpenPayload>& request) {
  if (_storage == nullptr) {
    _storage = new (_storageSpace) c4_Storage(_fileName.getString(), 1);
  }
  request.returnToSender();
}

void Service::request(
    Rtk::ServerRequest<Rtk::CloseReqApi, Rtk::CloseReqApi::ClosePayload>& request) {
  closeStorage();
  request.returnToSender();
}

void Service::request(Rtk::ServerRequest<StoreReq::Api, StoreReq::Api::CreatePayload>& request) {
  auto& payload = request.getPayload();
  const bool enough = isEnoughMemory<Db>(
      payload._memSize,
      "Pvn::Database::Metakit::Persist::Service::request(CreateReq): memSize < sizeof(Db)\n");
  // The check only warns: a client that gave too little gets null, and the object in its memory.
  Db* db = payload._mem != nullptr ? new (payload._mem) Db(*this) : nullptr;
  payload._result = enough ? db : nullptr;
  request.returnToSender();
}

void Service::request(
    Rtk::ServerRequest<CommitReq::Api, CommitReq::Api::DecrInhibitPayload>& request) {
  --_commitInhibit;
  commitIfReleased();
  request.returnToSender();
}

void Service::request(
    Rtk::ServerRequest<CommitReq::Api, CommitReq::Api::IncrInhibitPayload>& request) {
  ++_commitInhibit;
  // An increment releases commits, too, when it makes up for one decrement too many.
  commitIfReleased();
  request.returnToSender();
}

void Service::commit() {
  if (_commitInhibit != 0) {
    _commitPending = true;
    return;
  }
  writeToDevice();
}

int Service::getRowCount(const char* tableName) {
  return _storage->GetAs((Rtk::FString<1024>(tableName) += schema).getString()).GetSize();
}

void Service::commitIfReleased() {
  if (_commitInhibit == 0 && _commitPending) {
    writeToDevice();
    _commitPending = false;
  }
}

void Service::writeToDevice() {
  _storage->Commit(false);
  ::sync();
}

void Service::closeStorage() {
  if (_storage != nullptr) {
    _storage->~c4_Storage();
    _storage = nullptr;
  }
}

}  // namespace Pvn::Database::Metakit::Persist
