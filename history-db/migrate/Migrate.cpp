// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/migrate/Migrate.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <vector>

#include <fmt/format.h>

#include "history-db/files/Attributes.h"
#include "history-db/files/Cleanup.h"
#include "history-db/files/Descriptor.h"
#include "history-db/files/Folder.h"
#include "history-db/files/InputFile.h"
#include "history-db/files/NewFile.h"
#include "history-db/inspect/Check.h"
#include "history-db/migrate/Converter.h"
#include "history-db/migrate/KeptOriginal.h"
#include "history-db/migrate/Proof.h"
#include "history-db/records/Database.h"

namespace HistoryDb {

namespace {

/// The file that a path leads to through symbolic links. Throws Trouble if a link belongs to
/// another user: its owner could make root migrate any file. Reads each link through a descriptor,
/// so the link that is followed is the one that was checked.
std::string resolved(std::string path) {
  constexpr int maxLinks = 40;
  for (int links = 0; links < maxLinks; ++links) {
    const Descriptor link(::open(path.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct stat status = {};
    if (!link.isOpen() || ::fstat(link.get(), &status) != 0) {
      throwError(path, "It cannot be opened", errno);
    }
    if (!S_ISLNK(status.st_mode)) {
      return path;
    }
    if (status.st_uid != ::geteuid() && status.st_uid != 0) {
      throw Trouble(path + ": It is a symbolic link of another user and is not followed.");
    }
    std::string target(PATH_MAX, '\0');
    const ssize_t size = ::readlinkat(link.get(), "", target.data(), target.size());
    if (size < 0) {
      throwError(path, "The link cannot be followed", errno);
    }
    target.resize(static_cast<std::size_t>(size));
    const bool isAbsolute = !target.empty() && target.front() == '/';
    path = isAbsolute ? target : folderOf(path).append("/").append(target);
  }
  throwError(path, "The link cannot be followed", ELOOP);
}

/// Holds a write lock on a file, so that a second run ends at once. Read locks of other programs do
/// not conflict with it. Correctness does not depend on the lock: replace() replaces only the file
/// that was converted.
class Lock {
 public:
  /// Throws Trouble when another process has locked it for writing.
  Lock(const Folder& folder, const std::string& name, const InputFile& original)
      : _file(::openat(folder.descriptor(), name.c_str(),
                       O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC)) {
    struct stat locked = {};
    if (!_file.isOpen()) {
      // One that this user may not write cannot be locked.
      return;
    }
    if (::fstat(_file.get(), &locked) != 0 || !isSameFile(locked, original.status())) {
      throw Trouble(original.name() + ": It has just been replaced.");
    }
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    if (::fcntl(_file.get(), F_OFD_SETLK, &lock) == 0) {
      return;
    }
    const int error = errno;
    if (error != EAGAIN && error != EACCES) {
      throwError(original.name(), "It cannot be locked", error);
    }
    if (::fcntl(_file.get(), F_OFD_GETLK, &lock) == 0 && lock.l_type == F_WRLCK) {
      throw Trouble(original.name() +
                    ": Another run of \"history-db migrate\", or another program that writes to "
                    "it, has locked it.");
    }
  }

 private:
  const Descriptor _file;
};

/// At least as many bytes as a conversion of the database takes on the way.
std::uint64_t spaceFor(const Database& database) {
  std::uint64_t size = 0;
  for (const Table& table : database.tables()) {
    size +=
        table.rows.size() * (static_cast<std::uint64_t>(layoutOf(table.name.kind, 1).size) + 16);
  }
  // Commits leave gaps, and there is the structure.
  return size + size / 4 + 65536;
}

void expectSpace(const Folder& folder, std::uint64_t needed) {
  struct statvfs status = {};
  // A file system that tells nothing is believed to have it.
  if (::fstatvfs(folder.descriptor(), &status) != 0 || status.f_blocks == 0) {
    return;
  }
  const std::uint64_t available = std::uint64_t{status.f_bavail} * status.f_frsize;
  if (available < needed) {
    throw Trouble(fmt::format("{}: There is too little space: {} bytes are free, {} are needed.",
                              folder.path(), available, needed));
  }
}

class Migration {
 public:
  Migration(const MigrateOptions& options, std::string file, Console& console)
      : _options(options),
        _file(std::move(file)),
        _name(nameOf(_file)),
        _console(console),
        _folder(_file, "It cannot be opened"),
        _original(openInFolder(_folder, _name, _file)),
        _before(_original.status()),
        _lock(_folder, _name, _original) {}

  Status run() {
    std::uint64_t needed = 0;
    SchemaFound schema = SchemaFound::Either;
    {
      const Database database(_original);
      schema = schemaOf(database);
      if (schema == SchemaFound::One) {
        tell(_file + " is of schema 1 already; there is nothing to do.");
        return Status::Fine;
      }
      if (schema == SchemaFound::Mixed) {
        _console.tell(_file +
                      ": It has System records of several schemas or of none; that cannot be "
                      "converted. \"history-db check\" tells more.");
        return Status::Findings;
      }
      // The converter reads a copy of the file.
      needed = spaceFor(database) + static_cast<std::uint64_t>(_before.st_size);
    }
    if (!isSound()) {
      return Status::Findings;
    }
    if (schema == SchemaFound::Either && _options.output.empty()) {
      tell(_file +
           " has no System records, and so is of schema 1 as it is; there is nothing to do.");
      return Status::Fine;
    }
    const std::string converter = findConverter(_options.converter);
    return _options.output.empty() ? migrateInPlace(converter, needed)
                                   : migrateTo(_options.output, converter, needed);
  }

  /// Whether the file is what it was at the beginning; not when a failed run could not put it back.
  bool isAsItWas() const { return _isAsItWas; }

 private:
  void tell(const std::string& line) {
    if (!_options.quiet) {
      _console.printLine(line);
    }
  }

  /// Whether nothing is wrong with the file that a conversion makes worse.
  bool isSound() {
    constexpr std::size_t maxPrinted = 20;
    const std::vector<Finding> findings = findingsIn(_original);
    std::size_t errors = 0;
    std::size_t kept = 0;
    for (const Finding& finding : findings) {
      if (finding.isError && finding.isKept) {
        ++kept;
      } else if (finding.isError && ++errors <= maxPrinted) {
        tell(fmt::format("{}: error: {}{}{}", _file, finding.where,
                         finding.where.empty() ? "" : ": ", finding.what));
      }
    }
    const bool areMore = findings.size() >= mostFindings;
    tell(fmt::format("Checked {}: errors {}, repeated keys {}, warnings {}{}.", _file, errors, kept,
                     findings.size() - errors - kept, areMore ? " or more" : ""));
    // When there is no place left for errors, there may be worse ones.
    if (errors > 0 || (areMore && findings.back().isError)) {
      _console.tell(_file +
                    ": Its errors keep it from being converted; it is as it was. \"history-db "
                    "check\" tells them.");
      return false;
    }
    if (kept > 0) {
      tell("A key that stands there more than once is kept as often.");
    }
    return true;
  }

  Status migrateInPlace(const std::string& converter, std::uint64_t needed) {
    KeptOriginal kept(_folder, _name, _original, _options.force);
    NewFile result(_file, true);
    expectSpace(_folder, needed);
    if (!makeResult(converter, result)) {
      return Status::Findings;
    }
    copyAttributes(_original.descriptor(), result.descriptor(), _file);
    if (_options.dryRun) {
      tell("It was a trial: " + _file + " is as it was.");
      return Status::Fine;
    }
    replace(kept, result);
    tell("The original is kept as " + kept.path() + ".");
    tell(_file + " is of schema 1 now.");
    return Status::Fine;
  }

  Status migrateTo(const std::string& output, const std::string& converter, std::uint64_t needed) {
    struct stat status = {};
    if (::stat(output.c_str(), &status) == 0 && isSameFile(status, _before)) {
      throw Trouble(output + ": It is the file that is to be converted.");
    }
    NewFile result(output, _options.force);
    result.limitPermissions(_original);
    expectSpace(result.folder(), needed);
    if (!makeResult(converter, result)) {
      return Status::Findings;
    }
    if (_options.dryRun) {
      tell("It was a trial: nothing was written to " + output + ".");
      return Status::Fine;
    }
    result.finish();
    tell(output + " is of schema 1; " + _file + " is as it was.");
    return Status::Fine;
  }

  /// Has the converted file written, and tells whether it is what it has to be.
  bool makeResult(const std::string& converter, NewFile& result) {
    tell("Converting it with " + converter + ".");
    convert(converter, _original, result, _console);
    const InputFile converted =
        result.takeOver("The new file for " + result.path(), converter + ": It wrote no file.");
    const Proof proof = prove(_original, converted);
    const Comparison& comparison = proof.comparison;
    if (!_options.quiet) {
      _console.print(textOf(comparison));
    }
    if (!comparison.isEqual()) {
      _console.tell(
          fmt::format("{}: The converter made something else of it, differences {}; it is "
                      "as it was.",
                      _file, comparison.differences));
    } else {
      tell("The new file holds every value of the original.");
    }
    return comparison.isEqual();
  }

  /// From the first of these steps to the last, the file is the whole old one or the whole new one.
  void replace(KeptOriginal& kept, NewFile& result) {
    const BlockedSignals blocked;
    const struct stat now = _original.status();
    if (now.st_size != _before.st_size || now.st_mtim.tv_sec != _before.st_mtim.tv_sec ||
        now.st_mtim.tv_nsec != _before.st_mtim.tv_nsec) {
      throw Trouble(_file + ": Somebody has changed it meanwhile.");
    }
    const struct stat replacement = result.status();
    try {
      kept.keep();
      result.finish(&_before);
      kept.confirm();
    } catch (const Trouble& trouble) {
      _isAsItWas = kept.putBack(replacement);
      if (!_isAsItWas) {
        throw Trouble(fmt::format("{} Nor could all be put back: the original is {} or {}.",
                                  trouble.what(), _file, kept.path()));
      }
      throw;
    }
    _isAsItWas = false;
  }

  const MigrateOptions& _options;
  const std::string _file;
  const std::string _name;
  Console& _console;
  const Folder _folder;
  const InputFile _original;
  const struct stat _before;
  const Lock _lock;
  bool _isAsItWas = true;
};

}  // namespace

Status migrate(const MigrateOptions& options, Console& console) {
  const std::string file = resolved(options.file);
  Migration migration(options, file, console);
  try {
    return migration.run();
  } catch (const Trouble& trouble) {
    if (!migration.isAsItWas() || *trouble.what() == '\0') {
      throw;
    }
    throw Trouble(fmt::format("{} {} is as it was.", trouble.what(), file));
  }
}

}  // namespace HistoryDb
