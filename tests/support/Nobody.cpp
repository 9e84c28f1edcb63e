// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "tests/support/Nobody.h"

#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

namespace TestSupport {

namespace {

/// Of no account on any machine, so that no process of another user counts.
constexpr uid_t nobody = 61234;

}  // namespace

void becomeNobody() {
  if (::geteuid() != 0) {
    return;
  }
  if (::setgroups(0, nullptr) != 0 || ::setresgid(nobody, nobody, nobody) != 0 ||
      ::setresuid(nobody, nobody, nobody) != 0) {
    std::abort();
  }
}

Reachable::Reachable() {
  ::chmod(_folder.path("").c_str(), 0755);
}

std::string Reachable::copy(const std::string& path) {
  std::string copied = _folder.path(std::filesystem::path(path).filename().string());
  std::filesystem::copy_file(path, copied);
  ::chmod(copied.c_str(), 0755);
  return copied;
}

}  // namespace TestSupport
