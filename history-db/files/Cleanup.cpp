// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/files/Cleanup.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>

namespace HistoryDb {

namespace {

std::array<std::atomic<const FolderToRemove*>, 8> foldersToRemove;
std::atomic<pid_t> childToKill{0};

bool isItselfOrParent(const char* name) {
  return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

/// The C library's readdir() is not async-signal-safe, so this calls the system. Subfolders are
/// removed if they are empty.
void removeFilesIn(int folder) {
  alignas(dirent64) std::array<char, 4096> entries;
  bool isRemoving = true;
  // Removing files may move the others, so it starts again until nothing can be removed.
  while (isRemoving) {
    isRemoving = false;
    ::lseek(folder, 0, SEEK_SET);
    long size = 0;
    while ((size = ::syscall(SYS_getdents64, folder, entries.data(), entries.size())) > 0) {
      for (long at = 0; at < size;) {
        // The system aligns each entry.
        const void* const start = entries.data() + at;
        const auto* const entry = static_cast<const dirent64*>(start);
        at += entry->d_reclen;
        if (!isItselfOrParent(entry->d_name)) {
          isRemoving |= ::unlinkat(folder, entry->d_name, 0) == 0 ||
                        ::unlinkat(folder, entry->d_name, AT_REMOVEDIR) == 0;
        }
      }
    }
  }
}

}  // namespace

BlockedSignals::BlockedSignals() {
  sigset_t signals;
  ::sigemptyset(&signals);
  for (const int signal : endingSignals) {
    ::sigaddset(&signals, signal);
  }
  ::pthread_sigmask(SIG_BLOCK, &signals, &_before);
}

BlockedSignals::~BlockedSignals() {
  ::pthread_sigmask(SIG_SETMASK, &_before, nullptr);
}

void note(const FolderToRemove& folder) {
  for (auto& place : foldersToRemove) {
    const FolderToRemove* none = nullptr;
    if (place.compare_exchange_strong(none, &folder)) {
      return;
    }
  }
  std::abort();
}

void forget(const FolderToRemove& folder) {
  for (auto& place : foldersToRemove) {
    const FolderToRemove* noted = &folder;
    place.compare_exchange_strong(noted, nullptr);
  }
}

void removeFolder(const FolderToRemove& folder) {
  removeFilesIn(folder.folder);
  ::unlinkat(folder.parent, folder.name, AT_REMOVEDIR);
}

void noteChild(pid_t child) {
  childToKill = child;
}

void cleanUp() {
  const pid_t child = childToKill;
  if (child != 0) {
    ::kill(-child, SIGKILL);
    while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
  }
  for (const auto& place : foldersToRemove) {
    const FolderToRemove* const folder = place.load();
    if (folder != nullptr) {
      removeFolder(*folder);
    }
  }
}

}  // namespace HistoryDb
