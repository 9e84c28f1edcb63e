// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <signal.h>
#include <sys/types.h>

#include <array>

namespace HistoryDb {

/// The signals that ask a process to end, and that it cleans up for first.
constexpr std::array<int, 6> endingSignals = {SIGHUP, SIGINT, SIGQUIT, SIGALRM, SIGTERM, SIGXCPU};

/// Blocks these signals in this thread as long as it lives.
class BlockedSignals {
 public:
  BlockedSignals();
  ~BlockedSignals();
  BlockedSignals(const BlockedSignals&) = delete;
  BlockedSignals& operator=(const BlockedSignals&) = delete;

  /// The signals that were blocked before.
  const sigset_t& before() const { return _before; }

 private:
  sigset_t _before = {};
};

/// A folder that goes with the process, with all files in it.
struct FolderToRemove {
  /// Descriptors of the folder that it is in, and of itself.
  int parent = -1;
  int folder = -1;
  /// Its name in the parent.
  const char* name = nullptr;
};

/// Has cleanUp() remove the folder, which must outlive the matching forget().
/// REQUIRES: fewer than eight folders are noted; signals are blocked from the creation of the
/// folder on. Only the thread that handles signals calls both.
void note(const FolderToRemove& folder);
void forget(const FolderToRemove& folder);

/// Removes the files in a folder and then the folder. Errors are ignored. Async-signal-safe.
void removeFolder(const FolderToRemove& folder);

/// Has cleanUp() kill the process group of this child and wait for the child; 0 is none.
void noteChild(pid_t child);

/// Kills the child and removes the folders. Async-signal-safe.
void cleanUp();

}  // namespace HistoryDb
