// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sys/types.h>

#include <string>

namespace HistoryDb {

/// Gives an open file the owner, the extended attributes, among them access control lists, and the
/// mode of another one. Nobody who may not access that one may access the file at any moment.
/// Throws Trouble that names `name` when something cannot be given. REQUIRES: only this user may
/// access the file.
void copyAttributes(int from, int to, const std::string& name);

/// Gives a file the permissions of one that is created in `folder`: `mode`, or what the default
/// access control list of the folder grants, but none that are not in `allowed`. Throws Trouble
/// that names `name` when the list cannot be given.
void giveInitialPermissions(int folder, int file, mode_t mode, mode_t allowed,
                            const std::string& name);

}  // namespace HistoryDb
