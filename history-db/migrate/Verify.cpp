// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/migrate/Verify.h"

#include <sys/stat.h>

#include <memory>

#include <fmt/format.h>

#include "history-db/base/Json.h"
#include "history-db/files/NewFile.h"
#include "history-db/migrate/Proof.h"

namespace HistoryDb {

namespace {

/// Of the layout of receipts, which docs/history-db.md describes. To be changed with it.
constexpr int receiptVersion = 1;

Json jsonOf(const FileContents& file, SchemaFound schema) {
  return {{"file", file.path},
          {"schema", nameOf(schema)},
          {"size", file.size},
          {"sha256", file.sha256}};
}

Json jsonOf(const TableComparison& table) {
  return {{"name", table.name},
          {"originalRows", table.originalRows},
          {"convertedRows", table.convertedRows},
          {"values", table.values},
          {"differences", table.differences}};
}

Json jsonOf(const Difference& difference) {
  Json json = Json::object();
  if (!difference.table.empty()) {
    json["table"] = difference.table;
  }
  if (difference.key) {
    json["key"] = *difference.key;
  }
  if (difference.row) {
    json["row"] = *difference.row;
  }
  if (!difference.place.empty()) {
    json["place"] = difference.place;
  }
  json["what"] = difference.what;
  return json;
}

template <class List>
Json listOf(const List& list) {
  Json json = Json::array();
  for (const auto& element : list) {
    json.push_back(jsonOf(element));
  }
  return json;
}

/// The outcome as a document, a receipt or what `--json` prints.
std::string documentOf(const Proof& proof) {
  const Comparison& comparison = proof.comparison;
  const Json json = {{"receipt", receiptVersion},
                     {"program", "history-db " HISTORY_DB_VERSION},
                     {"from", 0},
                     {"to", 1},
                     {"verdict", comparison.isEqual() ? "equal" : "differs"},
                     {"differences", comparison.differences},
                     {"original", jsonOf(proof.original, comparison.originalSchema)},
                     {"converted", jsonOf(proof.converted, comparison.convertedSchema)},
                     {"tables", listOf(comparison.tables)},
                     {"told", listOf(comparison.told)},
                     {"notes", comparison.notes}};
  return jsonText(json, 2);
}

/// Begins the receipt. Throws Trouble if it would replace a file that is read.
std::unique_ptr<NewFile> beginReceipt(const VerifyOptions& options, const InputFile& original,
                                      const InputFile& converted) {
  for (const InputFile* file : {&original, &converted}) {
    struct stat receipt = {};
    if (::stat(options.receipt.c_str(), &receipt) == 0 && isSameFile(receipt, file->status())) {
      throw Trouble(options.receipt + ": The receipt would replace a file that is to be verified.");
    }
  }
  auto receipt = std::make_unique<NewFile>(options.receipt, options.force);
  receipt->limitPermissions(original);
  receipt->limitPermissions(converted);
  return receipt;
}

}  // namespace

Status verify(const VerifyOptions& options, Console& console) {
  const InputFile original(options.original);
  const InputFile converted(options.converted);
  std::unique_ptr<NewFile> receipt;
  if (!options.receipt.empty()) {
    receipt = beginReceipt(options, original, converted);
  }
  Proof proof = prove(original, converted);
  const Comparison& comparison = proof.comparison;
  if (isSameFile(original.status(), converted.status())) {
    proof.comparison.notes.emplace_back("Both are the same file.");
  }
  if (receipt != nullptr) {
    receipt->write(documentOf(proof));
    receipt->finish();
  }
  if (!options.quiet && options.json) {
    console.print(documentOf(proof));
  } else if (!options.quiet) {
    console.print(textOf(comparison));
    console.printLine(
        comparison.isEqual()
            ? fmt::format("{} holds every value of {}.", options.converted, options.original)
            : fmt::format("{} is not what {} converts to; differences {}.", options.converted,
                          options.original, comparison.differences));
  }
  return comparison.isEqual() ? Status::Fine : Status::Findings;
}

}  // namespace HistoryDb
