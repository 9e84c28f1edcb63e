// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/plot/Plot.h"

#include <algorithm>
#include <filesystem>
#include <string>

#include <fmt/format.h>

#include "history-db/base/Printable.h"
#include "history-db/files/NewFile.h"
#include "history-db/plot/Picture.h"
#include "history-db/plot/SvgPlot.h"
#include "history-db/plot/TerminalPlot.h"
#include "history-db/records/Database.h"
#include "history-db/records/Value.h"

namespace HistoryDb {

namespace {

const Table& tableOf(const PlotOptions& options, const Database& database) {
  std::string names;
  for (const Table& table : database.tables()) {
    if (!table.rows.empty()) {
      if (options.table.empty() || options.table == table.name.name) {
        return table;
      }
      names += std::string(names.empty() ? "" : ", ") + table.name.name;
    }
  }
  if (names.empty()) {
    throw Trouble(options.file + ": There are no history records in it.");
  }
  throw Trouble(fmt::format("{}: There are no records in a table \"{}\"; there are some in {}.",
                            options.file, printable(options.table), names));
}

const Row& rowOf(const PlotOptions& options, const Table& table) {
  if (!options.key) {
    return table.rows.front();
  }
  constexpr std::size_t most = 10;
  std::string keys;
  for (std::size_t i = 0; i < table.rows.size(); ++i) {
    if (table.rows[i].key == *options.key) {
      return table.rows[i];
    }
    if (i < most) {
      keys += (i > 0 ? ", " : "") + std::to_string(table.rows[i].key);
    }
  }
  if (table.rows.size() > most) {
    keys += fmt::format(" and {} more", table.rows.size() - most);
  }
  throw Trouble(fmt::format("{}: {} has no record with the key {}; it has {}.", options.file,
                            table.name.name, *options.key, keys));
}

const Layout& layoutOfRecord(const PlotOptions& options, const Table& table, const Row& row) {
  const Layout* const layout = layoutOfSize(table.name.kind, row.body.size());
  if (layout == nullptr) {
    throw Trouble(fmt::format(
        "{}: The record with the key {} in {} has {} bytes, as no {} record "
        "of any schema.",
        options.file, row.key, table.name.name, row.body.size(), nameOf(table.name.kind)));
  }
  return *layout;
}

/// What tells the record from others.
std::string subtitleOf(const Database& database, const Table& table, const Row& row,
                       const Layout& layout) {
  const Field* const zone = layout.headerField("zone");
  return fmt::format(
      "{}, key {}{}, schema {}", table.name.name, row.key,
      zone == nullptr ? ""
                      : fmt::format(", zone {}", integerAt(row.body, zone->offset, zone->type)),
      // A Zone record does not tell it itself.
      table.name.kind == Kind::System ? std::to_string(layout.schema) : nameOf(schemaOf(database)));
}

std::string drawn(const PlotOptions& options, const InputFile& file) {
  const Database database(file);
  const Table& table = tableOf(options, database);
  const Row& row = rowOf(options, table);
  const Layout& layout = layoutOfRecord(options, table, row);
  Picture picture = pictureOf(row.body, layout, quantitiesOf(layout, options.fields, options.file));
  picture.title = printable(options.file.substr(options.file.rfind('/') + 1));
  picture.subtitle = subtitleOf(database, table, row, layout);
  const auto sameKey = std::count_if(table.rows.begin(), table.rows.end(),
                                     [&](const Row& other) { return other.key == row.key; });
  if (sameKey > 1) {
    picture.notes.push_back(
        fmt::format("There are {} records with this key; this is the first.", sameKey));
  }
  return options.terminal ? terminalPictureOf(picture, options.ascii) : svgOf(picture);
}

}  // namespace

Status plot(const PlotOptions& options, Console& console) {
  std::error_code none;
  if (!options.output.empty() && std::filesystem::equivalent(options.file, options.output, none)) {
    throw Trouble(options.output + ": It is the database, which is not replaced.");
  }
  const InputFile database(options.file);
  const std::string picture = drawn(options, database);
  if (options.output.empty()) {
    console.print(picture);
  } else {
    NewFile file(options.output, options.force);
    file.limitPermissions(database);
    file.write(picture);
    file.finish();
  }
  return Status::Fine;
}

}  // namespace HistoryDb
