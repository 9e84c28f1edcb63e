// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <memory>
#include <string>

#include "history-db/files/Descriptor.h"
#include "history-db/files/Folder.h"

namespace Metakit {
class File;
}

namespace HistoryDb {

/// A regular file that is open for reading. Everything that reads it through this object reads the
/// same file, whatever becomes of its name. Any thread.
class InputFile {
 public:
  /// Opens a file, also through a symbolic link. Throws Trouble when it cannot be opened or is not
  /// a regular file.
  explicit InputFile(const std::string& path);
  /// A file that is open already. Messages call it `name`. Throws Trouble when it is not a regular
  /// file.
  InputFile(std::string name, Descriptor descriptor);

  const std::string& name() const { return _name; }
  int descriptor() const { return _descriptor.get(); }

  /// Its state now.
  struct stat status() const;
  /// Its size when it was opened. Nothing behind that is read: another process may write to the
  /// file without end.
  std::int64_t size() const { return _size; }

  /// Copies the contents to an empty file that is open for writing; messages call it `target`.
  /// Throws Trouble when that fails, or the size has changed.
  void copyTo(int descriptor, const std::string& target) const;

  /// The file for a datafile to read. Throws Trouble when no descriptor is left.
  std::unique_ptr<Metakit::File> open() const;

 private:
  const std::string _name;
  const Descriptor _descriptor;
  std::int64_t _size = 0;
};

/// Opens a file by its name in a folder, without following a symbolic link. Messages call it
/// `path`. Throws Trouble when it cannot be opened or is not a regular file.
InputFile openInFolder(const Folder& folder, const std::string& name, const std::string& path);

/// Whether both are the same file.
bool isSameFile(const struct stat& a, const struct stat& b);

}  // namespace HistoryDb
