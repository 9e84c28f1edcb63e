// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace TestSupport {

/// A row of a history table: its key, and the size and SHA-256 of its body.
struct TableRow {
  int key;
  int size;
  std::string sha256;
};

/// A history table by name, rows in order.
struct Table {
  std::string name;
  std::vector<TableRow> rows;
};

/// One of the datafiles in tests/data and what is known of it, from expected.json there.
struct GoldenFile {
  std::string name;
  std::string path;
  /// Structure of the file.
  std::string description;
  /// Every view with keys and records.
  std::vector<Table> input;
  /// What a conversion from schema 0 to 1 must yield, tables in this order.
  std::vector<Table> converted;
};

/// All of them, by name.
const std::vector<GoldenFile>& goldenFiles();

/// The one of that name. REQUIRES: there is one.
const GoldenFile& goldenFile(const std::string& name);

/// What a file holds of the named tables, as the project's own datafile reader sees it.
std::vector<Table> readTables(const std::string& path, const std::vector<Table>& names);

/// The structure of a datafile; empty when it is not sound.
std::string readDescription(const std::string& path);

bool operator==(const TableRow& a, const TableRow& b);
bool operator==(const Table& a, const Table& b);
std::ostream& operator<<(std::ostream& stream, const TableRow& row);
std::ostream& operator<<(std::ostream& stream, const Table& table);
std::ostream& operator<<(std::ostream& stream, const GoldenFile& file);

/// Names a test case that runs over golden files.
std::string caseName(const ::testing::TestParamInfo<GoldenFile>& golden);

}  // namespace TestSupport
