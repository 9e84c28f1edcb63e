// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sys/stat.h>

#include <memory>
#include <string>
#include <string_view>

#include "history-db/files/Folder.h"
#include "history-db/files/InputFile.h"
#include "history-db/files/PrivateFolder.h"

namespace HistoryDb {

/// A file that appears whole or not at all: it is written in a private folder beside its place,
/// flushed and renamed. Until then it is removed with this object. Only a regular file is replaced.
/// One thread at a time.
class NewFile {
 public:
  /// Begins the file. Throws Trouble when it exists, unless `force` is set and it is a regular
  /// file, or when its folder cannot be written.
  NewFile(const std::string& path, bool force);

  const std::string& path() const { return _path; }
  /// The folder where it will be.
  const Folder& folder() const { return _folder; }
  /// Its name in that folder, and in the private folder until it is finished.
  const std::string& name() const { return _name; }
  const PrivateFolder& privateFolder() const { return _private; }

  /// Has it get no permissions that `source` lacks: its contents come from there.
  void limitPermissions(const InputFile& source);

  /// Appends to it. Throws Trouble when that cannot be written.
  void write(std::string_view bytes);

  /// The file for a datafile to write. Throws Trouble when no descriptor is left.
  std::unique_ptr<Metakit::File> open() const;

  /// Takes what another program has made of it in the private folder. Messages call it `name`.
  /// Throws Trouble with the text `otherwise` when that is not a regular file, or one that has
  /// other names.
  InputFile takeOver(const std::string& name, const std::string& otherwise);

  int descriptor() const { return _descriptor.get(); }
  /// What it is now. REQUIRES: it is not finished.
  struct stat status() const;

  /// Makes it appear: it and its name are on the device then. It gets the permissions of a new
  /// file, unless `replaced` is given: then it keeps its own, and replaces just that file. Throws
  /// Trouble when that fails, or when another process has made a file of that name meanwhile,
  /// unless `force` was set.
  void finish(const struct stat* replaced = nullptr);

 private:
  /// Throws Trouble when something has the name that may not be replaced.
  const Folder& checkedFolder() const;
  int exchange(const struct stat& replaced) const;
  [[noreturn]] void failToWrite(int error) const;

  const std::string _path;
  const std::string _name;
  const bool _force;
  const Folder _folder;
  PrivateFolder _private;
  Descriptor _descriptor;
  /// The permissions that it may get.
  mode_t _allowed = 0666;
};

}  // namespace HistoryDb
