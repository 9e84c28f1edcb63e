// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

#include <nlohmann/json.hpp>

namespace HistoryDb {

using Json = nlohmann::ordered_json;

/// The JSON that the program prints, on one line or indented. It is ASCII: whatever a terminal
/// could act on is escaped, and bytes of a name that are not UTF-8 are replaced.
inline std::string jsonText(const Json& json, int indent = -1) {
  return json.dump(indent, ' ', true, Json::error_handler_t::replace) + '\n';
}

}  // namespace HistoryDb
