// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <pthread.h>

#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validator.hpp>

#include "history-db/dump/HistoryDocument.h"
#include "history-db/records/Database.h"
#include "history-db/records/Layout.h"
#include "history-db/testing/ProgramTesting.h"
#include "tests/support/Golden.h"
#include "tests/support/KeptFile.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using HistoryDb::Field;
using HistoryDb::Kind;
using HistoryDb::Layout;
using HistoryDb::layoutOf;
using HistoryDb::List;
using HistoryDbTesting::historyDb;
using Json = nlohmann::json;
using OrderedJson = nlohmann::ordered_json;

OrderedJson integer(std::int64_t least, std::int64_t most) {
  return {{"type", "integer"}, {"minimum", least}, {"maximum", most}};
}

OrderedJson reference(const std::string& name) {
  return {{"$ref", "#/definitions/" + name}};
}

OrderedJson array(const OrderedJson& items, int count) {
  return {{"type", "array"}, {"items", items}, {"minItems", count}, {"maxItems", count}};
}

/// An object that has all of these members and no others.
OrderedJson object(const OrderedJson& properties) {
  OrderedJson required = OrderedJson::array();
  for (const auto& property : properties.items()) {
    required.push_back(property.key());
  }
  return {{"type", "object"},
          {"properties", properties},
          {"required", required},
          {"additionalProperties", false}};
}

void addFields(OrderedJson& properties, List<Field> fields) {
  for (const Field& field : fields) {
    const OrderedJson one = reference(nameOf(field.type));
    properties[field.name] = field.count > 1 ? array(one, field.count) : one;
  }
}

OrderedJson period(const Layout& layout) {
  OrderedJson properties = {{"index", integer(0, 13)}};
  addFields(properties, layout.period);
  return object(properties);
}

/// A record behind `first`, what its line or object begins with.
OrderedJson record(const Layout& layout, OrderedJson first) {
  OrderedJson header = OrderedJson::object();
  addFields(header, layout.header);
  first["key"] = reference("int32");
  first["size"] = {{"const", layout.size}};
  first["header"] = object(header);
  for (const auto& ring : layout.rings) {
    first[ring.name] =
        array(reference(std::string("period") + nameOf(layout.kind) +
                        (layout.kind == Kind::System ? std::to_string(layout.schema) : "")),
              ring.count);
  }
  return object(first);
}

OrderedJson oddRecord(Kind kind, OrderedJson first) {
  OrderedJson sizes = OrderedJson::array();
  for (const int schema : {0, 1}) {
    const int size = layoutOf(kind, schema).size;
    if (schema == 0 || size != sizes[0]) {
      sizes.push_back(size);
    }
  }
  first["key"] = reference("int32");
  first["size"] = {{"type", "integer"}, {"minimum", 0}, {"not", {{"enum", sizes}}}};
  first["bytes"] = {{"type", "string"}, {"pattern", "^([0-9a-f]{2})*$"}};
  return object(first);
}

/// The layouts of the records of one kind.
std::vector<const Layout*> layoutsOf(Kind kind) {
  if (kind == Kind::Zone) {
    return {&layoutOf(kind, 0)};
  }
  return {&layoutOf(kind, 0), &layoutOf(kind, 1)};
}

OrderedJson records(Kind kind, const OrderedJson& first) {
  OrderedJson all = OrderedJson::array();
  for (const Layout* const layout : layoutsOf(kind)) {
    all.push_back(record(*layout, first));
  }
  all.push_back(oddRecord(kind, first));
  return all;
}

OrderedJson namesOf(Kind kind) {
  OrderedJson names = OrderedJson::array();
  for (const auto& table : HistoryDb::tableNames) {
    if (table.kind == kind) {
      names.push_back(table.name);
    }
  }
  return {{"enum", names}};
}

OrderedJson table(Kind kind, bool hasRecords) {
  OrderedJson properties = {{"name", namesOf(kind)},
                            {"kind", {{"const", nameOf(kind)}}},
                            {"exists", {{"type", "boolean"}}},
                            {"rows", integer(0, 2147483647)}};
  if (hasRecords) {
    properties["records"] = {
        {"type", "array"},
        {"items", {{"anyOf", {reference(std::string("record") + nameOf(kind))}}}}};
    properties["records"]["items"] = reference(std::string("record") + nameOf(kind));
  }
  return object(properties);
}

/// A document in the format json, or the first line of one in the format jsonl.
OrderedJson head(const char* format, bool hasRecords) {
  return object(
      {{"historyDump", {{"const", HistoryDb::HistoryDocument::version}}},
       {"format", {{"const", format}}},
       {"schema", {{"enum", {"0", "1", "0 or 1", "mixed"}}}},
       {"tables",
        {{"type", "array"},
         {"maxItems", HistoryDb::tableNames.size()},
         {"items",
          {{"anyOf", {table(Kind::System, hasRecords), table(Kind::Zone, hasRecords)}}}}}}});
}

/// The JSON Schema of what `dump` prints.
OrderedJson dumpSchema() {
  OrderedJson definitions = {
      {"int16", integer(-32768, 32767)},
      {"int32", integer(-2147483648LL, 2147483647)},
      {"double",
       {{"anyOf",
         {{{"type", "number"}},
          {{"type", "string"}, {"pattern", "^(NaN(:[7f]ff[0-9a-f]{13})?|-?Infinity)$"}}}}}}};
  for (const Kind kind : {Kind::System, Kind::Zone}) {
    for (const Layout* const layout : layoutsOf(kind)) {
      definitions[std::string("period") + nameOf(kind) +
                  (kind == Kind::System ? std::to_string(layout->schema) : "")] = period(*layout);
    }
    definitions[std::string("record") + nameOf(kind)] = {
        {"anyOf", records(kind, OrderedJson::object())}};
    definitions[std::string("line") + nameOf(kind)] = {
        {"anyOf", records(kind, {{"table", namesOf(kind)}})}};
  }
  definitions["document"] = head("json", true);
  definitions["firstLine"] = head("jsonl", false);
  return {{"$schema", "http://json-schema.org/draft-07/schema#"},
          {"title", "What history-db dump prints"},
          {"description",
           "In the format json one document, in the format jsonl a first line and a line for each "
           "record. history-db load wants all members in this order, and the periods in that of "
           "their index."},
          {"anyOf",
           {reference("document"), reference("firstLine"), reference("lineSystem"),
            reference("lineZone")}},
          {"definitions", definitions}};
}

class DumpSchemaTest : public ::testing::Test {
 protected:
  DumpSchemaTest() {
    const Json json = dumpSchema();
    const valijson::adapters::NlohmannJsonAdapter adapter(json);
    valijson::SchemaParser(valijson::SchemaParser::kDraft7).populateSchema(adapter, schema);
  }

  bool isValid(const Json& document) {
    const valijson::adapters::NlohmannJsonAdapter adapter(document);
    bool result = false;
    onLargeStack([&] { result = valijson::Validator().validate(schema, adapter, nullptr); });
    return result;
  }

  /// The regular expressions of the C++ library call themselves for each character.
  static void onLargeStack(const std::function<void()>& work) {
    pthread_attr_t attributes;
    ASSERT_EQ(::pthread_attr_init(&attributes), 0);
    ASSERT_EQ(::pthread_attr_setstacksize(&attributes, std::size_t{256} << 20), 0);
    pthread_t thread{};
    const auto run = [](void* given) -> void* {
      (*static_cast<const std::function<void()>*>(given))();
      return nullptr;
    };
    void* const given = const_cast<std::function<void()>*>(&work);
    ASSERT_EQ(::pthread_create(&thread, &attributes, run, given), 0);
    ::pthread_join(thread, nullptr);
    ::pthread_attr_destroy(&attributes);
  }

  valijson::Schema schema;
};

TEST_F(DumpSchemaTest, IsThatOfTheDocuments) {
  TestSupport::expectKept(PROJECT_FOLDER "/docs/history-dump.schema.json",
                          dumpSchema().dump(2) + "\n");
}

TEST_F(DumpSchemaTest, HoldsForEveryDump) {
  const TestSupport::TemporaryFolder folder;
  const std::string sample = folder.path("sample.mk");
  ASSERT_EQ(historyDb({"sample", sample, "--schema", "1"}).status, 0);
  std::vector<std::string> files = {sample};
  for (const char* name : {"typical.mk", "odd-sizes.mk", "empty-tables.mk", "other-structure.mk"}) {
    files.push_back(TestSupport::goldenFile(name).path);
  }
  for (const std::string& file : files) {
    EXPECT_TRUE(isValid(Json::parse(historyDb({"dump", file}).standardOutput))) << file;
    const std::string lines = historyDb({"dump", file, "--format", "jsonl"}).standardOutput;
    for (std::size_t begin = 0; begin < lines.size();) {
      const std::size_t end = lines.find('\n', begin);
      EXPECT_TRUE(isValid(Json::parse(lines.substr(begin, end - begin)))) << file << begin;
      begin = end + 1;
    }
  }
}

TEST_F(DumpSchemaTest, RefusesWhatIsNoDump) {
  const TestSupport::TemporaryFolder folder;
  const std::string sample = folder.path("sample.mk");
  ASSERT_EQ(historyDb({"sample", sample, "--schema", "1", "--zones", "1"}).status, 0);
  const Json sound = Json::parse(historyDb({"dump", sample}).standardOutput);
  ASSERT_TRUE(isValid(sound));
  const auto at = [](const char* pointer) { return Json::json_pointer(pointer); };

  for (const char* pointer :
       {"/historyDump", "/format", "/schema", "/tables", "/tables/0/name", "/tables/0/kind",
        "/tables/0/exists", "/tables/0/rows", "/tables/0/records", "/tables/0/records/0/key",
        "/tables/0/records/0/size", "/tables/0/records/0/header", "/tables/0/records/0/days",
        "/tables/0/records/0/header/headerWord1", "/tables/0/records/0/days/3/index",
        "/tables/0/records/0/months/13/minC", "/tables/2/records/0/header/zone",
        "/tables/2/records/0/months/0/intValue5"}) {
    Json broken = sound;
    broken[at(pointer)] = nullptr;
    EXPECT_FALSE(isValid(broken)) << pointer;
    broken = sound;
    const auto whole = at(pointer);
    broken[whole.parent_pointer()].erase(whole.back());
    EXPECT_FALSE(isValid(broken)) << "without " << pointer;
  }
  for (const char* pointer :
       {"/tables/0/records/0/days/8", "/tables/0/records/0/months/0",
        "/tables/0/records/0/days/0/intArray/10", "/tables/2/records/0/days/0/shortArray/0"}) {
    Json broken = sound;
    const auto whole = at(pointer);
    broken[whole.parent_pointer()].erase(static_cast<std::size_t>(std::stoi(whole.back())));
    EXPECT_FALSE(isValid(broken)) << "without " << pointer;
  }
  for (const char* pointer : {"", "/tables/0", "/tables/0/records/0", "/tables/0/records/0/header",
                              "/tables/0/records/0/days/0", "/tables/2/records/0/days/0"}) {
    Json broken = sound;
    broken[at(pointer)]["more"] = 1;
    EXPECT_FALSE(isValid(broken)) << "more in " << pointer;
  }
  const std::vector<std::pair<const char*, Json>> others = {
      {"/historyDump", 2},
      {"/format", "jsonl"},
      {"/schema", "2"},
      {"/tables/0/name", "ZoneHistory"},
      {"/tables/0/rows", -1},
      {"/tables/0/records/0/key", 2147483648},
      {"/tables/0/records/0/size", 4624},
      {"/tables/2/records/0/days/0/shortValue1", 32768},
      {"/tables/2/records/0/days/0/time0", -2147483649},
      {"/tables/2/records/0/days/0/time0", 1.5},
      {"/tables/2/records/0/days/0/minA", "1.5"},
      {"/tables/2/records/0/days/0/minA", "NaN:7ff800000000000"},
  };
  for (const auto& [pointer, value] : others) {
    Json broken = sound;
    broken[at(pointer)] = value;
    EXPECT_FALSE(isValid(broken)) << pointer << " " << value;
  }
}

}  // namespace
