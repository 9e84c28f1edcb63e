// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

#include "tests/support/TemporaryFolder.h"

namespace TestSupport {

/// Makes this process that of a user who has no rights but those that the modes of files give, and
/// no process elsewhere. Does nothing when it is not root's.
void becomeNobody();

/// Copies of files where every user can reach them: the project may lie in a folder of root's own.
/// They are gone when the object is.
class Reachable {
 public:
  Reachable();

  /// The path of a copy, under the same name.
  std::string copy(const std::string& path);

 private:
  TemporaryFolder _folder;
};

}  // namespace TestSupport
