// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "history-db/records/Database.h"
#include "history-db/records/Layout.h"

namespace HistoryDb {

/// A value of a converted record that is not what the original record demands.
struct ValueDifference {
  /// Null for a field of the header.
  const Ring* ring = nullptr;
  int period = 0;
  /// Of schema 1.
  const Field* field = nullptr;
  int element = 0;
  /// Of the value, as `bitsAt()` gives them.
  std::uint64_t original = 0;
  std::uint64_t converted = 0;
};

/// Such as "days[3] shortArray[2]".
std::string placeOf(const ValueDifference& difference);

/// Every value of a record of schema 1 that differs, bit by bit, from that of the record of schema
/// 0 it was made from: from the field of the same name, and from 0 where schema 0 has none. The
/// original may have any size: zeros stand for what is missing, what is too much counts for
/// nothing. So does padding. REQUIRES: `converted` has the size of schema 1.
std::vector<ValueDifference> compareRecords(Kind kind, std::string_view original,
                                            std::string_view converted);

/// How many values `compareRecords` compares.
std::uint64_t valuesOf(Kind kind);

/// Something that keeps a database from being the conversion of another one.
struct Difference {
  /// Its name; empty when it concerns the whole file.
  std::string table;
  std::optional<std::int32_t> key;
  /// In the original, counted from 0; in the converted database where the original has none.
  std::optional<std::size_t> row;
  /// The place of a value; empty when it concerns the whole record.
  std::string place;
  /// What it is, in words.
  std::string what;
};

/// What was found of one table.
struct TableComparison {
  const char* name = "";
  std::size_t originalRows = 0;
  std::size_t convertedRows = 0;
  /// Values that were compared.
  std::uint64_t values = 0;
  std::uint64_t differences = 0;
};

/// What came out when a database was held against the one it was converted from.
struct Comparison {
  static constexpr std::size_t mostToldDifferences = 20;

  SchemaFound originalSchema = SchemaFound::Either;
  SchemaFound convertedSchema = SchemaFound::Either;
  std::array<TableComparison, tableNames.size()> tables;
  /// Of the tables and of the files as a whole.
  std::uint64_t differences = 0;
  /// The first of them.
  std::vector<Difference> told;
  /// What is no difference, but should be known.
  std::vector<std::string> notes;

  bool isEqual() const { return differences == 0; }
};

/// Holds `converted`, of schema 1, against `original`, of schema 0: whether it has the same rows
/// under the same keys in the same order, with the same values. Rows belong together by their key,
/// those of the same key in their order.
Comparison compare(const Database& original, const Database& converted);

/// A difference as a line without its end.
std::string textOf(const Difference& difference);

}  // namespace HistoryDb
