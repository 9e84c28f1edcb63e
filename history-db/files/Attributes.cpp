// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/files/Attributes.h"

#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <vector>

#include "history-db/base/Trouble.h"

namespace HistoryDb {

namespace {

constexpr const char* accessControlList = "system.posix_acl_access";
constexpr const char* listCannotBeGiven = "Its access control list cannot be given to another file";

bool isWithoutAttributes(int error) {
  return error == EOPNOTSUPP || error == ENOSYS;
}

/// Calls a function that fills a buffer, first for the size. None when it fails, with errno set.
template <class Call>
std::optional<std::string> filled(const Call& call) {
  for (;;) {
    const ssize_t size = call(nullptr, 0);
    if (size < 0) {
      return std::nullopt;
    }
    std::string text(static_cast<std::size_t>(size), '\0');
    const ssize_t got = size == 0 ? 0 : call(text.data(), text.size());
    if (got >= 0) {
      text.resize(static_cast<std::size_t>(got));
      return text;
    }
    // The attribute became longer between the two calls.
    if (errno != ERANGE) {
      return std::nullopt;
    }
  }
}

/// The names of the attributes; none on a file system without.
std::vector<std::string> attributesOf(int file, const std::string& name) {
  const auto list =
      filled([&](char* buffer, std::size_t size) { return ::flistxattr(file, buffer, size); });
  if (!list && !isWithoutAttributes(errno)) {
    throwError(name, "Its attributes cannot be read", errno);
  }
  std::vector<std::string> names;
  for (std::size_t at = 0; list && at < list->size(); at += names.back().size() + 1) {
    names.emplace_back(list->c_str() + at);
  }
  return names;
}

std::optional<std::string> valueOf(int file, const std::string& attribute) {
  return filled([&](char* buffer, std::size_t size) {
    return ::fgetxattr(file, attribute.c_str(), buffer, size);
  });
}

/// Whether the kernel computes an attribute from the file's own bytes.
bool belongsToContents(const std::string& attribute) {
  return attribute == "security.ima" || attribute == "security.evm";
}

void copyExtended(int from, int to, const std::string& name) {
  const std::vector<std::string> wanted = attributesOf(from, name);
  for (const std::string& attribute : wanted) {
    if (belongsToContents(attribute)) {
      continue;
    }
    const auto value = valueOf(from, attribute);
    if (!value) {
      throwError(name, "Its attribute " + attribute + " cannot be read", errno);
    }
    // One that is right already may need more rights to set than to have.
    if (valueOf(to, attribute) != value &&
        ::fsetxattr(to, attribute.c_str(), value->data(), value->size(), 0) != 0) {
      throwError(name, "Its attribute " + attribute + " cannot be given to another file", errno);
    }
  }
  // A folder can give an access control list to each new file.
  if (std::find(wanted.begin(), wanted.end(), accessControlList) == wanted.end() &&
      ::fremovexattr(to, accessControlList) != 0 && errno != ENODATA &&
      !isWithoutAttributes(errno)) {
    throwError(name, listCannotBeGiven, errno);
  }
}

struct stat statusOf(int file, const std::string& name) {
  struct stat status = {};
  if (::fstat(file, &status) != 0) {
    throwError(name, "It cannot be opened", errno);
  }
  return status;
}

}  // namespace

void copyAttributes(int from, int to, const std::string& name) {
  const struct stat wanted = statusOf(from, name);
  const struct stat status = statusOf(to, name);
  if ((status.st_uid != wanted.st_uid || status.st_gid != wanted.st_gid) &&
      ::fchown(to, wanted.st_uid, wanted.st_gid) != 0) {
    throwError(name, "Its owner cannot be given to another file", errno);
  }
  // Before the mode, whose bits of the group limit an access control list: without the list they
  // would be rights of the group.
  copyExtended(from, to, name);
  // After the owner, whose change may remove some of it.
  if (statusOf(to, name).st_mode != wanted.st_mode && ::fchmod(to, wanted.st_mode & 07777) != 0) {
    throwError(name, "Its mode cannot be given to another file", errno);
  }
}

void giveInitialPermissions(int folder, int file, mode_t mode, mode_t allowed,
                            const std::string& name) {
  const auto list = valueOf(folder, "system.posix_acl_default");
  if (!list) {
    // Some file systems have no modes.
    ::fchmod(file, mode & allowed);
    return;
  }
  // The list takes the place of the mask of the process.
  if (::fsetxattr(file, accessControlList, list->data(), list->size(), 0) != 0 ||
      ::fchmod(file, statusOf(file, name).st_mode & allowed) != 0) {
    throwError(name, listCannotBeGiven, errno);
  }
}

}  // namespace HistoryDb
