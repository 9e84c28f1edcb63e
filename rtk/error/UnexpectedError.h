// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

namespace Rtk {

/// Reports trouble that the caller survives, as one record on standard error:
/// "@@ UNEXPECTED ERROR", the calling thread, the caller's text and a line end. The text is
/// formatted as printf does and may have any length. Any thread may call logRaw(); log() names the
/// calling thread and is fatal on one that is not an Rtk::Thread. Neither works before the static
/// initialisation of the logging lock.
class UnexpectedError {
 public:
  UnexpectedError() = delete;

  /// "@@ UNEXPECTED ERROR [name (id)]: text", the id in hexadecimal.
  static void log(const char* format, ...) __attribute__((format(printf, 1, 2)));

  /// "@@ UNEXPECTED ERROR: text".
  static void logRaw(const char* format, ...) __attribute__((format(printf, 1, 2)));
};

}  // namespace Rtk
