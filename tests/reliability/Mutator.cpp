// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "tests/reliability/Mutator.h"

#include <algorithm>

namespace Reliability {

namespace {

/// Where the marks and the root walk of a small file stand.
constexpr std::size_t tail = 160;

}  // namespace

std::size_t Mutator::place(const std::string& file, std::size_t size) {
  if (file.size() <= size) {
    return 0;
  }
  const std::size_t last = file.size() - size;
  switch (below(4)) {
    case 0:
      return below(last + 1);
    case 1:
      return below(std::min<std::size_t>(last + 1, 24));
    default:
      return last - below(std::min(last + 1, tail));
  }
}

std::string Mutator::someOf(const std::string& file) {
  const std::size_t size = 1 + below(below(2) == 0 ? 16 : 4000);
  return file.substr(place(file, size), size);
}

std::string Mutator::number() {
  constexpr std::uint32_t large[] = {0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0x7FFFFFF0, 0x40000000,
                                     0x00FFFFFF, 0x80FFFFFF, 0x01000000, 0x00010000, 0};
  const std::uint32_t value =
      below(3) == 0 ? static_cast<std::uint32_t>(below(1U << 17)) : large[below(std::size(large))];
  std::string bytes;
  for (int shift = 24; shift >= 0; shift -= 8) {
    bytes += static_cast<char>(value >> shift);
  }
  return bytes;
}

void Mutator::mutate(std::string& file, const std::string& other) {
  for (std::size_t left = 1 + below(2) * below(3); left > 0; --left) {
    mutateOnce(file, other);
  }
}

void Mutator::mutateOnce(std::string& file, const std::string& other) {
  if (file.empty()) {
    return;
  }
  const std::size_t at = place(file, 1);
  switch (below(9)) {
    case 0:
      file[at] = static_cast<char>(file[at] ^ (1 << below(8)));
      break;
    case 1:
      file[at] = static_cast<char>(below(256));
      break;
    case 2:
      file.resize(below(4) == 0 ? at : file.size() - below(std::min<std::size_t>(file.size(), 32)));
      break;
    case 3:
      file.erase(at, 1 + below(below(2) == 0 ? 8 : 4000));
      break;
    case 4:
      file.insert(at, someOf(file));
      break;
    case 5: {
      const std::string part = someOf(other);
      file.replace(at, part.size(), part);
      break;
    }
    case 6:
      file.insert(at, someOf(other));
      break;
    case 7: {
      const std::size_t start = place(file, 4);
      file.replace(start, 4, number());
      break;
    }
    default:
      // One more group of 7 bits makes an integer of a walk 128 times what it was.
      file.insert(at, 1 + below(4), static_cast<char>(below(128)));
      break;
  }
}

}  // namespace Reliability
