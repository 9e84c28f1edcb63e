// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "database/metakit/Service.h"

// The services that keep the databases observe no errors. Whoever converts the only copy of a
// history asks them here. Each of these is fatal, with a record that names the file and the reason,
// when something is wrong; `argument` is "INFILE" or "OUTFILE" and `path` its value. To be called
// on an Rtk::Thread while no request is on its way.

/// Holds the length of a name against what a service keeps of it: it would open another file.
void checkName(const char* argument, const char* path);

/// To be called behind open().
void checkOpened(const Pvn::Database::Metakit::Persist::Service& service, const char* argument,
                 const char* path);

/// To be called behind the last commit: all of the file must be on the device.
void checkWritten(const Pvn::Database::Metakit::Persist::Service& service, const char* argument,
                  const char* path);
