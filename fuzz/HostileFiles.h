// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <functional>
#include <string>
#include <vector>

#include "fuzz/Builder.h"

namespace Fuzz {

/// A history database that was made to do harm. Its name states the family and the parameters.
struct HostileFile {
  std::string name;
  std::function<SparseFile()> make;
};

/// Files that attack the same rule, with every parameter around its limits.
struct HostileFamily {
  std::string name;
  std::vector<HostileFile> files;
};

/// All families: the same names and bytes in every run and on every machine. `samples` are sound
/// databases, which one family damages at random; the seed is the number in the name.
std::vector<HostileFamily> hostileFamilies(const std::vector<std::string>& samples);

}  // namespace Fuzz
