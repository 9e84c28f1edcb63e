// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/records/Layout.h"

#include <cstring>
#include <type_traits>

#include "persist/history/Ring.h"
#include "persist/history/Schema0System.h"
#include "persist/history/Schema0Zone.h"
#include "persist/history/Schema1System.h"
#include "persist/history/Schema1Zone.h"

namespace HistoryDb {

namespace {

namespace Kiv = Pvn::Persist::History::Kiv;

// clang-format off

// name, offset, type, count
#define SYSTEM_HEADER(FIELD) \
  FIELD(headerWord1, 0, Int32, 1) \
  FIELD(headerWord2, 4, Int32, 1) \
  FIELD(headerShortsA, 8, Int16, 4) \
  FIELD(headerShortsB, 16, Int16, 4)

// What both schemas begin a system's period with.
#define SYSTEM_PERIOD(FIELD) \
  FIELD(time0, 0, Int32, 1) \
  FIELD(time1, 4, Int32, 1) \
  FIELD(shortValue1, 8, Int16, 1) \
  FIELD(realValue1, 16, Double, 1) \
  FIELD(intValue1, 24, Int32, 1) \
  FIELD(realValue2, 32, Double, 1) \
  FIELD(intValue2, 40, Int32, 1) \
  FIELD(minA, 48, Double, 1) \
  FIELD(maxA, 56, Double, 1) \
  FIELD(minB, 64, Double, 1) \
  FIELD(maxB, 72, Double, 1) \
  FIELD(realValue3, 80, Double, 1) \
  FIELD(realValue4, 88, Double, 1) \
  FIELD(intValue3, 96, Int32, 1) \
  FIELD(realValue5, 104, Double, 1) \
  FIELD(realValue6, 112, Double, 1) \
  FIELD(intValue4, 120, Int32, 1) \
  FIELD(shortArray, 124, Int16, 15)

#define SYSTEM_PERIOD_SCHEMA_0(FIELD) \
  SYSTEM_PERIOD(FIELD) \
  FIELD(intArray, 156, Int32, 10)

#define SYSTEM_PERIOD_SCHEMA_1(FIELD) \
  SYSTEM_PERIOD(FIELD) \
  FIELD(intArray, 156, Int32, 11) \
  FIELD(shortValue2, 200, Int16, 1) \
  FIELD(intValue5, 204, Int32, 1) \
  FIELD(intValue6, 208, Int32, 1) \
  FIELD(realValue7, 216, Double, 1) \
  FIELD(intValue7, 224, Int32, 1) \
  FIELD(minC, 232, Double, 1) \
  FIELD(maxC, 240, Double, 1) \
  FIELD(realValue8, 248, Double, 1) \
  FIELD(realValue9, 256, Double, 1) \
  FIELD(intValue8, 264, Int32, 1)

#define ZONE_HEADER(FIELD) \
  FIELD(zone, 0, Int32, 1) \
  FIELD(headerWord1, 4, Int32, 1) \
  FIELD(headerWord2, 8, Int32, 1)

#define ZONE_PERIOD(FIELD) \
  FIELD(time0, 0, Int32, 1) \
  FIELD(time1, 4, Int32, 1) \
  FIELD(shortArray, 8, Int16, 4) \
  FIELD(intValue1, 16, Int32, 1) \
  FIELD(intValue2, 20, Int32, 1) \
  FIELD(realValue1, 24, Double, 1) \
  FIELD(intValue3, 32, Int32, 1) \
  FIELD(minA, 40, Double, 1) \
  FIELD(maxA, 48, Double, 1) \
  FIELD(realValue2, 56, Double, 1) \
  FIELD(realValue3, 64, Double, 1) \
  FIELD(intValue4, 72, Int32, 1) \
  FIELD(shortValue1, 76, Int16, 1) \
  FIELD(intValue5, 80, Int32, 1)

// clang-format on

template <Type type>
struct Stored;
template <>
struct Stored<Type::Int16> {
  using Value = std::int16_t;
};
template <>
struct Stored<Type::Int32> {
  using Value = std::int32_t;
};
template <>
struct Stored<Type::Double> {
  using Value = double;
};

/// Whether a class has a member of that type and number of elements.
template <class Member, Type type, std::size_t count>
constexpr bool isStoredAs =
    std::is_same_v<std::remove_all_extents_t<Member>, typename Stored<type>::Value> &&
    sizeof(Member) == count * sizeof(typename Stored<type>::Value);

#define ENTRY(name, offset, type, count) {#name, offset, Type::type, count},
#define ASSERT_MEMBER(name, offset, type, count)       \
  static_assert(offsetof(Asserted, name) == (offset)); \
  static_assert(isStoredAs<decltype(Asserted::name), Type::type, count>);

constexpr Field systemHeader[] = {SYSTEM_HEADER(ENTRY)};
constexpr Field systemPeriod0[] = {SYSTEM_PERIOD_SCHEMA_0(ENTRY)};
constexpr Field systemPeriod1[] = {SYSTEM_PERIOD_SCHEMA_1(ENTRY)};
constexpr Field zoneHeader[] = {ZONE_HEADER(ENTRY)};
constexpr Field zonePeriod[] = {ZONE_PERIOD(ENTRY)};

#define ASSERT_CLASS(fields, name, type) \
  namespace Assert##name {               \
    using Asserted = Kiv::type;          \
    fields(ASSERT_MEMBER)                \
  }

ASSERT_CLASS(SYSTEM_HEADER, System0, Schema0::Bramal::System::Record)
ASSERT_CLASS(SYSTEM_HEADER, System1, Schema1::Bramal::System::Record)
ASSERT_CLASS(ZONE_HEADER, Zone0, Schema0::Bramal::Zone::Record)
ASSERT_CLASS(ZONE_HEADER, Zone1, Schema1::Bramal::Zone::Record)
ASSERT_CLASS(SYSTEM_PERIOD_SCHEMA_0, SystemPeriod0, Schema0::Bramal::System::Period)
ASSERT_CLASS(SYSTEM_PERIOD_SCHEMA_1, SystemPeriod1, Schema1::Bramal::System::Period)
ASSERT_CLASS(ZONE_PERIOD, ZonePeriod0, Schema0::Bramal::Zone::Period)
ASSERT_CLASS(ZONE_PERIOD, ZonePeriod1, Schema1::Bramal::Zone::Period)

template <class Record>
constexpr Ring ringsOf[] = {
    {"days", static_cast<int>(offsetof(Record, days)), Pvn::Persist::History::Ring::dayCount},
    {"months", static_cast<int>(offsetof(Record, months)),
     Pvn::Persist::History::Ring::monthCount}};

template <class T, std::size_t size>
constexpr List<T> listOf(const T (&array)[size]) {
  return {array, size};
}

template <class Record>
constexpr Layout layoutOfClass(Kind kind, int schema, List<Field> header, List<Field> period) {
  return {kind,
          schema,
          static_cast<int>(sizeof(Record)),
          static_cast<int>(sizeof(Record::days[0])),
          header,
          listOf(ringsOf<Record>),
          period};
}

constexpr Layout layouts[] = {
    layoutOfClass<Kiv::Schema0::Bramal::System::Record>(Kind::System, 0, listOf(systemHeader),
                                                        listOf(systemPeriod0)),
    layoutOfClass<Kiv::Schema1::Bramal::System::Record>(Kind::System, 1, listOf(systemHeader),
                                                        listOf(systemPeriod1)),
    layoutOfClass<Kiv::Schema0::Bramal::Zone::Record>(Kind::Zone, 0, listOf(zoneHeader),
                                                      listOf(zonePeriod)),
    layoutOfClass<Kiv::Schema1::Bramal::Zone::Record>(Kind::Zone, 1, listOf(zoneHeader),
                                                      listOf(zonePeriod)),
};

const Field* find(List<Field> fields, const char* name) {
  for (const Field& field : fields) {
    if (std::strcmp(field.name, name) == 0) {
      return &field;
    }
  }
  return nullptr;
}

}  // namespace

const Field* Layout::headerField(const char* name) const {
  return find(header, name);
}

const Field* Layout::periodField(const char* name) const {
  return find(period, name);
}

const char* nameOf(Kind kind) {
  return kind == Kind::System ? "System" : "Zone";
}

const char* nameOf(Type type) {
  return type == Type::Int16 ? "int16" : type == Type::Int32 ? "int32" : "double";
}

const Layout& layoutOf(Kind kind, int schema) {
  return layouts[(kind == Kind::System ? 0 : 2) + schema];
}

const Layout* layoutOfSize(Kind kind, std::size_t size) {
  for (const Layout& layout : layouts) {
    if (layout.kind == kind && static_cast<std::size_t>(layout.size) == size) {
      return &layout;
    }
  }
  return nullptr;
}

}  // namespace HistoryDb
