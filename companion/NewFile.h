// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <string_view>

namespace Companion {

/// A file that appears whole or not at all: it is written under another name in the same folder,
/// flushed and renamed. Until then nothing is seen of it, and it goes with this object. One thread
/// at a time.
class NewFile {
 public:
  /// Begins the file. Throws Trouble when it exists, unless `force` is set, or its folder cannot be
  /// written.
  NewFile(std::string path, bool force);
  ~NewFile();
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  const std::string& path() const { return _path; }
  /// Where it is until the end: for those who write it by name.
  const std::string& temporaryPath() const { return _temporaryPath; }

  /// Appends to it. Throws Trouble when that cannot be written.
  void write(std::string_view bytes);

  /// Makes it appear: it and its name are on the device then. Throws Trouble when that fails, or
  /// when somebody else has made a file of that name meanwhile, unless `force` was set.
  void finish();

 private:
  const std::string _path;
  std::string _temporaryPath;
  const bool _force;
  int _descriptor = -1;
};

/// Removes all files that are begun: for a signal handler that ends the process.
void removeNewFiles();

/// The folder that a path lies in; "." for one without.
std::string folderOf(const std::string& path);

/// Blocks until the names in a folder are on the device. Throws Trouble when that fails.
void flushFolder(const std::string& folder);

}  // namespace Companion
