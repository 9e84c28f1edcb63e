// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>

namespace Pvn::Persist::History {

// A conversion holds a whole record in memory for each row and writes one to the new file, also for
// a row whose stored body is empty. A datafile can store a million empty rows in a few bytes.
// Programs that read a history therefore limit its rows by the size of its file.

/// Whether records of that many bytes may come from a file that stores `storedBytes`: they need at
/// most 16 MiB more than the file stores. Complete bodies always fit, unless the file was copied so
/// that its zeros became holes.
bool areBytesPlausible(std::int64_t bytes, std::int64_t storedBytes);

/// The same for rows of System and Zone records, each with a complete body of schema 0.
bool areRowsPlausible(std::int64_t systemRows, std::int64_t zoneRows, std::int64_t storedBytes);

}  // namespace Pvn::Persist::History
