// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "metakit/Structure.h"

#include <algorithm>
#include <cstddef>
#include <mutex>
#include <numeric>
#include <unordered_set>
#include <utility>

namespace Metakit {

namespace {

/// Lower case by ASCII alone: what a file means must not depend on the locale.
char lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string lower(std::string_view text) {
  std::string result(text);
  for (char& c : result) {
    c = lower(c);
  }
  return result;
}

/// Reads a description from left to right.
class Parser {
 public:
  explicit Parser(std::string_view text) : _text(text) {}

  /// The whole text.
  bool root(Structure& structure) { return fields(structure, 0) && _at == _text.size(); }

 private:
  /// Fields up to the end of the text or a closing bracket, which is left where it is.
  bool fields(Structure& structure, int depth) {
    if (depth > maxNesting) {
      return false;
    }
    std::unordered_set<std::string> names;
    if (atFieldsEnd()) {
      return true;
    }
    do {
      Field one;
      if (++_fields > maxFields || !field(one, structure, depth)) {
        return false;
      }
      if (names.insert(lower(one.name)).second) {
        structure.fields.push_back(std::move(one));
      }
    } while (take(','));
    return atFieldsEnd();
  }

  bool field(Field& one, const Structure& enclosing, int depth) {
    const std::size_t end = std::min(_text.find_first_of(":[],", _at), _text.size());
    one.name = _text.substr(_at, end - _at);
    _at = end;
    if (take('[')) {
      one.type = 'V';
      return nested(one, enclosing, depth) && take(']');
    }
    return !take(':') || type(one.type);
  }

  bool nested(Field& one, const Structure& enclosing, int depth) {
    if (take('^')) {
      one.rows = &enclosing;
      return true;
    }
    one.ownRows = std::make_unique<Structure>();
    one.rows = one.ownRows.get();
    return fields(*one.ownRows, depth + 1);
  }

  bool type(char& type) {
    if (_at == _text.size()) {
      return false;
    }
    const char letter = lower(_text[_at++]);
    // Old files have memo properties; they hold bytes.
    type = letter == 'm' ? 'B' : static_cast<char>(letter - 'a' + 'A');
    return std::string_view("ilfdbsm").find(letter) != std::string_view::npos;
  }

  bool take(char c) {
    if (_at == _text.size() || _text[_at] != c) {
      return false;
    }
    ++_at;
    return true;
  }

  bool atFieldsEnd() const { return _at == _text.size() || _text[_at] == ']'; }

  std::string_view _text;
  std::size_t _at = 0;
  int _fields = 0;
};

}  // namespace

int Structure::find(std::string_view name) const {
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (isSameName(fields[i].name, name)) {
      return static_cast<int>(i);
    }
  }
  return -1;
}

std::string Structure::description() const {
  std::string text;
  for (const Field& field : fields) {
    if (&field != &fields.front()) {
      text += ',';
    }
    text += field.description();
  }
  return text;
}

std::string Field::description() const {
  if (type != 'V') {
    return name + ':' + type;
  }
  return name + '[' + (isRecursive() ? "^" : rows->description()) + ']';
}

int Structure::countFields() const {
  return std::accumulate(fields.begin(), fields.end(), 0, [](int sum, const Field& field) {
    return sum + 1 + (field.ownRows != nullptr ? field.ownRows->countFields() : 0);
  });
}

std::unique_ptr<Structure> Structure::clone() const {
  auto copy = std::make_unique<Structure>();
  for (const Field& field : fields) {
    Field one;
    one.name = field.name;
    one.type = field.type;
    if (field.ownRows != nullptr) {
      one.ownRows = field.ownRows->clone();
      one.rows = one.ownRows.get();
    } else if (field.isRecursive()) {
      one.rows = copy.get();
    }
    copy->fields.push_back(std::move(one));
  }
  return copy;
}

bool Structure::isSameAs(const Structure& other) const {
  if (fields.size() != other.fields.size()) {
    return false;
  }
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (!fields[i].isSameAs(other.fields[i])) {
      return false;
    }
  }
  return true;
}

bool Field::isSameAs(const Field& other) const {
  return type == other.type && isSameName(name, other.name) &&
         isRecursive() == other.isRecursive() &&
         (ownRows == nullptr || ownRows->isSameAs(*other.ownRows));
}

std::unique_ptr<Structure> parseStructure(std::string_view description) {
  auto structure = std::make_unique<Structure>();
  if (!Parser(description).root(*structure)) {
    return nullptr;
  }
  return structure;
}

bool isSameName(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) {
    return false;
  }
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (lower(a[i]) != lower(b[i])) {
      return false;
    }
  }
  return true;
}

FieldIndex::FieldIndex(const Structure& structure) {
  for (std::size_t i = 0; i < structure.fields.size(); ++i) {
    _indices.try_emplace(lower(structure.fields[i].name), static_cast<int>(i));
  }
}

int FieldIndex::find(std::string_view name) const {
  const auto found = _indices.find(lower(name));
  return found != _indices.end() ? found->second : -1;
}

const std::string* internName(std::string_view name) {
  // Never destroyed: static properties of other files may go after any static of this one.
  static auto& lock = *new std::mutex;
  static auto& names = *new std::unordered_map<std::string, std::string>;
  const std::lock_guard<std::mutex> guard(lock);
  return &names.try_emplace(lower(name), name).first->second;
}

}  // namespace Metakit
