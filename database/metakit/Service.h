// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>

#include <mk4.h>

#include "database/CommitReq.h"
#include "database/CommitSync.h"
#include "database/Store.h"
#include "database/StoreReq.h"
#include "database/StoreSync.h"
#include "rtk/messaging/Close.h"
#include "rtk/messaging/CloseReqApi.h"
#include "rtk/messaging/OpenReqApi.h"
#include "rtk/messaging/PostMessageApi.h"
#include "rtk/messaging/SAP.h"
#include "rtk/messaging/ServerRequest.h"
#include "rtk/string/FString.h"

namespace Pvn::Database::Metakit::Persist {

/// One database file: the storage on it, and when it is committed. Clients open it, create their
/// database in it, and may hold its commits back for a batch of changes; the same object serves
/// these requests on the server thread. Its maker owns it and must keep it longer than everything
/// created in it. Nothing is fatal, but a store must be open whenever something is done in it:
/// nothing guards against the storage that a closed one has not.
class Service : public Pvn::Database::Store::Api,
                public Pvn::Database::Persist::Store::Req::Api,
                public Pvn::Database::Persist::Commit::Req::Api,
                public Rtk::Close {
 public:
  /// `server` delivers to the thread that serves this object, and must outlive it. The name is
  /// copied; up to 1024 characters of it count. Nothing is opened yet. Any thread.
  Service(Rtk::PostMessageApi& server, const char* fileName);
  /// Closes the storage without a commit. Any thread, once no request is on its way.
  ~Service() override;

  /// Builds the database object in `mem`, which must be of `dbAlignment` and have `dbSize` bytes. A
  /// smaller `memSize` is warned about and gives null, although the object is built all the same.
  /// The name is not used: a file is one database. Any thread of the framework but the server's
  /// own.
  Pvn::Database::Db::Api* create(const char* name, void* mem, unsigned int memSize) override;

  // Server thread only.
  void request(Rtk::ServerRequest<Rtk::OpenReqApi, Rtk::OpenReqApi::OpenPayload>& request) override;
  void request(
      Rtk::ServerRequest<Rtk::CloseReqApi, Rtk::CloseReqApi::ClosePayload>& request) override;
  void request(
      Rtk::ServerRequest<Pvn::Database::Persist::Store::Req::Api,
                         Pvn::Database::Persist::Store::Req::Api::CreatePayload>& request) override;
  void request(Rtk::ServerRequest<Pvn::Database::Persist::Commit::Req::Api,
                                  Pvn::Database::Persist::Commit::Req::Api::DecrInhibitPayload>&
                   request) override;
  void request(Rtk::ServerRequest<Pvn::Database::Persist::Commit::Req::Api,
                                  Pvn::Database::Persist::Commit::Req::Api::IncrInhibitPayload>&
                   request) override;

  /// Writes all changes to the file and on to the device, or notes that this is to be done, while
  /// commits are held back. Server thread only, or any thread at a time when no request is on its
  /// way: nothing guards the storage against both at once.
  void commit();

  // Any thread.
  Rtk::OpenSyncApi& getOpenSyncApi() { return *this; }
  Rtk::CloseSyncApi& getCloseSyncApi() { return *this; }
  Pvn::Database::Persist::Store::Api* getSyncApi() { return &_sync; }
  Pvn::Database::Persist::Commit::Api* getCommitSyncApi() { return &_commitSync; }
  Rtk::SAP<Pvn::Database::Persist::Store::Req::Api>* getSAP() { return _sync.getSAP(); }
  Rtk::SAP<Pvn::Database::Persist::Commit::Req::Api>* getCommitSAP() {
    return _commitSync.getSAP();
  }
  Rtk::SAP<Rtk::OpenReqApi>& getOpenSAP() { return getRtkOpenSAP(); }
  Rtk::SAP<Rtk::CloseReqApi>& getCloseSAP() { return getRtkCloseSAP(); }

  /// Whether the store is open, and its file sound: a damaged file, one that is no datafile and one
  /// that cannot be opened act as an empty store that is never written. Any thread, once no request
  /// is on its way.
  bool isSound() const { return _storage != nullptr && _storage->Strategy().IsValid(); }
  /// 0, or the C library's number of the error that kept the last commit from the file. Any thread,
  /// once no request is on its way. REQUIRES: the store is open.
  int getCommitError() const { return _storage->Strategy()._failure; }

  /// Rows of a table, which is added to the open store without a commit if it is missing: opening
  /// it does the same. Any thread, once no request is on its way. REQUIRES: the store is open.
  int getRowCount(const char* tableName);

  /// The storage, for the tables; null while closed. Server thread only.
  c4_Storage* getStorage() { return _storage; }

 private:
  void closeStorage();
  void writeToDevice();
  void commitIfReleased();

  // Constant after construction.
  Pvn::Database::Persist::Store::Sync _sync;
  Pvn::Database::Persist::Commit::Sync _commitSync;
  Rtk::FString<1024> _fileName;

  // Server thread only.
  c4_Storage* _storage;
  alignas(c4_Storage) unsigned char _storageSpace[sizeof(c4_Storage)];
  /// How many times clients asked to hold commits back. Below zero when they let go more often;
  /// then, too, commits wait until it is zero again.
  std::int32_t _commitInhibit;
  bool _commitPending;
};

}  // namespace Pvn::Database::Metakit::Persist
