// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

/// The descriptors 0, 1 and 2. A program can be started with any of them closed. The next files
/// that it opens get those numbers, and text for standard output or standard error is written into
/// them. Programs prevent that by ensureOpen(); libraries, which cannot rely on their programs, by
/// moveAbove().
namespace StandardDescriptors {

/// Opens each of the three descriptors that is closed: it reads as empty and discards what is
/// written. Child processes inherit it. Returns false if that is impossible. Then nothing may be
/// opened or printed, and the process must end.
/// REQUIRES: no other thread runs, and the process has not opened a file yet.
bool ensureOpen();

/// Moves a descriptor that was just opened to number 3 or above and makes it close-on-exec. Returns
/// the new number. Returns a negative number, with errno set and `descriptor` closed, if there is
/// no free descriptor. Negative numbers and those above 2 are returned unchanged. Until the call
/// returns, another thread may print to the old number: files are not written before they are
/// moved, and must be opened without O_TRUNC. Thread-safe.
int moveAbove(int descriptor);

}  // namespace StandardDescriptors
