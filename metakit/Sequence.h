// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "metakit/Codec.h"
#include "metakit/Column.h"
#include "metakit/Commit.h"
#include "metakit/Source.h"
#include "metakit/Structure.h"

namespace Metakit {

/// A table: rows of the properties of one structure, a column each. Shared by all views of it.
/// Either part of a datafile, with a fixed structure, or free-standing (a `c4_Row`, a view of its
/// own): then a property is added when a cell of it is set. Used by one thread at a time; nothing
/// is fatal.
class Sequence {
 public:
  /// A free-standing table without rows.
  Sequence();
  /// An empty table of a datafile; `source` is null while that has no file.
  Sequence(std::shared_ptr<Source> source, std::shared_ptr<const Structure> structure);
  /// A stored table, its walk from the number of rows on.
  /// REQUIRES: an `EntryReader` found the walk sound.
  Sequence(std::shared_ptr<Source> source, std::shared_ptr<const Structure> structure,
           WalkReader& walk);

  std::int32_t rows() const { return _rows; }
  const Structure& structure() const { return *_structure; }
  /// The description of the structure, valid until it changes.
  const char* description() const;

  /// The column of a property; null when there is none of that name and type.
  /// REQUIRES: `name` came from internName().
  Column* column(const std::string* name, char type) const {
    for (const Resolved& resolved : _resolved) {
      if (resolved.name == name && resolved.type == type) {
        return resolved.column;
      }
    }
    return resolve(name, type);
  }
  /// The same, adding the property to a free-standing table; `rows` describes a view's rows.
  Column* columnToSet(const std::string* name, char type, const Structure* rows = nullptr);
  /// REQUIRES: 0 <= index < number of fields.
  Column& columnAt(int index) const { return *_columns[static_cast<std::size_t>(index)]; }

  /// Adds a row of zeros, no bytes and no rows. False when the table can take no more.
  bool append();
  void remove(std::int32_t row, std::int32_t count);
  /// Gives a row the values of another one, which may be of this table: property by property, what
  /// the other has not is 0 or empty.
  void assign(std::int32_t row, Sequence& from, std::int32_t fromRow);
  /// Takes over all the rows of another table.
  void assign(Sequence& from);
  /// The same. REQUIRES: neither table stands below a row of the other.
  void copyRows(Sequence& from);

  /// Gives the table another structure: columns of the same name and type are kept.
  void restructure(std::shared_ptr<const Structure> structure);

  bool changed() const;
  /// Appends the number of rows and all columns to a walk and places the blocks that changed.
  void save(Commit& commit, Bytes& walk);
  void listBlocks(std::vector<Extent>& blocks) const;

 private:
  struct Resolved {
    const std::string* name;
    char type;
    Column* column;
  };

  Column* resolve(const std::string* name, char type) const;
  std::unique_ptr<Column> newColumn(const Field& field) const;
  std::unique_ptr<Column> storedColumn(const Field& field, WalkReader& walk) const;
  bool hasViews() const;
  void copyRow(std::int32_t row, Sequence& from, std::int32_t fromRow);
  void startColumnsAnew();
  std::shared_ptr<const Structure> nestedStructure(const Field& field) const;

  const std::shared_ptr<Source> _source;
  std::shared_ptr<const Structure> _structure;
  const bool _freeStanding;
  std::int32_t _rows = 0;
  std::vector<std::unique_ptr<Column>> _columns;
  bool _changed = false;
  /// Blocks of columns that the table no longer has.
  std::vector<Extent> _dropped;
  /// Properties asked for so far: a name is looked for once.
  mutable std::vector<Resolved> _resolved;
  mutable std::string _description;
};

}  // namespace Metakit
