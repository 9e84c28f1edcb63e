// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

namespace Companion {

/// Prepares the process for its surroundings, before anything is opened and any other thread runs.
/// A file that was mapped and cannot be read, because its device failed or somebody cut it off,
/// ends the process with a message and status 2. Writing where nobody reads any more, or past the
/// limit of the file size, becomes an error. A signal that ends it from outside ends a converter
/// that it started and removes the files that are begun. Standard descriptors that are closed are
/// opened: they are empty and accept every write. Returns false when that is impossible: then
/// nothing may be opened, and the process must end.
bool prepareProcess();

}  // namespace Companion
