// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <cstddef>
#include <functional>
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
#include "tests/support/ObjectLayout.h"
#include "tests/support/SlotOrder.h"

// The operations of an interface are reached by their place in its table of virtual functions, and
// the fields of a payload by their place in memory: both orders are part of the interface.

namespace {

namespace Database = Pvn::Database;
namespace Persist = Pvn::Database::Persist;

using TestSupport::slotAfterDestructor;
using TestSupport::slotBehind;
using TestSupport::slotOf;
using TestSupport::slotsFrom;

template <class Api, class Payload>
std::size_t requestSlot() {
  using Operation = void (Api::*)(Rtk::ServerRequest<Api, Payload>&);
  return slotOf(static_cast<Operation>(&Api::request));
}

using Slots = std::vector<std::size_t>;

/// The slots of the two forms of a destructor.
constexpr std::size_t destructorSlots = 2;

/// Checks that the destructor comes first, `operations` follow in order, and nothing follows them.
template <class Api>
void expectDestructorFirst(const char* name, const Slots& operations) {
  SCOPED_TRACE(name);
  EXPECT_EQ(operations, slotsFrom(slotAfterDestructor, operations.size()));
  EXPECT_EQ(slotBehind<Api>(), slotAfterDestructor + operations.size());
}

/// Checks that `requests` come first in order, the destructor follows, and nothing follows it.
template <class ReqApi>
void expectRequestsFirst(const char* name, const Slots& requests) {
  SCOPED_TRACE(name);
  EXPECT_EQ(requests, slotsFrom(0, requests.size()));
  EXPECT_EQ(slotBehind<ReqApi>(), requests.size() + destructorSlots);
}

/// What a composer may be bound to.
class AnyReader {};

TEST(InterfaceOrderTest, HandlesBeginWithTheirDestructor) {
  expectDestructorFirst<Database::Store::Api>("Store::Api",
                                              {slotOf(&Database::Store::Api::create)});
  using Db = Database::Db::Api;
  expectDestructorFirst<Db>("Db::Api", {slotOf(&Db::destroy), slotOf(&Db::createTable)});
  using Table = Database::Table::Api;
  expectDestructorFirst<Table>(
      "Table::Api",
      {slotOf(&Table::destroy), slotOf(&Table::createRecordWithKey), slotOf(&Table::createRecord),
       slotOf(&Table::iterate), slotOf(&Table::openFirstRecord)});
  using Atomic = Database::Table::Atomic::Api;
  expectDestructorFirst<Atomic>("Table::Atomic::Api", {slotOf(&Atomic::iterate)});
  using Iterator = Database::Table::IteratorApi;
  expectDestructorFirst<Iterator>("Table::IteratorApi", {slotOf(&Iterator::nextRecord)});
  using Composer = Database::Table::Composer<AnyReader>;
  expectDestructorFirst<Composer>("Table::Composer", {slotOf(&Composer::nextRecord)});
  using Row = Database::Table::RecordApi;
  expectDestructorFirst<Row>("Table::RecordApi",
                             {slotOf(&Row::openRecord), slotOf(&Row::read), slotOf(&Row::write)});
  using Access = Database::Property::Access::Api;
  expectDestructorFirst<Access>("Property::Access::Api",
                                {slotOf(&Access::getReadApi), slotOf(&Access::getWriteApi)});
  using Read = Database::Property::Read::Api;
  expectDestructorFirst<Read>("Property::Read::Api", {slotOf(&Read::read)});
  using Write = Database::Property::Write::Api;
  expectDestructorFirst<Write>("Property::Write::Api", {slotOf(&Write::write)});
  using Record = Database::Record::Api;
  expectDestructorFirst<Record>(
      "Record::Api",
      {slotOf(&Record::getReadApi), slotOf(&Record::getWriteApi), slotOf(&Record::getKey),
       slotOf(&Record::destroy), slotOf(&Record::read), slotOf(&Record::write)});
}

TEST(InterfaceOrderTest, InterfacesOfProxiesBeginWithTheirDestructor) {
  using Store = Persist::Store::Api;
  expectDestructorFirst<Store>("Persist::Store::Api", {slotOf(&Store::create)});
  using Commit = Persist::Commit::Api;
  expectDestructorFirst<Commit>("Persist::Commit::Api", {slotOf(&Commit::decrementInhibit),
                                                         slotOf(&Commit::incrementInhibit)});
  using Db = Persist::Db::Api;
  expectDestructorFirst<Db>("Persist::Db::Api", {slotOf(&Db::createTable), slotOf(&Db::destroy)});
  using Table = Persist::Table::Api;
  expectDestructorFirst<Table>(
      "Persist::Table::Api", {slotOf(&Table::openFirstRecord), slotOf(&Table::createRecordWithKey),
                              slotOf(&Table::createRecord), slotOf(&Table::destroy)});
  using Record = Persist::Record::Api;
  expectDestructorFirst<Record>(
      "Persist::Record::Api",
      {slotOf(&Record::write), slotOf(&Record::read), slotOf(&Record::destroy)});
}

TEST(InterfaceOrderTest, RequestInterfacesBeginWithTheirRequests) {
  using Store = Persist::Store::Req::Api;
  expectRequestsFirst<Store>("Persist::Store::Req::Api",
                             {requestSlot<Store, Store::CreatePayload>()});
  using Commit = Persist::Commit::Req::Api;
  expectRequestsFirst<Commit>("Persist::Commit::Req::Api",
                              {requestSlot<Commit, Commit::DecrInhibitPayload>(),
                               requestSlot<Commit, Commit::IncrInhibitPayload>()});
  using Db = Persist::Db::Req::Api;
  expectRequestsFirst<Db>("Persist::Db::Req::Api", {requestSlot<Db, Db::CreateTablePayload>(),
                                                    requestSlot<Db, Db::DestroyPayload>()});
  using Table = Persist::Table::Req::Api;
  expectRequestsFirst<Table>("Persist::Table::Req::Api",
                             {requestSlot<Table, Table::OpenFirstRecordPayload>(),
                              requestSlot<Table, Table::CreateRecordWithKeyPayload>(),
                              requestSlot<Table, Table::CreateRecordPayload>(),
                              requestSlot<Table, Table::DestroyPayload>()});
  using Record = Persist::Record::Req::Api;
  expectRequestsFirst<Record>(
      "Persist::Record::Req::Api",
      {requestSlot<Record, Record::WritePayload>(), requestSlot<Record, Record::ReadPayload>(),
       requestSlot<Record, Record::DestroyPayload>()});
  using Atomic = Database::Table::Atomic::Req::Api;
  expectRequestsFirst<Atomic>("Table::Atomic::Req::Api",
                              {requestSlot<Atomic, Atomic::IteratePayload>()});
}

template <class Proxy, class Api, class ReqApi>
void expectOnlyAnAccessPoint() {
  EXPECT_TRUE((std::is_base_of_v<Api, Proxy>));
  EXPECT_EQ(sizeof(Proxy), sizeof(Api) + sizeof(Rtk::SAP<ReqApi>));
  EXPECT_EQ(slotBehind<Proxy>(), slotBehind<Api>());
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

template <class Actual, class Expected>
constexpr bool isOfType = std::is_same_v<Actual, Expected>;

TEST(InterfaceOrderTest, PayloadFieldsHaveTheTypesOfTheArguments) {
  using Create = Persist::Store::Req::Api::CreatePayload;
  EXPECT_TRUE((isOfType<decltype(Create::_name), const char*>));
  EXPECT_TRUE((isOfType<decltype(Create::_mem), void*>));
  EXPECT_TRUE((isOfType<decltype(Create::_memSize), unsigned int>));
  EXPECT_TRUE((isOfType<decltype(Create::_result), Database::Db::Api*>));
  using CreateTable = Persist::Db::Req::Api::CreateTablePayload;
  EXPECT_TRUE((isOfType<decltype(CreateTable::_name), const char*>));
  EXPECT_TRUE((isOfType<decltype(CreateTable::_recordSize), unsigned int>));
  EXPECT_TRUE((isOfType<decltype(CreateTable::_mem), void*>));
  EXPECT_TRUE((isOfType<decltype(CreateTable::_memSize), unsigned int>));
  EXPECT_TRUE((isOfType<decltype(CreateTable::_result), Database::Table::Api*>));
  using OpenFirst = Persist::Table::Req::Api::OpenFirstRecordPayload;
  EXPECT_TRUE((isOfType<decltype(OpenFirst::_mem), void*>));
  EXPECT_TRUE((isOfType<decltype(OpenFirst::_memSize), unsigned int>));
  EXPECT_TRUE((isOfType<decltype(OpenFirst::_result), Database::Record::Api*>));
  using WithKey = Persist::Table::Req::Api::CreateRecordWithKeyPayload;
  EXPECT_TRUE((isOfType<decltype(WithKey::_data), const void*>));
  EXPECT_TRUE((isOfType<decltype(WithKey::_mem), void*>));
  EXPECT_TRUE((isOfType<decltype(WithKey::_memSize), unsigned int>));
  EXPECT_TRUE((isOfType<decltype(WithKey::_key), int>));
  EXPECT_TRUE((isOfType<decltype(WithKey::_result), Database::Record::Api*>));
  using CreateRecord = Persist::Table::Req::Api::CreateRecordPayload;
  EXPECT_TRUE((isOfType<decltype(CreateRecord::_data), const void*>));
  EXPECT_TRUE((isOfType<decltype(CreateRecord::_mem), void*>));
  EXPECT_TRUE((isOfType<decltype(CreateRecord::_memSize), unsigned int>));
  EXPECT_TRUE((isOfType<decltype(CreateRecord::_result), Database::Record::Api*>));
  using Read = Persist::Record::Req::Api::ReadPayload;
  EXPECT_TRUE((isOfType<decltype(Read::_buffer), void*>));
  EXPECT_TRUE((isOfType<decltype(Read::_size), unsigned int>));
  EXPECT_TRUE((isOfType<decltype(Read::_offset), unsigned int>));
  EXPECT_TRUE((isOfType<decltype(Read::_result), unsigned int>));
  using Write = Persist::Record::Req::Api::WritePayload;
  EXPECT_TRUE((isOfType<decltype(Write::_data), const void*>));
  EXPECT_TRUE((isOfType<decltype(Write::_size), unsigned int>));
  EXPECT_TRUE((isOfType<decltype(Write::_offset), unsigned int>));
  EXPECT_TRUE((isOfType<decltype(Write::_result), unsigned int>));
  using Iterate = Database::Table::Atomic::Req::Api::IteratePayload;
  EXPECT_TRUE((isOfType<decltype(Iterate::_iterator), Database::Table::IteratorApi&>));
}

TEST(InterfaceOrderTest, PayloadsHoldNothingAfterTheirResult) {
  using Create = Persist::Store::Req::Api::CreatePayload;
  EXPECT_EQ(sizeof(Create), offsetof(Create, _result) + sizeof(void*));
  using CreateTable = Persist::Db::Req::Api::CreateTablePayload;
  EXPECT_EQ(sizeof(CreateTable), offsetof(CreateTable, _result) + sizeof(void*));
  using OpenFirst = Persist::Table::Req::Api::OpenFirstRecordPayload;
  EXPECT_EQ(sizeof(OpenFirst), offsetof(OpenFirst, _result) + sizeof(void*));
  using WithKey = Persist::Table::Req::Api::CreateRecordWithKeyPayload;
  EXPECT_EQ(sizeof(WithKey), offsetof(WithKey, _result) + sizeof(void*));
  using CreateRecord = Persist::Table::Req::Api::CreateRecordPayload;
  EXPECT_EQ(sizeof(CreateRecord), offsetof(CreateRecord, _result) + sizeof(void*));
  // Padding may follow the result of these.
  using Read = Persist::Record::Req::Api::ReadPayload;
  EXPECT_LT(sizeof(Read), offsetof(Read, _result) + sizeof(unsigned int) + alignof(Read));
  using Write = Persist::Record::Req::Api::WritePayload;
  EXPECT_LT(sizeof(Write), offsetof(Write, _result) + sizeof(unsigned int) + alignof(Write));
}

TEST(InterfaceOrderTest, ComposerHoldsItsObjectThenTheOperation) {
  class Reader {
   public:
    bool read(Database::Table::RecordApi& /*record*/) { return true; }
  };
  using Composer = Database::Table::Composer<Reader>;
  Reader reader;
  const Composer composer(reader, &Reader::read);
  EXPECT_EQ(TestSupport::pointerAt(composer, 1), &reader);
  EXPECT_EQ(sizeof(Composer), 2 * sizeof(void*) + sizeof(&Reader::read));
}

TEST(InterfaceOrderTest, PayloadsWithoutArgumentsAreEmpty) {
  EXPECT_TRUE(std::is_empty_v<Persist::Commit::Req::Api::IncrInhibitPayload>);
  EXPECT_TRUE(std::is_empty_v<Persist::Commit::Req::Api::DecrInhibitPayload>);
  EXPECT_TRUE(std::is_empty_v<Persist::Db::Req::Api::DestroyPayload>);
  EXPECT_TRUE(std::is_empty_v<Persist::Table::Req::Api::DestroyPayload>);
  EXPECT_TRUE(std::is_empty_v<Persist::Record::Req::Api::DestroyPayload>);
}

}  // namespace
