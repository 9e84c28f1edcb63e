// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace Metakit {
class Datafile;
class File;
class Sequence;
}  // namespace Metakit

namespace HistoryDb {

class NewFile;

/// A database file in the making: tables `[Key:I,Record:B]` with rows, written at once. The caller
/// sees to it that the file appears whole (`NewFile`). One thread at a time.
class NewDatabase {
 public:
  /// Begins a database in the file, which is empty or missing. Throws Trouble when it cannot be
  /// opened.
  explicit NewDatabase(const std::string& path);
  explicit NewDatabase(const NewFile& file);
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
  NewDatabase(std::string name, std::unique_ptr<Metakit::File> file);

  const std::string _name;
  std::unique_ptr<Metakit::Datafile> _file;
  /// The table that was added last.
  std::shared_ptr<Metakit::Sequence> _table;
};

}  // namespace HistoryDb
