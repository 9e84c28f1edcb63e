// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "tests/support/Sha256.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>

namespace TestSupport {

namespace {

constexpr std::size_t blockSize = 64;
constexpr std::size_t lengthSize = 8;

using State = std::array<std::uint32_t, 8>;

std::uint32_t rotated(std::uint32_t word, unsigned by) {
  return word >> by | word << (32 - by);
}

/// The round constants: 32 bits behind the point of the cube roots of the first 64 primes.
const std::array<std::uint32_t, 64>& constants() {
  static const auto all = [] {
    std::array<std::uint32_t, 64> result{};
    std::size_t count = 0;
    for (std::uint32_t n = 2; count < result.size(); ++n) {
      bool prime = true;
      for (std::uint32_t divisor = 2; divisor < n && prime; ++divisor) {
        prime = n % divisor != 0;
      }
      if (prime) {
        const double root = std::cbrt(static_cast<double>(n));
        result[count++] = static_cast<std::uint32_t>((root - std::floor(root)) * 0x1p32);
      }
    }
    return result;
  }();
  return all;
}

void add(State& state, const std::uint8_t* block) {
  std::array<std::uint32_t, 64> w{};
  for (std::size_t i = 0; i < 16; ++i) {
    const std::uint8_t* const at = block + 4 * i;
    w[i] = std::uint32_t{at[0]} << 24 | std::uint32_t{at[1]} << 16 | std::uint32_t{at[2]} << 8 |
           std::uint32_t{at[3]};
  }
  for (std::size_t i = 16; i < w.size(); ++i) {
    const std::uint32_t x = w[i - 15];
    const std::uint32_t y = w[i - 2];
    w[i] = w[i - 16] + w[i - 7] + (rotated(x, 7) ^ rotated(x, 18) ^ x >> 3) +
           (rotated(y, 17) ^ rotated(y, 19) ^ y >> 10);
  }
  auto [a, b, c, d, e, f, g, h] = state;
  for (std::size_t i = 0; i < w.size(); ++i) {
    const std::uint32_t first = h + (rotated(e, 6) ^ rotated(e, 11) ^ rotated(e, 25)) +
                                ((e & f) ^ (~e & g)) + constants()[i] + w[i];
    const std::uint32_t second =
        (rotated(a, 2) ^ rotated(a, 13) ^ rotated(a, 22)) + ((a & b) ^ (a & c) ^ (b & c));
    h = g;
    g = f;
    f = e;
    e = d + first;
    d = c;
    c = b;
    b = a;
    a = first + second;
  }
  const State sums = {a, b, c, d, e, f, g, h};
  for (std::size_t i = 0; i < state.size(); ++i) {
    state[i] += sums[i];
  }
}

}  // namespace

std::string sha256(const void* bytes, std::size_t size) {
  State state = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                 0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
  const auto* at = static_cast<const std::uint8_t*>(bytes);
  std::size_t left = size;
  for (; left >= blockSize; left -= blockSize, at += blockSize) {
    add(state, at);
  }
  // What is left, a bit set, zeros, and the number of bits: in one more block, or in two.
  std::array<std::uint8_t, 2 * blockSize> tail{};
  std::copy_n(at, left, tail.begin());
  tail[left] = 0x80;
  const std::size_t tailSize = left + 1 + lengthSize <= blockSize ? blockSize : 2 * blockSize;
  std::uint64_t bits = std::uint64_t{size} * 8;
  for (std::size_t i = 1; i <= lengthSize; ++i, bits >>= 8) {
    tail[tailSize - i] = static_cast<std::uint8_t>(bits & 0xFF);
  }
  for (std::size_t done = 0; done < tailSize; done += blockSize) {
    add(state, tail.data() + done);
  }

  std::string text;
  for (const std::uint32_t word : state) {
    char digits[9];
    std::snprintf(digits, sizeof digits, "%08x", static_cast<unsigned>(word));
    text += digits;
  }
  return text;
}

}  // namespace TestSupport
