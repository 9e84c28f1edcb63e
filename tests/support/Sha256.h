// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <string>

namespace TestSupport {

/// The SHA-256 of some bytes, in lower-case hexadecimal digits. The tests' own, so that they need
/// no library for each machine that they are built for.
std::string sha256(const void* bytes, std::size_t size);

}  // namespace TestSupport
