// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

namespace Companion {

/// Gives an open file the owner, the extended attributes, among them access control lists, and the
/// mode of another one. Nobody who may not access that one may access the file at any moment.
/// Throws Trouble that names `name` when something cannot be given. REQUIRES: only this user may
/// access the file.
void copyAttributes(int from, int to, const std::string& name);

}  // namespace Companion
