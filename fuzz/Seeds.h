// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "metakit/Codec.h"

namespace Fuzz {

/// An input by name.
struct Seed {
  std::string name;
  std::function<Metakit::Bytes()> make;
};

inline std::ostream& operator<<(std::ostream& stream, const Seed& seed) {
  return stream << seed.name;
}

/// Small sound files of every type of column.
std::vector<Seed> soundFiles();

/// Files of up to 1 MiB that ask for as much time and memory as they can.
std::vector<Seed> hostileFiles();

/// A file with changes behind it, as the commit target takes it.
Metakit::Bytes withChanges(const Metakit::Bytes& file, const Metakit::Bytes& changes);

/// How the commit target commits.
enum class Way : std::uint8_t { Plain, Fails, FailsTooLate, CutOff };

/// Inputs of the commit target: the files with changes of every kind, committed in each way.
std::vector<Seed> changed(const std::vector<Seed>& files, const std::vector<Way>& ways);

}  // namespace Fuzz
