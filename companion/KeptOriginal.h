// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sys/types.h>

#include <memory>
#include <string>

#include "companion/NewFile.h"

namespace Companion {

/// The second name under which a file stays when another one takes its first: FILE.schema0. One
/// thread at a time.
class KeptOriginal {
 public:
  /// Throws Trouble when something else has that name, unless `force` is set.
  KeptOriginal(const std::string& file, bool force);

  const std::string& path() const { return _path; }

  /// Gives the file its second name, on the device too. Where a file cannot have two, a copy gets
  /// it. Throws Trouble when that fails; `putBack` is to be called then as well.
  void keep();

  /// Makes all as it was, whether the file has been replaced meanwhile or not. Tells whether that
  /// went well; if not, the original still has one of its names.
  bool putBack();

 private:
  void copy();

  const std::string _file;
  const std::string _path;
  ino_t _inode = 0;
  /// Whether the second name is there since a run that was killed.
  bool _isKept = false;
  bool _isMade = false;
  /// A place for what had the second name before.
  std::unique_ptr<NewFile> _older;
  bool _isAside = false;
};

/// Gives a file the owner and mode of another one. Throws Trouble when that fails.
void giveOwnerAndMode(const std::string& from, const std::string& to);

}  // namespace Companion
