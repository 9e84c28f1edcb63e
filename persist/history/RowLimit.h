// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>

namespace Pvn::Persist::History {

// A conversion holds a whole record in memory for each row and writes one to the new file, also for
// a row whose stored body is empty. A datafile can store a million empty rows in a few bytes.
// Programs that read a history therefore limit its rows by the size of its file.

/// Whether a file that stores `storedBytes` may hold that many rows of System and Zone records: as
/// records of schema 0 they need no more than 16 MiB plus what the file stores. Rows whose bodies
/// are complete always fit, unless the file was copied so that its zeros became holes.
bool areRowsPlausible(std::int64_t systemRows, std::int64_t zoneRows, std::int64_t storedBytes);

}  // namespace Pvn::Persist::History
