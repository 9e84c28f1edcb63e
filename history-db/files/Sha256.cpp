// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/files/Sha256.h"

#include <gcrypt.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <memory>

#include <fmt/format.h>

#include "history-db/base/Trouble.h"

namespace HistoryDb {

namespace {

struct Closer {
  using pointer = gcry_md_hd_t;
  void operator()(gcry_md_hd_t digest) const { gcry_md_close(digest); }
};
using Digest = std::unique_ptr<gcry_md_hd_t, Closer>;

Digest newDigest() {
  // The library wants to be asked its version first; a second time does no harm.
  gcry_md_hd_t digest = nullptr;
  if (gcry_check_version(nullptr) == nullptr || gcry_md_open(&digest, GCRY_MD_SHA256, 0) != 0) {
    throw Trouble("SHA-256 is not available.");
  }
  return Digest(digest);
}

}  // namespace

std::string sha256OfFile(const InputFile& file) {
  const Digest digest = newDigest();
  constexpr std::int64_t bufferSize = 65536;
  std::array<char, bufferSize> buffer{};
  for (std::int64_t at = 0; at < file.size();) {
    const auto wanted = static_cast<std::size_t>(std::min(bufferSize, file.size() - at));
    const ssize_t size = ::pread(file.descriptor(), buffer.data(), wanted, at);
    if (size < 0 && errno != EINTR) {
      throwError(file.name(), "It cannot be read", errno);
    }
    if (size == 0) {
      break;
    }
    if (size > 0) {
      gcry_md_write(digest.get(), buffer.data(), static_cast<std::size_t>(size));
      at += size;
    }
  }
  std::string digits;
  const std::uint8_t* bytes = gcry_md_read(digest.get(), GCRY_MD_SHA256);
  for (std::size_t i = 0; i < gcry_md_get_algo_dlen(GCRY_MD_SHA256); ++i) {
    digits += fmt::format("{:02x}", bytes[i]);
  }
  return digits;
}

}  // namespace HistoryDb
