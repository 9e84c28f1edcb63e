// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <memory>
#include <string>

// The interface to datafiles that the rest of the project is written against: the part of Metakit's
// `<mk4.h>` that it needs, under the names that has. Code that uses only what is declared here, and
// nothing in namespace Metakit, builds against the library itself as well.
//
// Rows and views refer to tables that they share. One thread at a time may use a storage and what
// came from it; properties may be made and used by any thread. Nothing is fatal.
//
// A row number outside 0 <= row < GetSize() is safe: the cells of such a row read as 0 or empty,
// and what would change it changes nothing. An installed Metakit may not check row numbers.

namespace Metakit {
class Column;
class Datafile;
class Sequence;
struct Structure;
}  // namespace Metakit

using t4_byte = unsigned char;
using t4_i32 = std::int32_t;
using t4_i64 = std::int64_t;

class c4_RowRef;

/// Bytes of any length. Refers to the bytes of its maker, or owns a copy that all copies of the
/// object share.
class c4_Bytes {
 public:
  c4_Bytes() = default;
  /// The caller's bytes, which must outlive this object and its copies.
  c4_Bytes(const void* bytes, int size);
  /// The same, or a copy of them.
  c4_Bytes(const void* bytes, int size, bool copy);

  const t4_byte* Contents() const { return _contents; }
  int Size() const { return _size; }

 private:
  const t4_byte* _contents = nullptr;
  int _size = 0;
  std::shared_ptr<const t4_byte> _copy;
};

/// Names a column: a name, letter case aside, and a type (I, L, F, D, B, S or V). Any thread.
class c4_Property {
 public:
  c4_Property(char type, const char* name);

  char Type() const { return _type; }
  /// As it was spelled the first time that this process named such a property.
  const char* Name() const { return _name->c_str(); }

 private:
  template <char>
  friend class c4_Ref;

  char _type;
  const std::string* _name;
};

/// A row of a view, by reference: valid as long as a view of the table exists and the row stands
/// where it stood. The row need not exist.
class c4_RowRef {
 private:
  friend class c4_Row;
  friend class c4_View;
  template <char>
  friend class c4_Ref;

  c4_RowRef(Metakit::Sequence* table, int row) : _table(table), _row(row) {}

  bool exists() const;

  Metakit::Sequence* _table;
  int _row;
};

/// A row by itself, which owns its values: it has those properties that were assigned to it.
class c4_Row : public c4_RowRef {
 public:
  c4_Row();
  c4_Row(const c4_Row& other);
  c4_Row& operator=(const c4_Row& other);
  ~c4_Row() = default;

 private:
  std::shared_ptr<Metakit::Sequence> _own;
};

/// A table, shared with all copies of the view.
class c4_View {
 public:
  /// A table of its own without rows, made when it is needed; it has the properties of its rows.
  c4_View() = default;

  int GetSize() const;
  c4_RowRef operator[](int row) const { return {_table.get(), row}; }

  /// Appends a copy of a row and gives its index; -1 when the table can take no more. Properties
  /// that the table has and the row has not are 0 or empty, others are left out. A row that does
  /// not exist has no properties.
  int Add(const c4_RowRef& row);
  /// Replaces a row by a copy of another one, with the same rule.
  void SetAt(int index, const c4_RowRef& row);
  /// Removes up to `count` rows, as many as exist from `index` on; none if `index` is negative.
  void RemoveAt(int index, int count = 1);

  /// The properties, such as "Key:I,Record:B"; valid until they change.
  const char* Description() const;

 protected:
  explicit c4_View(std::shared_ptr<Metakit::Sequence> table);

 private:
  friend class c4_Storage;
  template <char>
  friend class c4_Ref;

  std::shared_ptr<Metakit::Sequence> _table;
};

/// A cell: a property of a row. Reading one that the row has not gives 0 or nothing; assigning it
/// adds the property to a `c4_Row` or a view of its own and is ignored by a view of a file.
template <char type>
class c4_Ref {
 public:
  c4_Ref(const c4_RowRef& row, const c4_Property& property) : _row(row), _name(property._name) {}

 protected:
  t4_i32 readInt() const;
  t4_i64 readWide() const;
  c4_Bytes readBytes(bool lastsBeyondCommit) const;
  c4_View readView() const;
  void writeInt(t4_i32 value);
  void writeWide(t4_i64 value);
  void writeBytes(const void* bytes, int size);
  void writeView(const c4_View& view);

 private:
  /// The column that has the cell; null when the row or the property does not exist.
  Metakit::Column* column() const;
  /// The same, adding the property where that is possible; `rows` describes a view's rows.
  Metakit::Column* columnToSet(const Metakit::Structure* rows = nullptr);

  c4_RowRef _row;
  const std::string* _name;
};

extern template class c4_Ref<'I'>;
extern template class c4_Ref<'L'>;
extern template class c4_Ref<'F'>;
extern template class c4_Ref<'D'>;
extern template class c4_Ref<'B'>;
extern template class c4_Ref<'S'>;
extern template class c4_Ref<'V'>;

/// A cell of type I, 32 bits.
class c4_IntRef : public c4_Ref<'I'> {
 public:
  using c4_Ref::c4_Ref;
  operator t4_i32() const { return readInt(); }
  c4_IntRef& operator=(t4_i32 value);
};

/// A cell of type L, 64 bits.
class c4_LongRef : public c4_Ref<'L'> {
 public:
  using c4_Ref::c4_Ref;
  operator t4_i64() const { return readWide(); }
  c4_LongRef& operator=(t4_i64 value);
};

/// A cell of type F, kept in single precision.
class c4_FloatRef : public c4_Ref<'F'> {
 public:
  using c4_Ref::c4_Ref;
  operator double() const;
  c4_FloatRef& operator=(double value);
};

/// A cell of type D, double precision.
class c4_DoubleRef : public c4_Ref<'D'> {
 public:
  using c4_Ref::c4_Ref;
  operator double() const;
  c4_DoubleRef& operator=(double value);
};

/// A cell of type B.
class c4_BytesRef : public c4_Ref<'B'> {
 public:
  using c4_Ref::c4_Ref;
  /// The bytes of the cell, valid until the row or the view is changed.
  operator c4_Bytes() const { return readBytes(true); }
  /// Keeps a copy of the bytes.
  c4_BytesRef& operator=(const c4_Bytes& value);
};

/// A cell of type S, up to its NUL.
class c4_StringRef : public c4_Ref<'S'> {
 public:
  using c4_Ref::c4_Ref;
  /// The string in the cell itself, valid until the row or the view is changed or committed; empty
  /// when a file has one without an end.
  operator const char*() const;
  /// Keeps a copy of the string.
  c4_StringRef& operator=(const char* value);
};

/// A cell of type V, a nested table.
class c4_ViewRef : public c4_Ref<'V'> {
 public:
  using c4_Ref::c4_Ref;
  /// The nested table itself: what is changed in it is changed in the row. Not to be used any more
  /// once the row was removed and that committed.
  operator c4_View() const { return readView(); }
  /// Takes over a copy of the rows.
  c4_ViewRef& operator=(const c4_View& value);
};

/// A property of one type, which gives the cell of a row.
template <char type, class Ref>
class c4_TypedProperty : public c4_Property {
 public:
  c4_TypedProperty(const char* name) : c4_Property(type, name) {}

  Ref operator()(const c4_RowRef& row) const { return Ref(row, *this); }
};

using c4_IntProp = c4_TypedProperty<'I', c4_IntRef>;
using c4_LongProp = c4_TypedProperty<'L', c4_LongRef>;
using c4_FloatProp = c4_TypedProperty<'F', c4_FloatRef>;
using c4_DoubleProp = c4_TypedProperty<'D', c4_DoubleRef>;
using c4_BytesProp = c4_TypedProperty<'B', c4_BytesRef>;
using c4_StringProp = c4_TypedProperty<'S', c4_StringRef>;
using c4_ViewProp = c4_TypedProperty<'V', c4_ViewRef>;

/// What a storage tells of its file. Owned by the storage.
class c4_Strategy {
 public:
  /// Whether the file is open and sound.
  bool IsValid() const { return _valid; }

  /// 0, or the C library's number of the error that the last commit met.
  int _failure = 0;

 private:
  friend class c4_Storage;
  bool _valid = false;
};

/// A datafile: a table of one row whose cells are the views of the file.
class c4_Storage : public c4_View {
 public:
  /// Opens a file: mode 0 for reading, mode 1 for reading and writing; then a missing file is
  /// created, and one that may only be read is opened for reading.
  /// A file that is damaged, is no datafile or cannot be opened acts as an empty one, says so in
  /// Strategy() and is never written.
  c4_Storage(const char* fileName, int mode);
  /// Closes the file. What was not committed is lost.
  ~c4_Storage();
  c4_Storage(const c4_Storage&) = delete;
  c4_Storage& operator=(const c4_Storage&) = delete;

  /// Writes all changes to the file, which holds all of them or none at any moment. True when they
  /// are written; a storage without changes writes nothing. `full` makes no difference.
  bool Commit(bool full = false);

  /// The view that `description` tells, such as "name[Key:I,Record:B]". A missing one is added
  /// behind the others; one of another structure is restructured: properties of the same name and
  /// type keep their values. All of it is in memory until Commit().
  c4_View GetAs(const char* description);

  /// The properties of the file, or of the view `name`; null when there is no such view. Valid
  /// until they change.
  const char* Description(const char* name = nullptr);

  c4_Strategy& Strategy() const { return *_strategy; }

 private:
  std::unique_ptr<Metakit::Datafile> _datafile;
  std::unique_ptr<c4_Strategy> _strategy;
};
