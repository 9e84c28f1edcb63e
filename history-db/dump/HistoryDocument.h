// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

/// What `dump` and `load` have in common.
namespace HistoryDb::HistoryDocument {

/// Of the layout of the documents in the formats json and jsonl. To be changed with it.
constexpr int version = 1;

}  // namespace HistoryDb::HistoryDocument
