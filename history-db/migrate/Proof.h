// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <string>

#include "history-db/migrate/Comparison.h"

namespace HistoryDb {

/// What a file was when it was read.
struct FileContents {
  std::string path;
  std::uint64_t size = 0;
  std::string sha256;
};

/// Reads the whole file for it. Throws Trouble when it cannot be read.
FileContents contentsOf(const InputFile& file);

/// Throws Trouble unless the file still has these contents.
void expectUnchanged(const InputFile& file, const FileContents& before);

/// A comparison, and the very bytes that it is about.
struct Proof {
  FileContents original;
  FileContents converted;
  Comparison comparison;
};

/// Compares two files. Throws Trouble when one cannot be read, or changed meanwhile.
Proof prove(const InputFile& original, const InputFile& converted);

/// The differences that are told, the notes and the tables of a comparison, a line each.
std::string textOf(const Comparison& comparison);

}  // namespace HistoryDb
