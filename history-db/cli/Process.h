// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

namespace HistoryDb {

/// Sets up signals and standard descriptors:
/// - A mapped file that cannot be read, because its device failed or it was truncated, ends the
///   process with a message and status 2.
/// - Writing to a closed pipe, or past the limit of the file size, returns an error.
/// - Signals that end the process (`endingSignals`) kill the converter that it started and remove
///   unfinished files first.
/// - Closed standard descriptors are opened: they are empty and accept every write.
/// Returns false if the descriptors cannot be opened: then nothing may be opened, and the process
/// must end. REQUIRES: no other thread runs, and the process has not opened a file yet.
bool prepareProcess();

}  // namespace HistoryDb
