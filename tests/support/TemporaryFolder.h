// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

namespace TestSupport {

/// A new, empty folder that goes, with all that is in it, when the object does.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  /// The path of an entry of the folder, whether it exists or not.
  std::string path(const std::string& name) const { return _path + "/" + name; }

 private:
  std::string _path;
};

/// The bytes of a file; empty when it cannot be read.
std::string readFile(const std::string& path);

/// Creates or replaces a file.
void writeFile(const std::string& path, const std::string& bytes);

}  // namespace TestSupport
