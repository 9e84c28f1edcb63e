// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "tests/support/Golden.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <ostream>

#include <mk4.h>
#include <nlohmann/json.hpp>

#include "tests/support/Sha256.h"

namespace TestSupport {

namespace {

std::vector<Table> tables(const nlohmann::ordered_json& json) {
  std::vector<Table> result;
  for (const auto& [name, rows] : json.items()) {
    Table table{name, {}};
    for (const auto& row : rows) {
      table.rows.push_back({row.at("key"), row.at("size"), row.at("sha256")});
    }
    result.push_back(std::move(table));
  }
  return result;
}

std::vector<GoldenFile> readGoldenFiles() {
  const std::string folder = TEST_DATA_FOLDER;
  std::ifstream stream(folder + "/expected.json");
  const auto json = nlohmann::ordered_json::parse(stream);
  std::vector<GoldenFile> files;
  for (const auto& [name, file] : json.items()) {
    files.push_back({name, (folder + '/').append(name), file.at("description"),
                     tables(file.at("input")), tables(file.at("converted"))});
  }
  return files;
}

}  // namespace

const std::vector<GoldenFile>& goldenFiles() {
  static const std::vector<GoldenFile> files = readGoldenFiles();
  return files;
}

const GoldenFile& goldenFile(const std::string& name) {
  const auto& files = goldenFiles();
  const auto found = std::find_if(files.begin(), files.end(),
                                  [&name](const GoldenFile& file) { return file.name == name; });
  if (found == files.end()) {
    std::abort();
  }
  return *found;
}

std::vector<Table> readTables(const std::string& path, const std::vector<Table>& names) {
  c4_Storage storage(path.c_str(), 0);
  const c4_IntProp key("Key");
  const c4_BytesProp record("Record");
  std::vector<Table> result;
  for (const Table& wanted : names) {
    Table table{wanted.name, {}};
    const c4_View view = storage.GetAs((wanted.name + "[Key:I,Record:B]").c_str());
    for (int row = 0; row < view.GetSize(); ++row) {
      const c4_Bytes body = record(view[row]);
      table.rows.push_back({key(view[row]), body.Size(),
                            sha256(body.Contents(), static_cast<std::size_t>(body.Size()))});
    }
    result.push_back(std::move(table));
  }
  return result;
}

std::string readDescription(const std::string& path) {
  c4_Storage storage(path.c_str(), 0);
  return storage.Strategy().IsValid() ? storage.Description() : "";
}

bool operator==(const TableRow& a, const TableRow& b) {
  return a.key == b.key && a.size == b.size && a.sha256 == b.sha256;
}

bool operator==(const Table& a, const Table& b) {
  return a.name == b.name && a.rows == b.rows;
}

std::ostream& operator<<(std::ostream& stream, const TableRow& row) {
  return stream << row.key << ": " << row.size << " bytes, " << row.sha256;
}

std::ostream& operator<<(std::ostream& stream, const Table& table) {
  stream << table.name << " with " << table.rows.size() << " rows";
  for (const TableRow& row : table.rows) {
    stream << "\n  " << row;
  }
  return stream;
}

std::ostream& operator<<(std::ostream& stream, const GoldenFile& file) {
  return stream << file.name;
}

std::string caseName(const ::testing::TestParamInfo<GoldenFile>& golden) {
  std::string name = golden.param.name;
  std::replace_if(
      name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
  return name;
}

}  // namespace TestSupport
