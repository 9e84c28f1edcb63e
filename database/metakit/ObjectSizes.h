// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "database/metakit/Db.h"
#include "database/metakit/Record.h"
#include "database/metakit/Table.h"

namespace Pvn::Database::Metakit::Persist {

// The memory that a client must supply for what it has created: bytes, and their alignment.

inline constexpr unsigned int dbSize = sizeof(Db);
inline constexpr unsigned int dbAlignment = alignof(Db);

inline constexpr unsigned int tableSize = sizeof(Table);
inline constexpr unsigned int tableAlignment = alignof(Table);

inline constexpr unsigned int recordObjectSize = sizeof(Record);
inline constexpr unsigned int recordAlignment = alignof(Record);

}  // namespace Pvn::Database::Metakit::Persist
