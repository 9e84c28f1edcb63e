// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

#include "history-db/base/Console.h"
#include "history-db/files/InputFile.h"
#include "history-db/files/NewFile.h"

namespace HistoryDb {

/// The program history-convert: `given` when that is not empty, else the one in the folder of this
/// program, or in the folder where programs are installed when the own folder is not known, else
/// the one in PATH. Folders in PATH that are relative are left out: anybody may have put a program
/// there. Throws Trouble when there is none.
std::string findConverter(const std::string& given);

/// Runs it to convert `original` from schema 0 to `converted` of schema 1, and waits for its end.
/// It reads a copy of `original` in the private folder of `converted`, and writes there. What it
/// prints on standard error goes to the console, escaped. Throws Trouble unless it ends with
/// success. A signal that ends this process ends the converter as well.
void convert(const std::string& converter, const InputFile& original, const NewFile& converted,
             Console& console);

}  // namespace HistoryDb
