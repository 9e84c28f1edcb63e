// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "database/metakit/Db.h"
#include "database/metakit/Record.h"
#include "database/metakit/Service.h"
#include "database/metakit/Table.h"
#include "database/metakit/testing/DatabaseTesting.h"
#include "rtk/string/FString.h"
#include "tests/support/ObjectLayout.h"
#include "tests/support/SlotOrder.h"

// Clients give memory for these objects by their size and reach their operations by place, so that
// the order of bases, operations and members is part of them. This file alone is compiled without
// access control, to see the members.

namespace {

using namespace DatabaseTesting;
using Pvn::Database::Metakit::Persist::Db;
using Pvn::Database::Metakit::Persist::Record;
using Pvn::Database::Metakit::Persist::Service;
using Pvn::Database::Metakit::Persist::Table;
using TestSupport::slotAfterDestructor;
using TestSupport::slotBehind;
using TestSupport::slotOf;
using TestSupport::slotsFrom;

namespace Handle = Pvn::Database;
using StoreReq = Pvn::Database::Persist::Store::Req::Api;
using CommitReq = Pvn::Database::Persist::Commit::Req::Api;
using DbReq = Pvn::Database::Persist::Db::Req::Api;
using TableReq = Pvn::Database::Persist::Table::Req::Api;
using AtomicReq = Pvn::Database::Table::Atomic::Req::Api;
using RecordReq = Pvn::Database::Persist::Record::Req::Api;

/// The place that a request has among the operations of the object that serves it.
template <class Object, class Api, class Payload>
std::size_t requestSlot() {
  using Operation = void (Object::*)(Rtk::ServerRequest<Api, Payload>&);
  return slotOf(static_cast<Operation>(&Object::request));
}

/// Where a base begins in an object.
template <class Base, class Object>
std::size_t offsetOfBase(const Object& object) {
  const auto* base = static_cast<const Base*>(&object);
  return static_cast<std::size_t>(reinterpret_cast<const char*>(base) -
                                  reinterpret_cast<const char*>(&object));
}

/// Whether parts of an object follow one another, the first at its beginning.
bool inOrder(const std::vector<std::size_t>& offsets) {
  return offsets.front() == 0 && std::adjacent_find(offsets.begin(), offsets.end(),
                                                    std::greater_equal<>()) == offsets.end();
}

/// Checks that the destructor of an object comes first, then operations in their order, and that
/// the object has no further ones.
template <class Object>
void expectInOrder(const std::vector<std::size_t>& slots) {
  EXPECT_EQ(slots, slotsFrom(slotAfterDestructor, slots.size()));
  EXPECT_EQ(slotBehind<Object>(), slotAfterDestructor + slots.size());
}

/// A store with a table and a record.
class ObjectOrderTest : public DatabaseTest {
 protected:
  ObjectOrderTest() {
    openTable();
    record = static_cast<Record*>(create(7, bodyOf('a'), _memory));
  }

  Record* record;

 private:
  RecordMemory _memory;
};

// ---- Service ----

TEST_F(ObjectOrderTest, ServiceOperations) {
  expectInOrder<Service>({slotOf(&Service::create),
                          requestSlot<Service, Rtk::OpenReqApi, Rtk::OpenReqApi::OpenPayload>(),
                          requestSlot<Service, Rtk::CloseReqApi, Rtk::CloseReqApi::ClosePayload>(),
                          requestSlot<Service, StoreReq, StoreReq::CreatePayload>(),
                          requestSlot<Service, CommitReq, CommitReq::DecrInhibitPayload>(),
                          requestSlot<Service, CommitReq, CommitReq::IncrInhibitPayload>()});
}

TEST_F(ObjectOrderTest, ServiceAccessorsAreNotVirtual) {
  const std::vector<std::size_t> slots = {
      slotOf(&Service::getOpenSyncApi), slotOf(&Service::getCloseSyncApi),
      slotOf(&Service::getSyncApi),     slotOf(&Service::getCommitSyncApi),
      slotOf(&Service::getSAP),         slotOf(&Service::getCommitSAP),
      slotOf(&Service::getOpenSAP),     slotOf(&Service::getCloseSAP),
      slotOf(&Service::commit)};
  EXPECT_EQ(slots, std::vector<std::size_t>(slots.size(), TestSupport::noSlot));
}

TEST_F(ObjectOrderTest, ServiceParts) {
  EXPECT_TRUE(inOrder({offsetOfBase<Handle::Store::Api>(service), offsetOfBase<StoreReq>(service),
                       offsetOfBase<CommitReq>(service), offsetOfBase<Rtk::Close>(service),
                       offsetof(Service, _sync), offsetof(Service, _commitSync),
                       offsetof(Service, _fileName), offsetof(Service, _storage),
                       offsetof(Service, _storageSpace), offsetof(Service, _commitInhibit),
                       offsetof(Service, _commitPending)}));
}

TEST_F(ObjectOrderTest, ServiceHasRoomForItsNameAndItsStorage) {
  EXPECT_TRUE((std::is_same_v<decltype(Service::_fileName), Rtk::FString<1024>>));
  EXPECT_EQ(sizeof Service::_storageSpace, sizeof(c4_Storage));
  EXPECT_EQ(static_cast<void*>(service._storage), service._storageSpace);
}

// ---- Db ----

TEST_F(ObjectOrderTest, DbOperations) {
  expectInOrder<Db>({slotOf(&Db::destroy), slotOf(&Db::createTable),
                     requestSlot<Db, DbReq, DbReq::CreateTablePayload>(),
                     requestSlot<Db, DbReq, DbReq::DestroyPayload>()});
}

TEST_F(ObjectOrderTest, DbParts) {
  const auto& object = *static_cast<Db*>(db);
  EXPECT_TRUE(inOrder({offsetOfBase<Handle::Db::Api>(object), offsetOfBase<DbReq>(object),
                       offsetof(Db, _service), offsetof(Db, _sync)}));
}

// ---- Table ----

TEST_F(ObjectOrderTest, TableOperations) {
  expectInOrder<Table>({slotOf(&Table::destroy), slotOf(&Table::createRecordWithKey),
                        slotOf(&Table::createRecord), slotOf(&Table::iterate),
                        slotOf(&Table::openFirstRecord), slotOf(&Table::openRecord),
                        slotOf(&Table::read), slotOf(&Table::write),
                        requestSlot<Table, TableReq, TableReq::OpenFirstRecordPayload>(),
                        requestSlot<Table, TableReq, TableReq::CreateRecordWithKeyPayload>(),
                        requestSlot<Table, TableReq, TableReq::CreateRecordPayload>(),
                        requestSlot<Table, TableReq, TableReq::DestroyPayload>(),
                        requestSlot<Table, AtomicReq, AtomicReq::IteratePayload>()});
}

TEST_F(ObjectOrderTest, TableParts) {
  EXPECT_TRUE(
      inOrder({offsetOfBase<Handle::Table::Api>(*table), offsetOfBase<TableReq>(*table),
               offsetOfBase<AtomicReq>(*table), offsetOfBase<Handle::Table::RecordApi>(*table),
               offsetof(Table, _service), offsetof(Table, _sync), offsetof(Table, _atomicSync),
               offsetof(Table, _name), offsetof(Table, _view), offsetof(Table, _viewSpace),
               offsetof(Table, _cursor), offsetof(Table, _recordSize)}));
}

TEST_F(ObjectOrderTest, TableHasRoomForItsNameAndItsView) {
  EXPECT_TRUE((std::is_same_v<decltype(Table::_name), Rtk::FString<1024>>));
  EXPECT_STREQ(table->_name.getString(), "Table[Key:I,Record:B]");
  EXPECT_EQ(sizeof Table::_viewSpace, sizeof(c4_View));
  EXPECT_EQ(static_cast<void*>(table->_view), table->_viewSpace);
}

TEST_F(ObjectOrderTest, TableBeginsOnItsFirstRow) {
  EXPECT_EQ(table->_cursor, 0);
  EXPECT_EQ(table->_recordSize, recordSize);
}

TEST_F(ObjectOrderTest, TableNamesItsColumnsByTheConstants) {
  EXPECT_EQ(Table::_keyColumnName, Pvn::Database::Metakit::Persist::keyColumnName);
  EXPECT_EQ(Table::_recordColumnName, Pvn::Database::Metakit::Persist::recordColumnName);
}

// ---- Record ----

TEST_F(ObjectOrderTest, RecordOperations) {
  expectInOrder<Record>({slotOf(&Record::getReadApi), slotOf(&Record::getWriteApi),
                         slotOf(&Record::getKey), slotOf(&Record::destroy), slotOf(&Record::read),
                         slotOf(&Record::write),
                         requestSlot<Record, RecordReq, RecordReq::WritePayload>(),
                         requestSlot<Record, RecordReq, RecordReq::ReadPayload>(),
                         requestSlot<Record, RecordReq, RecordReq::DestroyPayload>()});
}

TEST_F(ObjectOrderTest, RecordParts) {
  EXPECT_TRUE(inOrder({offsetOfBase<Handle::Record::Api>(*record), offsetOfBase<RecordReq>(*record),
                       offsetof(Record, _table), offsetof(Record, _sync), offsetof(Record, _key)}));
}

// ---- All of them ----

template <class Member, class Expected>
constexpr bool isOfType = std::is_same_v<Member, Expected>;

TEST_F(ObjectOrderTest, MembersHaveTheirTypes) {
  namespace Persist = Pvn::Database::Persist;
  EXPECT_TRUE((isOfType<decltype(Service::_sync), Persist::Store::Sync>));
  EXPECT_TRUE((isOfType<decltype(Service::_commitSync), Persist::Commit::Sync>));
  EXPECT_TRUE((isOfType<decltype(Service::_storage), c4_Storage*>));
  EXPECT_TRUE((isOfType<decltype(Service::_commitInhibit), std::int32_t>));
  EXPECT_TRUE((isOfType<decltype(Service::_commitPending), bool>));
  EXPECT_TRUE((isOfType<decltype(Db::_service), Service&>));
  EXPECT_TRUE((isOfType<decltype(Db::_sync), Persist::Db::Sync>));
  EXPECT_TRUE((isOfType<decltype(Table::_service), Service&>));
  EXPECT_TRUE((isOfType<decltype(Table::_sync), Persist::Table::Sync>));
  EXPECT_TRUE((isOfType<decltype(Table::_atomicSync), Handle::Table::Atomic::Sync>));
  EXPECT_TRUE((isOfType<decltype(Table::_view), c4_View*>));
  EXPECT_TRUE((isOfType<decltype(Table::_cursor), int>));
  EXPECT_TRUE((isOfType<decltype(Table::_recordSize), unsigned int>));
  EXPECT_TRUE((isOfType<decltype(Record::_table), Table&>));
  EXPECT_TRUE((isOfType<decltype(Record::_sync), Persist::Record::Sync>));
  EXPECT_TRUE((isOfType<decltype(Record::_key), int>));
}

/// The size of an object whose last member ends at `end`.
template <class Object>
constexpr std::size_t sizeWithEnd(std::size_t end) {
  return (end + alignof(Object) - 1) / alignof(Object) * alignof(Object);
}

TEST_F(ObjectOrderTest, NothingFollowsTheLastMember) {
  EXPECT_EQ(sizeof(Service),
            sizeWithEnd<Service>(offsetof(Service, _commitPending) + sizeof(bool)));
  EXPECT_EQ(sizeof(Db), sizeWithEnd<Db>(offsetof(Db, _sync) + sizeof Db::_sync));
  EXPECT_EQ(sizeof(Table),
            sizeWithEnd<Table>(offsetof(Table, _recordSize) + sizeof Table::_recordSize));
  EXPECT_EQ(sizeof(Record), sizeWithEnd<Record>(offsetof(Record, _key) + sizeof Record::_key));
}

}  // namespace
