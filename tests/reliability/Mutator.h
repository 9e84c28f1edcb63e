// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>

namespace Reliability {

/// Makes damaged files out of good ones, the same ones for the same seed.
class Mutator {
 public:
  explicit Mutator(unsigned int seed) : _random(seed) {}

  std::size_t below(std::size_t bound) { return static_cast<std::size_t>(_random()) % bound; }

  /// Does a few of these to `file`: flips bits, overwrites bytes, cuts, repeats, and splices in
  /// parts of `other`, blows numbers up. Mostly where the numbers stand that lead through a file:
  /// around its ends, and in its last walk.
  void mutate(std::string& file, const std::string& other);

 private:
  void mutateOnce(std::string& file, const std::string& other);
  /// A place in a file, `size` bytes before its end or more where it has them.
  std::size_t place(const std::string& file, std::size_t size);
  std::string someOf(const std::string& file);
  /// Four bytes, in the order of marks.
  std::string number();

  std::mt19937 _random;
};

}  // namespace Reliability
