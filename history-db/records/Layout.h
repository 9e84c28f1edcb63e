// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>

namespace HistoryDb {

/// What a field holds; always little-endian in a file.
enum class Type { Int16, Int32, Double };

/// Bytes that a value takes.
constexpr int sizeOf(Type type) {
  return type == Type::Int16 ? 2 : type == Type::Int32 ? 4 : 8;
}

/// A field of a record's header or of a period.
struct Field {
  const char* name;
  /// In bytes, from the start of the record or of the period.
  int offset;
  Type type;
  /// 1, or how many elements the array has.
  int count;

  constexpr int end() const { return offset + count * sizeOf(type); }
};

/// A ring of a record: index 0 is the current period, the last one is the oldest.
struct Ring {
  /// "days" or "months".
  const char* name;
  /// In bytes, from the start of the record.
  int offset;
  /// Of periods.
  int count;
};

/// A constant array, to be iterated.
template <class T>
struct List {
  const T* first;
  std::size_t size;

  constexpr const T* begin() const { return first; }
  constexpr const T* end() const { return first + size; }
  constexpr const T& operator[](std::size_t index) const { return first[index]; }
};

enum class Kind { System, Zone };

/// Where everything stands in the record of one kind and schema, in the order in which it stands
/// there: the one table of fields, which docs/history-records.md repeats and the compiler holds
/// against the classes of persist/history. What no field covers is padding. Constant; any thread.
struct Layout {
  Kind kind;
  /// 0 or 1.
  int schema;
  /// Of a record, in bytes.
  int size;
  /// Of a period, in bytes.
  int periodSize;
  List<Field> header;
  List<Ring> rings;
  /// Of every period of both rings.
  List<Field> period;

  /// The field of that name; null when there is none.
  const Field* headerField(const char* name) const;
  const Field* periodField(const char* name) const;
};

/// "System" or "Zone".
const char* nameOf(Kind kind);
/// "int16", "int32" or "double".
const char* nameOf(Type type);

/// REQUIRES: `schema` is 0 or 1.
const Layout& layoutOf(Kind kind, int schema);

/// The layout that a record of `size` bytes has; null when records have other sizes. The Zone
/// records of both schemas are laid out the same: for them it is that of schema 0.
const Layout* layoutOfSize(Kind kind, std::size_t size);

}  // namespace HistoryDb
