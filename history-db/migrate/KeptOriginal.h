// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sys/stat.h>

#include <optional>
#include <string>

#include "history-db/files/Folder.h"
#include "history-db/files/InputFile.h"
#include "history-db/files/PrivateFolder.h"

namespace HistoryDb {

/// The second name under which a file stays when another one takes its first: FILE.schema0. One
/// thread at a time.
class KeptOriginal {
 public:
  /// For the file `original`, which has the name `name` in `folder`; both must outlive this object.
  /// Throws Trouble when something else than a copy of it has the second name, unless `force` is
  /// set and that is a regular file.
  KeptOriginal(const Folder& folder, const std::string& name, const InputFile& original,
               bool force);

  const std::string& path() const { return _path; }

  /// Gives the file its second name, on the device too. Where a file cannot have two, a copy gets
  /// it. Throws Trouble when that fails; `putBack` is to be called then as well.
  void keep();

  /// To be called when another file has taken the first name. Throws Trouble if the second one was
  /// removed or replaced; `putBack` can still restore the file then, unless a copy got the name.
  void confirm() const;

  /// Makes all as it was, whether `replacement` has taken the file's name already or not. Returns
  /// whether that went well; if not, the original still has one of its names.
  bool putBack(const struct stat& replacement);

 private:
  /// Its names in the private folder: the file's, and that of what had the second name before.
  static constexpr const char* fresh = "original";
  static constexpr const char* older = "older";

  void prepare() const;
  void copy() const;
  void setAside();
  bool isKept() const;

  const Folder& _folder;
  const std::string _name;
  const InputFile& _original;
  const std::string _keptName;
  const std::string _path;
  const PrivateFolder _private;
  /// What has the second name before, if anything.
  std::optional<struct stat> _older;
  /// What gets the second name: the file, or a copy of it.
  struct stat _made = {};
  bool _isAside = false;
  bool _isMade = false;
};

}  // namespace HistoryDb
