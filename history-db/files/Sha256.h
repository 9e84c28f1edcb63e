// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

#include "history-db/files/InputFile.h"

namespace HistoryDb {

/// The SHA-256 of the bytes that a file had when it was opened, in lower-case hexadecimal digits.
/// Throws Trouble when it cannot be read.
std::string sha256OfFile(const InputFile& file);

}  // namespace HistoryDb
