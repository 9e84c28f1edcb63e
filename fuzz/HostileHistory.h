// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>

#include "fuzz/Builder.h"
#include "fuzz/HostileFiles.h"

namespace Fuzz {

// What the families of hostile files are made of.

constexpr std::int32_t maxInt = std::numeric_limits<std::int32_t>::max();

/// The history tables, and the bytes of their records of schema 0.
constexpr std::array<const char*, 3> historyNames = {"TormaQuilletHistory", "nativeZoneHistory",
                                                     "ZoneHistory"};
constexpr std::array<std::int32_t, 3> recordSizes = {4624, 2040, 2040};

std::string text(std::int64_t number);

/// Ends a database whose history tables have these rows and entries; no table where there are none.
SparseFile database(Builder& builder, const std::array<Metakit::Bytes, 3>& tables);
/// The same with one table.
SparseFile database(Builder& builder, std::size_t table, const Metakit::Bytes& rows);

/// A sound database of two short records.
SparseFile twoRows();

/// A column of 32-bit keys from 1 to `rows`.
Metakit::Extent uniqueKeys(Builder& builder, std::int32_t rows);
/// A column of that many 32-bit integers, all `value`.
Metakit::Extent sameIntegers(Builder& builder, std::int32_t rows, std::int32_t value);

// The families of files that are long, with holes and without.
HostileFamily holes();
HostileFamily large();

}  // namespace Fuzz
