#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "database/CommitReq.h"
#include "database/DbReq.h"
#include "database/RecordReq.h"
#include "database/Store.h"
#include "database/StoreReq.h"
#include "database/TableAtomicReq.h"
#include "database/TableReq.h"

// The operations of an interface are reached by their place in its table of virtual functions, and
// the fields of a payload by their place in memory: both orders are part of the interface.

namespace {

namespace Database = Pvn::Database;
namespace Persist = Pvn::Database::Persist;

/// The place of a virtual operation, counted from the destructor's two entries. (In the ABI of both
/// targets a pointer to a virtual member begins with its offset in the table; on x86, plus one.)
template <class Operation>
std::uintptr_t slot(Operation operation) {
  std::uintptr_t offset = 0;
  std::memcpy(&offset, &operation, sizeof offset);
  return offset / sizeof(void*) - 2;
}

template <class Api, class Payload>
std::uintptr_t requestSlot() {
  using Operation = void (Api::*)(Rtk::ServerRequest<Api, Payload>&);
  return slot(static_cast<Operation>(&Api::request));
}

struct Interface {
  const char* name;
  std::vector<std::uintptr_t> slots;
};

TEST(InterfaceOrderTest, OperationsFollowTheDestructorInOrder) {
  using DbReq = Persist::Db::Req::Api;
  using StoreReq = Persist::Store::Req::Api;
  using CommitReq = Persist::Commit::Req::Api;
  using TableReq = Persist::Table::Req::Api;
  using RecordReq = Persist::Record::Req::Api;
  using AtomicReq = Database::Table::Atomic::Req::Api;
  const std::vector<Interface> interfaces = {
      {"Store::Api", {slot(&Database::Store::Api::create)}},
      {"Db::Api", {slot(&Database::Db::Api::destroy), slot(&Database::Db::Api::createTable)}},
      {"Table::Api",
       {slot(&Database::Table::Api::destroy), slot(&Database::Table::Api::createRecordWithKey),
        slot(&Database::Table::Api::createRecord), slot(&Database::Table::Api::iterate),
        slot(&Database::Table::Api::openFirstRecord)}},
      {"Table::Atomic::Api", {slot(&Database::Table::Atomic::Api::iterate)}},
      {"Table::IteratorApi", {slot(&Database::Table::IteratorApi::nextRecord)}},
      {"Table::RecordApi",
       {slot(&Database::Table::RecordApi::openRecord), slot(&Database::Table::RecordApi::read),
        slot(&Database::Table::RecordApi::write)}},
      {"Property::Access::Api",
       {slot(&Database::Property::Access::Api::getReadApi),
        slot(&Database::Property::Access::Api::getWriteApi)}},
      {"Property::Read::Api", {slot(&Database::Property::Read::Api::read)}},
      {"Property::Write::Api", {slot(&Database::Property::Write::Api::write)}},
      {"Record::Api",
       {slot(&Database::Record::Api::getReadApi), slot(&Database::Record::Api::getWriteApi),
        slot(&Database::Record::Api::getKey), slot(&Database::Record::Api::destroy),
        slot(&Database::Record::Api::read), slot(&Database::Record::Api::write)}},
      {"Persist::Store::Api", {slot(&Persist::Store::Api::create)}},
      {"Persist::Store::Req::Api", {requestSlot<StoreReq, StoreReq::CreatePayload>()}},
      {"Persist::Commit::Api",
       {slot(&Persist::Commit::Api::decrementInhibit),
        slot(&Persist::Commit::Api::incrementInhibit)}},
      {"Persist::Commit::Req::Api",
       {requestSlot<CommitReq, CommitReq::DecrInhibitPayload>(),
        requestSlot<CommitReq, CommitReq::IncrInhibitPayload>()}},
      {"Persist::Db::Api",
       {slot(&Persist::Db::Api::createTable), slot(&Persist::Db::Api::destroy)}},
      {"Persist::Db::Req::Api",
       {requestSlot<DbReq, DbReq::CreateTablePayload>(),
        requestSlot<DbReq, DbReq::DestroyPayload>()}},
      {"Persist::Table::Api",
       {slot(&Persist::Table::Api::openFirstRecord),
        slot(&Persist::Table::Api::createRecordWithKey), slot(&Persist::Table::Api::createRecord),
        slot(&Persist::Table::Api::destroy)}},
      {"Persist::Table::Req::Api",
       {requestSlot<TableReq, TableReq::OpenFirstRecordPayload>(),
        requestSlot<TableReq, TableReq::CreateRecordWithKeyPayload>(),
        requestSlot<TableReq, TableReq::CreateRecordPayload>(),
        requestSlot<TableReq, TableReq::DestroyPayload>()}},
      {"Persist::Record::Api",
       {slot(&Persist::Record::Api::write), slot(&Persist::Record::Api::read),
        slot(&Persist::Record::Api::destroy)}},
      {"Persist::Record::Req::Api",
       {requestSlot<RecordReq, RecordReq::WritePayload>(),
        requestSlot<RecordReq, RecordReq::ReadPayload>(),
        requestSlot<RecordReq, RecordReq::DestroyPayload>()}},
      {"Table::Atomic::Req::Api", {requestSlot<AtomicReq, AtomicReq::IteratePayload>()}},
  };
  for (const Interface& interface : interfaces) {
    for (std::uintptr_t i = 0; i < interface.slots.size(); ++i) {
      EXPECT_EQ(interface.slots[i], i) << interface.name;
    }
  }
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
}

TEST(InterfaceOrderTest, PayloadsWithoutArgumentsAreEmpty) {
  EXPECT_TRUE(std::is_empty_v<Persist::Commit::Req::Api::IncrInhibitPayload>);
  EXPECT_TRUE(std::is_empty_v<Persist::Commit::Req::Api::DecrInhibitPayload>);
  EXPECT_TRUE(std::is_empty_v<Persist::Db::Req::Api::DestroyPayload>);
  EXPECT_TRUE(std::is_empty_v<Persist::Table::Req::Api::DestroyPayload>);
  EXPECT_TRUE(std::is_empty_v<Persist::Record::Req::Api::DestroyPayload>);
}

}  // namespace
