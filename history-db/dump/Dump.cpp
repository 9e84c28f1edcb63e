// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/dump/Dump.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>
#include <set>

#include "history-db/base/Printable.h"
#include "history-db/dump/HistoryDocument.h"
#include "history-db/records/Database.h"
#include "history-db/records/Layout.h"
#include "history-db/records/Value.h"

namespace HistoryDb {

namespace {

/// A table with those of its rows that were asked for.
struct Selected {
  const Table* table;
  std::vector<const Row*> rows;
};

std::vector<Selected> select(const DumpOptions& options, const Database& database) {
  const std::set<std::string> wantedTables(options.tables.begin(), options.tables.end());
  const std::set<std::int32_t> wantedKeys(options.keys.begin(), options.keys.end());
  for (const std::string& wanted : wantedTables) {
    const auto isIt = [&](const TableName& table) { return wanted == table.name; };
    if (std::none_of(tableNames.begin(), tableNames.end(), isIt)) {
      std::string names;
      for (const TableName& table : tableNames) {
        names += std::string(names.empty() ? "" : ", ") + table.name;
      }
      throw Trouble(fmt::format("{}: There is no history table \"{}\"; there can be {}.",
                                options.file, printable(wanted), names));
    }
  }
  std::vector<Selected> all;
  std::set<std::int32_t> missing = wantedKeys;
  for (const Table& table : database.tables()) {
    if (!wantedTables.empty() && wantedTables.count(table.name.name) == 0) {
      continue;
    }
    Selected selected = {&table, {}};
    for (const Row& row : table.rows) {
      if (wantedKeys.empty() || wantedKeys.count(row.key) != 0) {
        selected.rows.push_back(&row);
        missing.erase(row.key);
      }
    }
    all.push_back(std::move(selected));
  }
  if (!missing.empty()) {
    throw Trouble(
        fmt::format("{}: There is no record with the key {}.", options.file, *missing.begin()));
  }
  return all;
}

void tellWhatIsLeftOut(const DumpOptions& options, const Database& database, Console& console) {
  const auto& views = database.otherViews();
  if (views.empty()) {
    return;
  }
  constexpr std::size_t most = 10;
  std::string names;
  for (std::size_t i = 0; i < std::min(views.size(), most); ++i) {
    names += (i > 0 ? ", " : "") + printable(views[i]);
  }
  if (views.size() > most) {
    names += fmt::format(" and {} more", views.size() - most);
  }
  console.tell(options.file + ": It holds more than histories, which is left out: " + names + ".");
}

/// Gathers what is printed.
class Output {
 public:
  explicit Output(Console& console) : _console(console) {}

  Output& operator<<(std::string_view text) {
    _text += text;
    return *this;
  }

  Output& operator<<(std::int64_t value) {
    const fmt::format_int digits(value);
    _text.append(digits.data(), digits.size());
    return *this;
  }

  /// The value that stands at `offset`; as text in quotes, if it is to be quoted, when it is none
  /// that JSON has a number for.
  void value(std::string_view record, int offset, Type type, bool quoted) {
    const std::size_t begin = _text.size();
    appendValue(_text, record, offset, type);
    const char last = _text.back();
    if (quoted && type == Type::Double && (_text[begin] == 'N' || last == 'y')) {
      _text.insert(begin, 1, '"');
      _text += '"';
    }
  }

  /// In hexadecimal digits.
  void bytes(std::string_view bytes) {
    static const char* const digits = "0123456789abcdef";
    for (const char byte : bytes) {
      const auto value = static_cast<unsigned char>(byte);
      _text += digits[value >> 4U];
      _text += digits[value & 15U];
      printMuch();
    }
  }

  /// Prints what has been gathered once that is much. To be called now and then.
  void printMuch() {
    constexpr std::size_t much = 64 * 1024;
    if (_text.size() >= much) {
      print();
    }
  }

  void print() {
    _console.print(_text);
    _text.clear();
  }

 private:
  Console& _console;
  std::string _text;
};

/// Writes the document in the formats json and jsonl; in the latter a record has one line.
class JsonDump {
 public:
  JsonDump(Output& output, bool inLines) : _output(output), _inLines(inLines) {}

  void dump(const std::vector<Selected>& tables) {
    SchemaFound schema = SchemaFound::Either;
    for (const Selected& selected : tables) {
      for (const Row* row : selected.rows) {
        schema = combined(schema, schemaOf(selected.table->name.kind, row->body.size()));
      }
    }
    _output << "{\"historyDump\": " << HistoryDocument::version << ", \"format\": \""
            << (_inLines ? "jsonl" : "json") << "\", \"schema\": \"" << nameOf(schema)
            << "\", \"tables\": [" << _newLine;
    for (const Selected& selected : tables) {
      table(selected, &selected == &tables.back());
    }
    _output << "]}\n";
    if (_inLines) {
      for (const Selected& selected : tables) {
        for (const Row* row : selected.rows) {
          _output << "{\"table\": \"" << selected.table->name.name << "\", ";
          record(selected.table->name.kind, *row);
          _output << "\n";
        }
      }
    }
  }

 private:
  void table(const Selected& selected, bool isLast) {
    const Table& table = *selected.table;
    _output << "{\"name\": \"" << table.name.name << "\", \"kind\": \"" << nameOf(table.name.kind)
            << "\", \"exists\": " << (table.exists ? "true" : "false")
            << ", \"rows\": " << static_cast<std::int64_t>(selected.rows.size());
    if (!_inLines) {
      _output << ", \"records\": [\n";
      for (const Row* row : selected.rows) {
        _output << "{";
        record(table.name.kind, *row);
        _output << (row == selected.rows.back() ? "\n" : ",\n");
      }
      _output << "]";
    }
    _output << "}" << (isLast ? "" : _inLines ? ", " : ",") << _newLine;
  }

  /// All of a record behind its opening brace.
  void record(Kind kind, const Row& row) {
    const Layout* const layout = layoutOfSize(kind, row.body.size());
    _output << "\"key\": " << row.key
            << ", \"size\": " << static_cast<std::int64_t>(row.body.size());
    if (layout == nullptr) {
      _output << ", \"bytes\": \"";
      _output.bytes(row.body);
      _output << "\"}";
      _output.printMuch();
      return;
    }
    _output << ", \"header\": {";
    fields(row.body, 0, layout->header);
    _output << "}";
    for (const Ring& ring : layout->rings) {
      _output << ", \"" << ring.name << "\": [" << _newLine;
      for (int i = 0; i < ring.count; ++i) {
        _output << "{\"index\": " << i << ", ";
        fields(row.body, ring.offset + i * layout->periodSize, layout->period);
        _output << (i == ring.count - 1 ? "}" : _inLines ? "}, " : "},") << _newLine;
      }
      _output << "]";
    }
    _output << "}";
    _output.printMuch();
  }

  void fields(std::string_view body, int offset, List<Field> fields) {
    for (const Field& field : fields) {
      _output << (&field == fields.begin() ? "\"" : ", \"") << field.name << "\": ";
      if (field.count > 1) {
        _output << "[";
      }
      for (int i = 0; i < field.count; ++i) {
        _output << (i > 0 ? ", " : "");
        _output.value(body, offset + field.offset + i * sizeOf(field.type), field.type, true);
      }
      if (field.count > 1) {
        _output << "]";
      }
    }
  }

  Output& _output;
  const bool _inLines;
  const char* const _newLine = _inLines ? "" : "\n";
};

/// Writes the format csv: a row for each period, and one for a record that has none.
class CsvDump {
 public:
  explicit CsvDump(Output& output) : _output(output) {
    for (const Kind kind : {Kind::System, Kind::Zone}) {
      for (const int schema : {0, 1}) {
        const Layout& layout = layoutOf(kind, schema);
        add(layout.header, _header);
        add(layout.period, _period);
      }
    }
  }

  void dump(const std::vector<Selected>& tables) {
    _output << "table,key,size,bytes";
    names(_header);
    _output << ",ring,index";
    names(_period);
    _output << endOfLine;
    for (const Selected& selected : tables) {
      for (const Row* row : selected.rows) {
        record(selected.table->name, *row);
        _output.printMuch();
      }
    }
  }

 private:
  static constexpr const char* endOfLine = "\r\n";

  /// The columns of a field: as many as the longest of its name has elements.
  struct Column {
    const char* name;
    int count;
  };

  static void add(List<Field> fields, std::vector<Column>& columns) {
    for (const Field& field : fields) {
      const auto isIt = [&](const Column& column) {
        return std::strcmp(column.name, field.name) == 0;
      };
      const auto found = std::find_if(columns.begin(), columns.end(), isIt);
      if (found == columns.end()) {
        columns.push_back({field.name, field.count});
      } else {
        found->count = std::max(found->count, field.count);
      }
    }
  }

  void names(const std::vector<Column>& columns) {
    for (const Column& column : columns) {
      for (int i = 0; i < column.count; ++i) {
        _output << "," << column.name;
        if (column.count > 1) {
          _output << "[" << i << "]";
        }
      }
    }
  }

  void record(const TableName& table, const Row& row) {
    const Layout* const layout = layoutOfSize(table.kind, row.body.size());
    if (layout == nullptr) {
      begin(table, row);
      _output.bytes(row.body);
      values({}, 0, {}, _header);
      _output << ",,";
      values({}, 0, {}, _period);
      _output << endOfLine;
      return;
    }
    for (const Ring& ring : layout->rings) {
      for (int i = 0; i < ring.count; ++i) {
        begin(table, row);
        values(row.body, 0, layout->header, _header);
        _output << "," << ring.name << "," << i;
        values(row.body, ring.offset + i * layout->periodSize, layout->period, _period);
        _output << endOfLine;
      }
    }
  }

  void begin(const TableName& table, const Row& row) {
    _output << table.name << "," << row.key << "," << static_cast<std::int64_t>(row.body.size())
            << ",";
  }

  /// The values of `fields` in their columns, and nothing in the others.
  void values(std::string_view body, int offset, List<Field> fields,
              const std::vector<Column>& columns) {
    for (const Column& column : columns) {
      const auto isIt = [&](const Field& field) {
        return std::strcmp(column.name, field.name) == 0;
      };
      const Field* const field = std::find_if(fields.begin(), fields.end(), isIt);
      for (int i = 0; i < column.count; ++i) {
        _output << ",";
        if (field != fields.end() && i < field->count) {
          _output.value(body, offset + field->offset + i * sizeOf(field->type), field->type, false);
        }
      }
    }
  }

  Output& _output;
  std::vector<Column> _header;
  std::vector<Column> _period;
};

}  // namespace

Status dump(const DumpOptions& options, Console& console) {
  const Database database(options.file);
  const std::vector<Selected> tables = select(options, database);
  tellWhatIsLeftOut(options, database, console);
  Output output(console);
  if (options.format == "csv") {
    CsvDump(output).dump(tables);
  } else {
    JsonDump(output, options.format == "jsonl").dump(tables);
  }
  output.print();
  return Status::Fine;
}

}  // namespace HistoryDb
