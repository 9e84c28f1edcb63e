// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Metakit {

struct Field;

/// How deep views may nest, in a description as in the rows of a recursive view.
constexpr int maxNesting = 32;

/// How many properties a description may have, nested ones included.
constexpr int maxFields = 1 << 14;

/// The properties of a view, in order: what a description such as "Key:I,Record:B" says.
/// A structure is built once and then only read, by any thread.
struct Structure {
  std::vector<Field> fields;

  /// Index of the field of that name, letter case aside; -1 when there is none.
  int find(std::string_view name) const;

  /// The description of the fields: "name:T" or "name[...]", separated by commas.
  std::string description() const;

  /// How many fields there are, those of nested rows included.
  int countFields() const;

  std::unique_ptr<Structure> clone() const;

  /// Whether both describe the same, letter case of names aside.
  bool isSameAs(const Structure& other) const;
};

/// One property of a view.
struct Field {
  std::string name;
  /// I, L, F, D, B, S or V.
  char type = 'S';
  /// Type V: the structure of the nested rows; that of the enclosing view itself when recursive.
  const Structure* rows = nullptr;
  /// Owner of `rows`, unless recursive.
  std::unique_ptr<Structure> ownRows;

  bool isRecursive() const { return rows != nullptr && ownRows == nullptr; }
  std::string description() const;
  bool isSameAs(const Field& other) const;
};

/// Reads a description; null when it is malformed, nests too deep or has too many properties. Of
/// two fields with one name in a view the first one counts, the other is left out.
std::unique_ptr<Structure> parseStructure(std::string_view description);

/// Whether two names are one, letter case aside.
bool isSameName(std::string_view a, std::string_view b);

/// The indices of a structure's fields by name, letter case aside. The structure must outlive it.
class FieldIndex {
 public:
  explicit FieldIndex(const Structure& structure);

  /// The field of that name; -1 when there is none.
  int find(std::string_view name) const;

 private:
  std::unordered_map<std::string, int> _indices;
};

/// The one string that stands for `name` in this process, whatever the case of its letters: equal
/// names give equal pointers. It lives until the process ends. Any thread.
const std::string* internName(std::string_view name);

}  // namespace Metakit
