// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <mk4.h>

namespace Pvn::Database::Metakit::Persist {

// A stored body may be shorter or longer than the records of its table: what is missing reads as 0,
// what is too much is left out. REQUIRES for both: offset <= recordSize. Server thread only.

/// Copies what a record has of `size` bytes from `offset` on into `buffer`.
void copyFromBody(const c4_Bytes& body, unsigned int recordSize, void* buffer, unsigned int size,
                  unsigned int offset);

/// The body with those of `size` bytes of `data` that belong to the record written over it from
/// `offset` on; it grows as far as it must.
c4_Bytes bodyWith(const c4_Bytes& body, unsigned int recordSize, const void* data,
                  unsigned int size, unsigned int offset);

}  // namespace Pvn::Database::Metakit::Persist
