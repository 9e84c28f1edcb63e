// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

class c4_Storage;
class c4_View;

namespace Companion {

/// A database file in the making: tables `[Key:I,Record:B]` with rows, written at once. The caller
/// sees to it that the file appears whole (`NewFile`). One thread at a time.
class NewDatabase {
 public:
  /// Begins a database in the file, which is empty or missing. Throws Trouble when it cannot be
  /// opened. Messages call it `name`, such as what it is going to be called; its path without one.
  explicit NewDatabase(const std::string& path, const std::string& name = "");
  ~NewDatabase();
  NewDatabase(const NewDatabase&) = delete;
  NewDatabase& operator=(const NewDatabase&) = delete;

  /// Adds a table; the rows that follow are in it.
  void addTable(const std::string& name);
  /// Appends a row. REQUIRES: a table was added.
  void addRow(std::int32_t key, std::string_view body);

  /// Writes all to the file. Throws Trouble when it cannot be written.
  void commit();

 private:
  const std::string _name;
  std::unique_ptr<c4_Storage> _storage;
  std::unique_ptr<c4_View> _table;
};

}  // namespace Companion
