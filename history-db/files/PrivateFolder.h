// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sys/types.h>

#include <string>

#include "history-db/files/Cleanup.h"
#include "history-db/files/Descriptor.h"
#include "history-db/files/Folder.h"

namespace HistoryDb {

/// A new folder beside a file, in which other users can neither see nor change anything: a file is
/// completed here before it gets its final name. The folder and the files in it are removed with
/// this object, and when a signal ends the process. One thread at a time.
class PrivateFolder {
 public:
  /// Creates the folder in `parent`, which must outlive this object, for the file `file`. Throws
  /// Trouble when it cannot be created, or other users could exchange it.
  PrivateFolder(const Folder& parent, const std::string& file);
  ~PrivateFolder();
  PrivateFolder(const PrivateFolder&) = delete;
  PrivateFolder& operator=(const PrivateFolder&) = delete;

  int descriptor() const { return _descriptor.get(); }
  /// The mode that the user gives to new files.
  mode_t fileMode() const { return _fileMode; }

  /// Creates a file in it that nobody else may read or write, and opens it for both. Throws Trouble
  /// that names `file` when it cannot be created.
  Descriptor create(const std::string& name) const;

  /// Removes it before this object ends.
  void remove();

 private:
  void make(const Folder& parent);
  void protect(const Folder& parent) const;

  const std::string _file;
  mode_t _fileMode = 0;
  std::string _name;
  Descriptor _descriptor{-1};
  FolderToRemove _removal;
};

}  // namespace HistoryDb
