// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sys/stat.h>

#include <optional>
#include <string>

#include "history-db/files/Descriptor.h"

namespace HistoryDb {

/// The folder of a file, opened once: names are looked up in it, whatever becomes of its own name.
/// One thread at a time.
class Folder {
 public:
  /// Opens the folder of `file`. Throws Trouble that says `what` of the file when that fails, such
  /// as "It cannot be created".
  Folder(const std::string& file, const std::string& what);

  const std::string& path() const { return _path; }
  int descriptor() const { return _descriptor.get(); }

  /// What has a name in it, without following a symbolic link; none when nothing has.
  std::optional<struct stat> find(const std::string& name) const;

  /// Blocks until its names are on the device. Throws Trouble when that fails.
  void flush() const;

 private:
  const std::string _path;
  Descriptor _descriptor;
};

/// The part of a path before the name, "." for a name alone; and the name.
std::string folderOf(const std::string& path);
std::string nameOf(const std::string& path);

/// Gives what is called `name` in one folder a name in another one that nothing may have. Returns 0
/// or the C library's number of the error.
int renameToNew(int from, const std::string& name, int to, const std::string& newName);

}  // namespace HistoryDb
