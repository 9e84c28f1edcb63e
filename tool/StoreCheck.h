// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sys/stat.h>

#include <cstdint>

#include "database/metakit/Service.h"

// The services that keep the databases observe no errors. Whoever converts the only copy of a
// history asks them here. Each of these is fatal, with a record that names the file, escaped, and
// the reason, when something is wrong; `argument` is "INFILE" or "OUTFILE" and `path` its value. To
// be called on an Rtk::Thread while no request is on its way.

/// Holds the length of a name against what a service keeps of it: it would open another file.
void checkName(const char* argument, const char* path);

/// Remembers which file INFILE is, for openInfile(), and fills `status`. Keeps the file open,
/// without access to its contents, until the process ends: the system cannot assign its inode
/// number to another file. Returns false, with errno set, if there is no such file. Not fatal. To
/// be called before any other thread runs.
bool holdInfile(const char* path, struct stat& status);

/// Opens the service of INFILE and checks it. Also fatal if the service opens another file than
/// holdInfile() found: another process has renamed, removed or replaced that one. The service
/// creates a missing file; this one is removed again.
/// REQUIRES: holdInfile() has succeeded, and no other thread opens files.
void openInfile(Pvn::Database::Metakit::Persist::Service& service, const char* path);

/// Opens the service of OUTFILE and checks it.
void openOutfile(Pvn::Database::Metakit::Persist::Service& service, const char* path);

/// To be called before the conversion: the file must be large enough for its rows.
void checkRows(std::int64_t systemRows, std::int64_t zoneRows, const char* argument,
               const char* path);

/// To be called behind the last commit: all of the file must be on the device.
void checkWritten(const Pvn::Database::Metakit::Persist::Service& service, const char* argument,
                  const char* path);
