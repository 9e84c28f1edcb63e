// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <type_traits>

#include <gtest/gtest.h>

#include "database/CommitReq.h"
#include "database/DbReq.h"
#include "database/RecordReq.h"
#include "database/Store.h"
#include "database/StoreReq.h"
#include "database/TableAtomicReq.h"
#include "database/TableReq.h"

// An interface whose operation has an implementation lets a class leave it out unnoticed. Each
// class below overrides one operation of an interface; a class that has all of them but one must be
// abstract.

namespace {

namespace Database = Pvn::Database;
namespace Persist = Pvn::Database::Persist;
using RecordHandle = Pvn::Database::Record::Api;

// ---- One operation each ----

template <class Api>
struct Create : virtual Api {
  Database::Db::Api* create(const char*, void*, unsigned int) override { return nullptr; }
};

template <class Api>
struct CreateTable : virtual Api {
  Database::Table::Api* createTable(const char*, unsigned int, void*, unsigned int) override {
    return nullptr;
  }
};

template <class Api>
struct CreateRecordWithKey : virtual Api {
  RecordHandle* createRecordWithKey(const void*, void*, unsigned int, int) override {
    return nullptr;
  }
};

template <class Api>
struct CreateRecord : virtual Api {
  RecordHandle* createRecord(const void*, void*, unsigned int) override { return nullptr; }
};

template <class Api>
struct OpenFirstRecord : virtual Api {
  RecordHandle* openFirstRecord(void*, unsigned int) override { return nullptr; }
};

template <class Api>
struct OpenRecord : virtual Api {
  RecordHandle* openRecord(void*, unsigned int) override { return nullptr; }
};

template <class Api>
struct Iterate : virtual Api {
  void iterate(Database::Table::IteratorApi&) override {}
};

template <class Api>
struct NextRecord : virtual Api {
  bool nextRecord(Database::Table::RecordApi&) override { return true; }
};

template <class Api>
struct Read : virtual Api {
  unsigned int read(void*, unsigned int, unsigned int) override { return 0; }
};

template <class Api>
struct Write : virtual Api {
  unsigned int write(const void*, unsigned int, unsigned int) override { return 0; }
};

template <class Api>
struct GetReadApi : virtual Api {
  Database::Property::Read::Api* getReadApi() override { return nullptr; }
};

template <class Api>
struct GetWriteApi : virtual Api {
  Database::Property::Write::Api* getWriteApi() override { return nullptr; }
};

template <class Api>
struct GetKey : virtual Api {
  int getKey() const override { return 0; }
};

template <class Api>
struct DecrementInhibit : virtual Api {
  void decrementInhibit() override {}
};

template <class Api>
struct IncrementInhibit : virtual Api {
  void incrementInhibit() override {}
};

template <class Api>
struct Destroy : virtual Api {
  void destroy() override {}
};

template <class Api, class Payload>
struct Request : virtual Api {
  using Api::request;
  void request(Rtk::ServerRequest<Api, Payload>&) override {}
};

// ---- All but one ----

template <class Api, class... Operations>
struct With : virtual Api, Operations... {};

/// Operations that have been left out once already.
template <class... Operations>
struct Before {};

template <class Api, class... Operations>
constexpr bool areNeeded(Before<Operations...> /*all*/) {
  return true;
}

template <class Api, class... Before_, class One, class... After>
constexpr bool areNeeded(Before<Before_...> /*before*/, One* /*one*/, After*... after) {
  return std::is_abstract_v<With<Api, Before_..., After...>> &&
         areNeeded<Api>(Before<Before_..., One>(), after...);
}

/// Whether `Api` has the operations, no other pure ones, and needs each of them to be overridden.
template <class Api, class... Operations>
constexpr bool arePure() {
  return !std::is_abstract_v<With<Api, Operations...>> &&
         areNeeded<Api>(Before<>(), static_cast<Operations*>(nullptr)...);
}

template <class Api, template <class> class... Operations>
constexpr bool operationsArePure() {
  return arePure<Api, Operations<Api>...>();
}

template <class Api, class... Payloads>
constexpr bool requestsArePure() {
  return arePure<Api, Request<Api, Payloads>...>();
}

TEST(PureOperationsTest, HandlesImplementNothing) {
  EXPECT_TRUE((operationsArePure<Database::Store::Api, Create>()));
  EXPECT_TRUE((operationsArePure<Database::Db::Api, Destroy, CreateTable>()));
  EXPECT_TRUE((operationsArePure<Database::Table::Api, Destroy, CreateRecordWithKey, CreateRecord,
                                 Iterate, OpenFirstRecord>()));
  EXPECT_TRUE((operationsArePure<Database::Table::Atomic::Api, Iterate>()));
  EXPECT_TRUE((operationsArePure<Database::Table::IteratorApi, NextRecord>()));
  EXPECT_TRUE((operationsArePure<Database::Table::RecordApi, OpenRecord, Read, Write>()));
  EXPECT_TRUE((operationsArePure<Database::Property::Access::Api, GetReadApi, GetWriteApi>()));
  EXPECT_TRUE((operationsArePure<Database::Property::Read::Api, Read>()));
  EXPECT_TRUE((operationsArePure<Database::Property::Write::Api, Write>()));
  EXPECT_TRUE(
      (operationsArePure<RecordHandle, GetReadApi, GetWriteApi, GetKey, Destroy, Read, Write>()));
}

TEST(PureOperationsTest, InterfacesOfProxiesImplementNothing) {
  EXPECT_TRUE((operationsArePure<Persist::Store::Api, Create>()));
  EXPECT_TRUE((operationsArePure<Persist::Commit::Api, DecrementInhibit, IncrementInhibit>()));
  EXPECT_TRUE((operationsArePure<Persist::Db::Api, CreateTable, Destroy>()));
  EXPECT_TRUE((operationsArePure<Persist::Table::Api, OpenFirstRecord, CreateRecordWithKey,
                                 CreateRecord, Destroy>()));
  EXPECT_TRUE((operationsArePure<Persist::Record::Api, Write, Read, Destroy>()));
}

TEST(PureOperationsTest, RequestInterfacesImplementNothing) {
  using Store = Persist::Store::Req::Api;
  EXPECT_TRUE((requestsArePure<Store, Store::CreatePayload>()));
  using Commit = Persist::Commit::Req::Api;
  EXPECT_TRUE((requestsArePure<Commit, Commit::DecrInhibitPayload, Commit::IncrInhibitPayload>()));
  using Db = Persist::Db::Req::Api;
  EXPECT_TRUE((requestsArePure<Db, Db::CreateTablePayload, Db::DestroyPayload>()));
  using Table = Persist::Table::Req::Api;
  EXPECT_TRUE(
      (requestsArePure<Table, Table::OpenFirstRecordPayload, Table::CreateRecordWithKeyPayload,
                       Table::CreateRecordPayload, Table::DestroyPayload>()));
  using Record = Persist::Record::Req::Api;
  EXPECT_TRUE((requestsArePure<Record, Record::WritePayload, Record::ReadPayload,
                               Record::DestroyPayload>()));
  using Atomic = Database::Table::Atomic::Req::Api;
  EXPECT_TRUE((requestsArePure<Atomic, Atomic::IteratePayload>()));
}

}  // namespace
