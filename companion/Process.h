// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

namespace Companion {

/// Prepares the process for its surroundings, before anything is opened and any other thread runs.
/// A file that was mapped and cannot be read, because its device failed or somebody cut it off,
/// ends the process with a message and status 2. Writing where nobody reads any more, or past the
/// limit of the file size, becomes an error. Ending it from outside removes the files that are
/// begun. A standard stream that is closed stays one that cannot be used, and is no place for
/// another file.
void prepareProcess();

}  // namespace Companion
