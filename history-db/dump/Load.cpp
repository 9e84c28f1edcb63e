// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/dump/Load.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <iterator>
#include <limits>
#include <optional>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "history-db/base/Printable.h"
#include "history-db/dump/HistoryDocument.h"
#include "history-db/files/Descriptor.h"
#include "history-db/files/NewFile.h"
#include "history-db/records/Database.h"
#include "history-db/records/Layout.h"
#include "history-db/records/NewDatabase.h"
#include "history-db/records/Value.h"

namespace HistoryDb {

namespace {

/// The bytes of a document, one by one, from a file that is read piece by piece.
class Source {
 public:
  explicit Source(const std::string& path)
      : _path(path == "-" ? "standard input" : path),
        _file(path == "-" ? -1 : ::open(path.c_str(), O_RDONLY | O_CLOEXEC)),
        _descriptor(path == "-" ? STDIN_FILENO : _file.get()) {
    if (_descriptor < 0) {
      throwError(_path, "It cannot be opened", errno);
    }
  }

  bool isFile(const std::string& path) const {
    struct stat own = {};
    struct stat other = {};
    return ::fstat(_descriptor, &own) == 0 && ::stat(path.c_str(), &other) == 0 &&
           own.st_dev == other.st_dev && own.st_ino == other.st_ino;
  }

  bool atEnd() {
    if (_next == _end) {
      fill();
    }
    return _next == _end;
  }
  /// REQUIRES: not at the end.
  char next() const { return _buffer[_next]; }
  void advance() {
    if (_isLineFull) {
      ++_line;
      _column = 0;
    }
    _isLineFull = next() == '\n';
    ++_column;
    ++_next;
    if (++_tokenSize > longestToken) {
      fail("Here is a text of more than 16 MiB");
    }
  }

  /// To be called behind each token.
  void endToken() { _tokenSize = 0; }

  /// Complains about what was read last.
  [[noreturn]] void fail(const std::string& what) const {
    throw Trouble(fmt::format("{}:{}:{}: {}.", _path, _line, _column, what));
  }

 private:
  /// The parser keeps a token in memory, so it may not have any length.
  static constexpr std::size_t longestToken = 16U << 20U;

  void fill() {
    ssize_t size = -1;
    do {
      size = ::read(_descriptor, _buffer.data(), _buffer.size());
    } while (size < 0 && errno == EINTR);
    if (size < 0) {
      throwError(_path, "It cannot be read", errno);
    }
    _next = 0;
    _end = static_cast<std::size_t>(size);
  }

  const std::string _path;
  const Descriptor _file;
  const int _descriptor;
  std::array<char, 64 * 1024> _buffer;
  std::size_t _next = 0;
  std::size_t _end = 0;
  std::size_t _tokenSize = 0;
  std::size_t _line = 1;
  /// Of the byte that was read last, in bytes.
  std::size_t _column = 0;
  /// A line ends behind its end, so that what follows at once is still told to be in it.
  bool _isLineFull = false;
};

/// Lets the parser read a source; all of one source are at the same place.
class Characters {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = char;

  /// The end of any source.
  Characters() = default;
  explicit Characters(Source& source) : _source(&source) {}

  char operator*() const { return _source->next(); }
  Characters& operator++() {
    _source->advance();
    return *this;
  }
  /// Only to be asked against the end.
  bool operator!=(const Characters&) const { return !_source->atEnd(); }
  bool operator==(const Characters& end) const { return !(*this != end); }

 private:
  Source* _source = nullptr;
};

/// What a document consists of.
enum class Event { ObjectBegin, ObjectEnd, ArrayBegin, ArrayEnd, Member, Value };

/// What is to be done with what was read.
enum class Action {
  None,
  TakeVersion,
  TakeFormat,
  TakeSchema,
  TakeTableName,
  TakeKind,
  TakeExists,
  TakeRows,
  EndTable,
  TakeTable,
  TakeKey,
  TakeSize,
  TakeBytes,
  TakeIndex,
  TakeField,
  EndRecord
};

struct Step;
using Steps = std::vector<Step>;

/// What has to come next in a document. The members of an object stand in one order only, that of
/// `dump`: so a document is read in one go, and what is unknown, missing or twice is noticed alike.
struct Step {
  Event event;
  Action action = Action::None;
  /// Of a member.
  const char* name = nullptr;
  /// An index that is expected, or the offset of a field.
  int number = 0;
  Type type = Type::Int32;
  /// For an ArrayEnd: what comes any number of times before it, behind the opening brace.
  const Steps* repeated = nullptr;
};

void add(Steps& steps, const char* name, Action action) {
  steps.push_back({Event::Member, Action::None, name});
  steps.push_back({Event::Value, action});
}

void addArray(Steps& steps, const char* name, const Steps& elements) {
  steps.push_back({Event::Member, Action::None, name});
  steps.push_back({Event::ArrayBegin});
  steps.push_back({Event::ArrayEnd, Action::None, nullptr, 0, Type::Int32, &elements});
}

void addFields(Steps& steps, List<Field> fields, int offset) {
  for (const Field& field : fields) {
    steps.push_back({Event::Member, Action::None, field.name});
    if (field.count > 1) {
      steps.push_back({Event::ArrayBegin});
    }
    for (int i = 0; i < field.count; ++i) {
      steps.push_back({Event::Value, Action::TakeField, nullptr,
                       offset + field.offset + i * sizeOf(field.type), field.type});
    }
    if (field.count > 1) {
      steps.push_back({Event::ArrayEnd});
    }
  }
}

/// All of a record behind its size.
Steps stepsOfRecord(const Layout& layout) {
  Steps steps = {{Event::Member, Action::None, "header"}, {Event::ObjectBegin}};
  addFields(steps, layout.header, 0);
  steps.push_back({Event::ObjectEnd});
  for (const Ring& ring : layout.rings) {
    steps.push_back({Event::Member, Action::None, ring.name});
    steps.push_back({Event::ArrayBegin});
    for (int i = 0; i < ring.count; ++i) {
      steps.push_back({Event::ObjectBegin});
      steps.push_back({Event::Member, Action::None, "index"});
      steps.push_back({Event::Value, Action::TakeIndex, nullptr, i});
      addFields(steps, layout.period, ring.offset + i * layout.periodSize);
      steps.push_back({Event::ObjectEnd});
    }
    steps.push_back({Event::ArrayEnd});
  }
  steps.push_back({Event::ObjectEnd, Action::EndRecord});
  return steps;
}

/// The shapes of documents.
class Shapes {
 public:
  Shapes() {
    for (const Kind kind : {Kind::System, Kind::Zone}) {
      for (const int schema : {0, 1}) {
        _records.push_back({&layoutOf(kind, schema), stepsOfRecord(layoutOf(kind, schema))});
      }
    }
    start.push_back({Event::ObjectBegin});
    add(start, "historyDump", Action::TakeVersion);
    add(start, "format", Action::TakeFormat);

    add(_recordInTable, "key", Action::TakeKey);
    add(_recordInTable, "size", Action::TakeSize);
    add(bytes, "bytes", Action::TakeBytes);
    bytes.push_back({Event::ObjectEnd, Action::EndRecord});

    recordOfLine.push_back({Event::ObjectBegin});
    add(recordOfLine, "table", Action::TakeTable);
    recordOfLine.insert(recordOfLine.end(), _recordInTable.begin(), _recordInTable.end());

    for (Steps* const table : {&_table, &_tableWithRecords}) {
      add(*table, "name", Action::TakeTableName);
      add(*table, "kind", Action::TakeKind);
      add(*table, "exists", Action::TakeExists);
      add(*table, "rows", Action::TakeRows);
    }
    _table.push_back({Event::ObjectEnd});
    addArray(_tableWithRecords, "records", _recordInTable);
    _tableWithRecords.push_back({Event::ObjectEnd, Action::EndTable});
    for (Steps* const rest : {&restOfHead, &restOfDocument}) {
      add(*rest, "schema", Action::TakeSchema);
      addArray(*rest, "tables", rest == &restOfHead ? _table : _tableWithRecords);
      rest->push_back({Event::ObjectEnd});
    }
  }
  Shapes(const Shapes&) = delete;
  Shapes& operator=(const Shapes&) = delete;

  const Steps& record(const Layout& layout) const {
    for (const auto& [own, steps] : _records) {
      if (own == &layout) {
        return steps;
      }
    }
    return bytes;
  }

  /// Up to the format; behind it, one in the format json, or the first line in the format jsonl.
  Steps start;
  Steps restOfDocument;
  Steps restOfHead;
  /// Another line in the format jsonl, up to the size.
  Steps recordOfLine;
  /// Behind the size, of a record that has no layout.
  Steps bytes;

 private:
  Steps _recordInTable;
  Steps _table;
  Steps _tableWithRecords;
  std::vector<std::pair<const Layout*, Steps>> _records;
};

/// Takes what the parser reads, holds it against what has to come, and fills the database.
class Loader {
 public:
  Loader(Source& source, NewDatabase& database) : _source(source), _database(database) {}

  void load() {
    parse(_shapes.start);
    if (_inLines) {
      // The head has listed the tables; now their records come.
      _table = 0;
    }
    while (!atEnd()) {
      if (!_inLines) {
        _source.advance();
        fail("The document is over, but something follows");
      }
      parse(_shapes.recordOfLine);
    }
    endTables(_tables.size());
    if (_schema != _schemaFound) {
      fail(fmt::format("The document's schema is \"{}\", but that of its records is \"{}\"",
                       nameOf(_schema), nameOf(_schemaFound)));
    }
  }

  // What the parser calls.

  bool null() { return value({"null", {}, {}, nullptr}); }
  bool boolean(bool is) { return value({is ? "true" : "false", {}, {}, nullptr}); }
  bool number_integer(std::int64_t number) {
    // The only one that is not negative here is -0.
    const double real = number == 0 ? -0.0 : static_cast<double>(number);
    return value({"an integer", number, real, nullptr});
  }
  bool number_unsigned(std::uint64_t number) {
    constexpr auto most = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    return value({"an integer", static_cast<std::int64_t>(std::min(number, most)),
                  static_cast<double>(number), nullptr});
  }
  bool number_float(double number, const std::string& /*digits*/) {
    return value({"a fraction", {}, number, nullptr});
  }
  bool string(std::string& text) { return value({"a text", {}, {}, &text}); }
  bool binary(std::vector<std::uint8_t>& /*bytes*/) { return false; }
  bool start_object(std::size_t /*size*/) {
    next(Event::ObjectBegin, "an object");
    return true;
  }
  bool key(std::string& name) {
    if (step().event != Event::Member || name != step().name) {
      mismatch("the member \"" + printable(name) + "\"");
    }
    _places.back().name = step().name;
    next(Event::Member, "");
    return true;
  }
  bool end_object() {
    next(Event::ObjectEnd, "the end of the object");
    return true;
  }
  bool start_array(std::size_t /*size*/) {
    next(Event::ArrayBegin, "an array");
    return true;
  }
  bool end_array() {
    next(Event::ArrayEnd, "the end of the array");
    return true;
  }
  template <class Error>
  bool parse_error(std::size_t /*position*/, const std::string& /*token*/, const Error& /*error*/) {
    // Its words may hold anything that stands in the document.
    fail(_source.atEnd() ? "The document ends too early, or is no JSON"
                         : "This is no JSON, or a number that is too large");
  }

 private:
  /// A value of the document: what it is, in words, and what can be made of it.
  struct Value {
    const char* what;
    std::optional<std::int64_t> integer;
    std::optional<double> real;
    const std::string* text;
  };

  /// A list of steps and the one that is next.
  struct Frame {
    const Steps* steps;
    std::size_t next;
  };

  /// An object or array that is open: the member or the index that is read.
  struct Place {
    bool isArray;
    const char* name;
    std::size_t index;
  };

  /// What the document says of a table, and how much of that has come.
  struct Content {
    bool isListed = false;
    bool exists = false;
    std::int64_t rows = 0;
    std::int64_t rowsRead = 0;
  };

  /// REQUIRES: a value is expected, that is, `_frames` is not empty.
  const Step& step() const { return (*_frames.back().steps)[_frames.back().next]; }

  void push(const Steps& steps) { _frames.push_back({&steps, 0}); }

  void parse(const Steps& steps) {
    push(steps);
    nlohmann::json::sax_parse(Characters(_source), Characters(), this,
                              nlohmann::json::input_format_t::json, false);
  }

  /// Whether nothing but white space follows.
  bool atEnd() {
    for (; !_source.atEnd(); _source.advance()) {
      if (std::string_view(" \t\r\n").find(_source.next()) == std::string_view::npos) {
        return false;
      }
      _source.endToken();
    }
    return true;
  }

  bool value(const Value& value) {
    if (step().event != Event::Value) {
      mismatch(value.what);
    }
    take(value);
    next(Event::Value, value.what);
    return true;
  }

  /// Goes on behind an event; complains when it is none that is expected.
  void next(Event event, const char* what) {
    _source.endToken();
    const Step* current = &step();
    if (current->event == Event::ArrayEnd && current->repeated != nullptr &&
        event == Event::ObjectBegin) {
      push(*current->repeated);
      open(false);
      return;
    }
    if (current->event != event) {
      mismatch(what);
    }
    const Action action = current->action;
    if (action == Action::EndTable) {
      checkRows(_table);
    }
    ++_frames.back().next;
    if (event == Event::ObjectBegin || event == Event::ArrayBegin) {
      open(event == Event::ArrayBegin);
    } else if (event != Event::Member) {
      close(event != Event::Value);
    }
    if (action == Action::TakeFormat) {
      push(_inLines ? _shapes.restOfHead : _shapes.restOfDocument);
    } else if (action == Action::TakeSize) {
      push(_layout != nullptr ? _shapes.record(*_layout) : _shapes.bytes);
    } else if (action == Action::EndRecord) {
      endRecord();
    }
    while (!_frames.empty() && _frames.back().next == _frames.back().steps->size()) {
      _frames.pop_back();
    }
  }

  void open(bool isArray) { _places.push_back({isArray, nullptr, 0}); }

  /// Goes on in the object or array behind a value, or one that ends here.
  void close(bool isEnd) {
    if (isEnd) {
      _places.pop_back();
    }
    if (!_places.empty()) {
      _places.back().name = nullptr;
      ++_places.back().index;
    }
  }

  void take(const Value& value) {
    const Step& step = this->step();
    switch (step.action) {
      case Action::TakeVersion:
        if (integer(value) != HistoryDocument::version) {
          fail(fmt::format("This program knows documents of version {} only",
                           HistoryDocument::version));
        }
        break;
      case Action::TakeFormat:
        _inLines = oneOf(value, {"json", "jsonl"}) == 1;
        break;
      case Action::TakeSchema:
        _schema = schemas[oneOf(value, {nameOf(schemas[0]), nameOf(schemas[1]), nameOf(schemas[2]),
                                        nameOf(schemas[3])})];
        break;
      case Action::TakeTableName:
        takeTableName(value);
        break;
      case Action::TakeKind:
        oneOf(value, {nameOf(tableNames[_table].kind)});
        break;
      case Action::TakeExists:
        takeExists(value);
        break;
      case Action::TakeRows:
        _tables[_table].rows = integer(value, 0, _tables[_table].exists ? largest : 0);
        break;
      case Action::TakeTable:
        takeTable(value);
        break;
      case Action::TakeKey:
        _key = static_cast<std::int32_t>(
            integer(value, std::numeric_limits<std::int32_t>::min(), largest));
        break;
      case Action::TakeSize:
        takeSize(value);
        break;
      case Action::TakeBytes:
        takeBytes(value);
        break;
      case Action::TakeIndex:
        integer(value, step.number, step.number);
        break;
      case Action::TakeField:
        takeField(value, step);
        break;
      default:
        break;
    }
  }

  void takeTableName(const Value& value) {
    const std::size_t index = table(value);
    // Documents have them in this order; so has the database, whatever was asked for.
    if (_tables[index].isListed || index < _table) {
      fail("The table is not where it belongs");
    }
    _table = index;
    _tables[index].isListed = true;
  }

  void takeExists(const Value& value) {
    const std::string_view word = value.what;
    if (word != "true" && word != "false") {
      fail(fmt::format("Here should be true or false, not {}", word));
    }
    if (word == "true") {
      _tables[_table].exists = true;
      _database.addTable(tableNames[_table].name);
    }
  }

  /// The table of a line.
  void takeTable(const Value& value) {
    const std::size_t index = table(value);
    if (index < _table) {
      fail("The record stands behind those of a later table");
    }
    if (index != _filled) {
      endTables(index);
      _database.addTable(tableNames[index].name);
      _filled = index;
    }
  }

  /// The number of the table that is named.
  std::size_t table(const Value& value) const {
    return oneOf(value, {tableNames[0].name, tableNames[1].name, tableNames[2].name});
  }

  /// Goes on to a later table.
  void endTables(std::size_t end) {
    for (; _table < end; ++_table) {
      checkRows(_table);
    }
  }

  void checkRows(std::size_t table) const {
    const Content& content = _tables[table];
    if (content.rowsRead != content.rows) {
      fail(fmt::format("{} should have {} records and has {}", tableNames[table].name, content.rows,
                       content.rowsRead));
    }
  }

  void takeSize(const Value& value) {
    Content& content = _tables[_table];
    if (content.rowsRead == content.rows) {
      fail(fmt::format("{} should have no more than {} records", tableNames[_table].name,
                       content.rows));
    }
    _size = static_cast<std::size_t>(integer(value, 0, largest));
    const Kind kind = tableNames[_table].kind;
    _layout = layoutOfSize(kind, _size);
    _schemaFound = combined(_schemaFound, schemaOf(kind, _size));
    _body.assign(_layout != nullptr ? _size : 0, '\0');
  }

  void takeBytes(const Value& value) {
    static constexpr std::string_view digits = "0123456789abcdef";
    const auto digit = [&](char c) {
      const std::size_t found = digits.find(c);
      if (found == std::string_view::npos) {
        fail("These should be hexadecimal digits");
      }
      return found;
    };
    if (value.text == nullptr || value.text->size() != 2 * _size) {
      fail(fmt::format("Here should be {} bytes in hexadecimal digits", _size));
    }
    _body.reserve(_size);
    for (std::size_t i = 0; i < _size; ++i) {
      const std::size_t high = digit((*value.text)[2 * i]);
      _body += static_cast<char>(high << 4U | digit((*value.text)[2 * i + 1]));
    }
  }

  void takeField(const Value& value, const Step& step) {
    if (step.type != Type::Double) {
      const std::int64_t most =
          step.type == Type::Int16 ? std::numeric_limits<std::int16_t>::max() : largest;
      putBits(_body, step.number, step.type,
              static_cast<std::uint64_t>(integer(value, -most - 1, most)));
      return;
    }
    std::optional<std::uint64_t> bits;
    if (value.real) {
      bits = bitsOf(*value.real);
    } else if (value.text != nullptr) {
      bits = bitsOfName(*value.text);
    }
    if (!bits) {
      fail(
          fmt::format("Here should be a number, \"NaN\", \"NaN:\" with 16 hexadecimal digits, "
                      "\"Infinity\" or \"-Infinity\", not {}",
                      described(value)));
    }
    putBits(_body, step.number, step.type, *bits);
  }

  void endRecord() {
    _database.addRow(_key, _body);
    ++_tables[_table].rowsRead;
  }

  std::int64_t integer(const Value& value, std::int64_t least = 0,
                       std::int64_t most = largest) const {
    if (!value.integer) {
      fail(fmt::format("Here should be an integer, not {}", described(value)));
    }
    if (*value.integer < least || *value.integer > most) {
      fail(least == most ? fmt::format("Here should be {}", least)
                         : fmt::format("Here should be an integer from {} to {}", least, most));
    }
    return *value.integer;
  }

  /// The index of a text in a list that holds it.
  std::size_t oneOf(const Value& value, std::initializer_list<std::string_view> texts) const {
    std::string list;
    std::size_t index = 0;
    for (const std::string_view known : texts) {
      if (value.text != nullptr && *value.text == known) {
        return index;
      }
      list += fmt::format("{}\"{}\"", index == 0 ? "" : " or ", known);
      ++index;
    }
    fail(fmt::format("Here should be {}, not {}", list, described(value)));
  }

  static std::string described(const Value& value) {
    return value.text != nullptr ? "\"" + printable(*value.text) + "\"" : value.what;
  }

  [[noreturn]] void mismatch(const std::string& what) const {
    const Step& step = this->step();
    std::string wanted;
    switch (step.event) {
      case Event::ObjectBegin:
        wanted = "an object";
        break;
      case Event::ObjectEnd:
        wanted = "the end of the object";
        break;
      case Event::ArrayBegin:
        wanted = "an array";
        break;
      case Event::ArrayEnd:
        wanted =
            step.repeated != nullptr ? "an object or the end of the array" : "the end of the array";
        break;
      case Event::Member:
        wanted = fmt::format("the member \"{}\"", step.name);
        break;
      default:
        wanted = "a value";
    }
    fail(fmt::format("Here should be {}, not {}", wanted, what));
  }

  /// Complains about what was read last, and tells where in the document that is.
  [[noreturn]] void fail(const std::string& what) const {
    std::string path;
    for (const Place& place : _places) {
      if (place.isArray) {
        path += fmt::format("[{}]", place.index);
      } else if (place.name != nullptr) {
        path += fmt::format("{}{}", path.empty() ? "" : ".", place.name);
      }
    }
    _source.fail(path.empty() ? what : path + ": " + what);
  }

  static constexpr std::int64_t largest = std::numeric_limits<std::int32_t>::max();
  static constexpr std::array<SchemaFound, 4> schemas = {SchemaFound::Either, SchemaFound::Zero,
                                                         SchemaFound::One, SchemaFound::Mixed};

  Source& _source;
  NewDatabase& _database;
  const Shapes _shapes;
  std::vector<Frame> _frames;
  std::vector<Place> _places;

  bool _inLines = false;
  SchemaFound _schema = SchemaFound::Either;
  SchemaFound _schemaFound = SchemaFound::Either;
  std::array<Content, tableNames.size()> _tables;
  /// Of `_tables`, the one that is read.
  std::size_t _table = 0;
  /// That of the lines before; none at first.
  std::size_t _filled = tableNames.size();

  // The record that is read.
  std::int32_t _key = 0;
  std::size_t _size = 0;
  const Layout* _layout = nullptr;
  std::string _body;
};

}  // namespace

Status load(const LoadOptions& options, Console& /*console*/) {
  Source source(options.document);
  if (source.isFile(options.file)) {
    throw Trouble(options.file + ": It is the document itself.");
  }
  NewFile file(options.file, options.force);
  NewDatabase database(file);
  Loader(source, database).load();
  database.commit();
  file.finish();
  return Status::Fine;
}

}  // namespace HistoryDb
