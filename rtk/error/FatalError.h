// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

namespace Rtk {

/// Reports trouble that the process cannot survive, as one record on standard error that begins
/// with "@@ FATAL ERROR", and ends the process with status 255. Other threads are not stopped
/// first; static destructors run. The record puts a full stop behind each text, whatever the text
/// ends in. Any thread may call any operation; the logAndExit() ones name the calling thread, and
/// on one that is not an Rtk::Thread that fault is reported in place of the caller's. None works
/// before the static initialisation of the logging lock.
class FatalError {
 public:
  FatalError() = delete;

  /// Records without the calling thread: "@@ FATAL ERROR: message. detail.".
  [[noreturn]] static void logRawAndExit(const char* message);
  [[noreturn]] static void logRawAndExit(const char* message, const char* detail);
  [[noreturn]] static void logRawAndExit(const char* message, unsigned long value);
  [[noreturn]] static void logRawAndExit(const char* message, void* pointer);

  /// Records with the calling thread: "@@ FATAL ERROR [name (id)]: message. detail.".
  [[noreturn]] static void logAndExit(const char* message);
  [[noreturn]] static void logAndExit(const char* message, const char* detail);
  [[noreturn]] static void logAndExit(const char* message, unsigned long value);
  [[noreturn]] static void logAndExit(const char* message, void* pointer);

  /// Ends the process, in the way that was switched on if `status` is not 0. Writes no record.
  [[noreturn]] static void exit(int status);

  /// Makes every later exit() but that with 0 write its call stack to standard output first.
  /// There is no way back. REQUIRES: no other thread runs yet.
  static void forceBacktraceOnExit();

  /// Makes every later exit() but that with 0 crash, so that it leaves a core dump. There is no
  /// way back. REQUIRES: no other thread runs yet.
  static void forceCoreDumpOnExit();
};

}  // namespace Rtk
