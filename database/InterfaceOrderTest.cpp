// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <cstddef>
#include <functional>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "database/CommitReq.h"
#include "database/CommitSync.h"
#include "database/DbReq.h"
#include "database/DbSync.h"
#include "database/RecordReq.h"
#include "database/RecordSync.h"
#include "database/Store.h"
#include "database/StoreReq.h"
#include "database/StoreSync.h"
#include "database/TableAtomicReq.h"
#include "database/TableAtomicSync.h"
#include "database/TableComposer.h"
#include "database/TableReq.h"
#include "database/TableSync.h"
#include "tests/support/SlotOrder.h"

// The operations of an interface are reached by their place in its table of virtual functions, and
// the fields of a payload by their place in memory: both orders are part of the interface.

namespace {

namespace Database = Pvn::Database;
namespace Persist = Pvn::Database::Persist;

using TestSupport::slotAfterDestructor;
using TestSupport::slotOf;
using TestSupport::slotsFrom;

template <class Api, class Payload>
std::size_t requestSlot() {
  using Operation = void (Api::*)(Rtk::ServerRequest<Api, Payload>&);
  return slotOf(static_cast<Operation>(&Api::request));
}

struct Interface {
  const char* name;
  std::vector<std::size_t> slots;
};

/// What a composer may be bound to.
class AnyReader {};

TEST(InterfaceOrderTest, OperationsFollowTheDestructorInOrder) {
  using DbReq = Persist::Db::Req::Api;
  using StoreReq = Persist::Store::Req::Api;
  using CommitReq = Persist::Commit::Req::Api;
  using TableReq = Persist::Table::Req::Api;
  using RecordReq = Persist::Record::Req::Api;
  using AtomicReq = Database::Table::Atomic::Req::Api;
  const std::vector<Interface> interfaces = {
      {"Store::Api", {slotOf(&Database::Store::Api::create)}},
      {"Db::Api", {slotOf(&Database::Db::Api::destroy), slotOf(&Database::Db::Api::createTable)}},
      {"Table::Api",
       {slotOf(&Database::Table::Api::destroy), slotOf(&Database::Table::Api::createRecordWithKey),
        slotOf(&Database::Table::Api::createRecord), slotOf(&Database::Table::Api::iterate),
        slotOf(&Database::Table::Api::openFirstRecord)}},
      {"Table::Atomic::Api", {slotOf(&Database::Table::Atomic::Api::iterate)}},
      {"Table::IteratorApi", {slotOf(&Database::Table::IteratorApi::nextRecord)}},
      {"Table::RecordApi",
       {slotOf(&Database::Table::RecordApi::openRecord), slotOf(&Database::Table::RecordApi::read),
        slotOf(&Database::Table::RecordApi::write)}},
      {"Property::Access::Api",
       {slotOf(&Database::Property::Access::Api::getReadApi),
        slotOf(&Database::Property::Access::Api::getWriteApi)}},
      {"Property::Read::Api", {slotOf(&Database::Property::Read::Api::read)}},
      {"Property::Write::Api", {slotOf(&Database::Property::Write::Api::write)}},
      {"Record::Api",
       {slotOf(&Database::Record::Api::getReadApi), slotOf(&Database::Record::Api::getWriteApi),
        slotOf(&Database::Record::Api::getKey), slotOf(&Database::Record::Api::destroy),
        slotOf(&Database::Record::Api::read), slotOf(&Database::Record::Api::write)}},
      {"Persist::Store::Api", {slotOf(&Persist::Store::Api::create)}},
      {"Persist::Store::Req::Api", {requestSlot<StoreReq, StoreReq::CreatePayload>()}},
      {"Persist::Commit::Api",
       {slotOf(&Persist::Commit::Api::decrementInhibit),
        slotOf(&Persist::Commit::Api::incrementInhibit)}},
      {"Persist::Commit::Req::Api",
       {requestSlot<CommitReq, CommitReq::DecrInhibitPayload>(),
        requestSlot<CommitReq, CommitReq::IncrInhibitPayload>()}},
      {"Persist::Db::Api",
       {slotOf(&Persist::Db::Api::createTable), slotOf(&Persist::Db::Api::destroy)}},
      {"Persist::Db::Req::Api",
       {requestSlot<DbReq, DbReq::CreateTablePayload>(),
        requestSlot<DbReq, DbReq::DestroyPayload>()}},
      {"Persist::Table::Api",
       {slotOf(&Persist::Table::Api::openFirstRecord),
        slotOf(&Persist::Table::Api::createRecordWithKey),
        slotOf(&Persist::Table::Api::createRecord), slotOf(&Persist::Table::Api::destroy)}},
      {"Persist::Table::Req::Api",
       {requestSlot<TableReq, TableReq::OpenFirstRecordPayload>(),
        requestSlot<TableReq, TableReq::CreateRecordWithKeyPayload>(),
        requestSlot<TableReq, TableReq::CreateRecordPayload>(),
        requestSlot<TableReq, TableReq::DestroyPayload>()}},
      {"Persist::Record::Api",
       {slotOf(&Persist::Record::Api::write), slotOf(&Persist::Record::Api::read),
        slotOf(&Persist::Record::Api::destroy)}},
      {"Persist::Record::Req::Api",
       {requestSlot<RecordReq, RecordReq::WritePayload>(),
        requestSlot<RecordReq, RecordReq::ReadPayload>(),
        requestSlot<RecordReq, RecordReq::DestroyPayload>()}},
      {"Table::Atomic::Req::Api", {requestSlot<AtomicReq, AtomicReq::IteratePayload>()}},
      {"Table::Composer", {slotOf(&Database::Table::Composer<AnyReader>::nextRecord)}},
  };
  for (const Interface& interface : interfaces) {
    EXPECT_EQ(interface.slots, slotsFrom(slotAfterDestructor, interface.slots.size()))
        << interface.name;
  }
}

template <class Proxy, class Api, class ReqApi>
void expectOnlyAnAccessPoint() {
  EXPECT_TRUE((std::is_base_of_v<Api, Proxy>));
  EXPECT_EQ(sizeof(Proxy), sizeof(Api) + sizeof(Rtk::SAP<ReqApi>));
  EXPECT_EQ(slotOf(&Proxy::getSAP), TestSupport::noSlot);
}

TEST(InterfaceOrderTest, ProxiesAddAnAccessPointToTheirInterfaces) {
  namespace Atomic = Database::Table::Atomic;
  expectOnlyAnAccessPoint<Persist::Store::Sync, Persist::Store::Api, Persist::Store::Req::Api>();
  expectOnlyAnAccessPoint<Persist::Commit::Sync, Persist::Commit::Api, Persist::Commit::Req::Api>();
  expectOnlyAnAccessPoint<Persist::Db::Sync, Persist::Db::Api, Persist::Db::Req::Api>();
  expectOnlyAnAccessPoint<Persist::Table::Sync, Persist::Table::Api, Persist::Table::Req::Api>();
  expectOnlyAnAccessPoint<Persist::Record::Sync, Persist::Record::Api, Persist::Record::Req::Api>();
  expectOnlyAnAccessPoint<Atomic::Sync, Atomic::Api, Atomic::Req::Api>();
}

/// Whether the fields lie one behind the other, the first at the beginning of the payload.
template <class Payload, class... Field>
bool inOrder(const Payload& payload, const Field&... field) {
  const void* last = &payload;
  bool ordered = true;
  bool first = true;
  for (const void* address : {static_cast<const void*>(&field)...}) {
    ordered = ordered && (first ? address == last : std::less<>()(last, address));
    first = false;
    last = address;
  }
  return ordered;
}

TEST(InterfaceOrderTest, PayloadFieldsFollowTheArgumentsInOrder) {
  char mem = 0;
  const Persist::Store::Req::Api::CreatePayload create("n", &mem, 1);
  EXPECT_TRUE(inOrder(create, create._name, create._mem, create._memSize, create._result));
  const Persist::Db::Req::Api::CreateTablePayload table("n", 1, &mem, 2);
  EXPECT_TRUE(
      inOrder(table, table._name, table._recordSize, table._mem, table._memSize, table._result));
  const Persist::Table::Req::Api::OpenFirstRecordPayload first(&mem, 1);
  EXPECT_TRUE(inOrder(first, first._mem, first._memSize, first._result));
  const Persist::Table::Req::Api::CreateRecordWithKeyPayload keyed("d", &mem, 1, 2);
  EXPECT_TRUE(inOrder(keyed, keyed._data, keyed._mem, keyed._memSize, keyed._key, keyed._result));
  const Persist::Table::Req::Api::CreateRecordPayload record("d", &mem, 1);
  EXPECT_TRUE(inOrder(record, record._data, record._mem, record._memSize, record._result));
  const Persist::Record::Req::Api::ReadPayload read(&mem, 1, 2);
  EXPECT_TRUE(inOrder(read, read._buffer, read._size, read._offset, read._result));
  const Persist::Record::Req::Api::WritePayload write(&mem, 1, 2);
  EXPECT_TRUE(inOrder(write, write._data, write._size, write._offset, write._result));
  EXPECT_EQ(sizeof(Database::Table::Atomic::Req::Api::IteratePayload), sizeof(void*));
}

TEST(InterfaceOrderTest, PayloadsWithoutArgumentsAreEmpty) {
  EXPECT_TRUE(std::is_empty_v<Persist::Commit::Req::Api::IncrInhibitPayload>);
  EXPECT_TRUE(std::is_empty_v<Persist::Commit::Req::Api::DecrInhibitPayload>);
  EXPECT_TRUE(std::is_empty_v<Persist::Db::Req::Api::DestroyPayload>);
  EXPECT_TRUE(std::is_empty_v<Persist::Table::Req::Api::DestroyPayload>);
  EXPECT_TRUE(std::is_empty_v<Persist::Record::Req::Api::DestroyPayload>);
}

}  // namespace
