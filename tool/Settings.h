// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

// What the command line said. Written by main before any other thread exists, only read afterwards.
// The texts are those of the process's arguments.

/// First field of every message.
extern const char* programName;
/// Suppresses every message but the one of an unknown option.
extern bool quiet;
/// The file to read, and the schema version of its records.
extern const char* originalDatabaseFileName;
extern const char* originalDatabaseVersionName;
/// The file to write, and the schema version that its records are to have.
extern const char* convertedDatabaseFileName;
extern const char* convertedDatabaseVersionName;
