// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <functional>
#include <string>
#include <vector>

#include "history-db/base/Console.h"
#include "history-db/base/Trouble.h"

namespace HistoryDb {

/// What became of one of many files.
struct FileOutcome {
  Status status = Status::Fine;
  /// For standard output.
  std::string output;
  /// For standard error; nothing when it is empty.
  std::string message;
};

/// Works on files one after the other or, on threads of its own, `jobs` at the same time. Tells the
/// outcomes in the order of the files, each as soon as those before it are told, and how far it is
/// when that takes longer and `showsProgress` is set. Whatever `work` throws becomes the trouble of
/// its file, with `trouble` telling what goes to standard output then; the others are worked on
/// nevertheless. Gives the worst status. `work` is called by several threads.
Status workOnFiles(
    const std::vector<std::string>& files, int jobs, bool showsProgress,
    const std::function<FileOutcome(const std::string& path)>& work,
    const std::function<std::string(const std::string& path, const std::string& message)>& trouble,
    Console& console);

}  // namespace HistoryDb
