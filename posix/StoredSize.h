// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>

namespace StoredSize {

/// The bytes of an open file that its file system stores: the length without the holes. The whole
/// length if the file system does not report holes, and 0 if there is no such file. Moves the
/// file's offset. Thread-safe.
std::int64_t of(int descriptor);

}  // namespace StoredSize
