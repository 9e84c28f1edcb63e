// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>

namespace Fuzz {

// What the fuzzers do with an input, and the tests with the inputs that are kept. The process ends
// when a rule is broken.

/// Inputs up to this size must not make the engine take more than memoryLimit.
constexpr std::size_t largestInput = 1024 * 1024;
constexpr std::size_t memoryLimit = 64 * 1024 * 1024;
/// `history-db` lists the faults that the engine finds, so it needs more.
constexpr std::size_t subcommandMemoryLimit = 256 * 1024 * 1024;
/// Files up to this size are held against the format, too, which takes its time.
constexpr std::size_t largestChecked = 64 * 1024;

/// Takes the input for a file and reads everything in it. A file that is refused is not written.
void read(const std::uint8_t* bytes, std::size_t size);

/// Opens a file, changes it, commits and opens it again. The last byte of the input is the length
/// of the changes that stand before it, what is before them is the file. After each commit, one
/// that fails or is cut off included, the file holds what it must.
void commit(const std::uint8_t* bytes, std::size_t size);

/// Takes the input for a database and runs every subcommand of `history-db` on it that reads a
/// file. None writes to it, what is JSON is valid, and the inspection agrees with the engine.
void subcommands(const std::uint8_t* bytes, std::size_t size);

}  // namespace Fuzz
