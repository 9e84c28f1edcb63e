// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "database/metakit/Body.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace Pvn::Database::Metakit::Persist {

void copyFromBody(const c4_Bytes& body, unsigned int recordSize, void* buffer, unsigned int size,
                  unsigned int offset) {
  const unsigned int wanted = std::min(size, recordSize - offset);
  const unsigned int stored = static_cast<unsigned int>(body.Size());
  const unsigned int there = std::min(wanted, stored > offset ? stored - offset : 0);
  auto* bytes = static_cast<unsigned char*>(buffer);
  if (there > 0) {
    std::memcpy(bytes, body.Contents() + offset, there);
  }
  std::fill(bytes + there, bytes + wanted, static_cast<unsigned char>(0));
}

c4_Bytes bodyWith(const c4_Bytes& body, unsigned int recordSize, const void* data,
                  unsigned int size, unsigned int offset) {
  const unsigned int count = std::min(size, recordSize - offset);
  std::vector<unsigned char> bytes(body.Contents(), body.Contents() + body.Size());
  bytes.resize(std::max<std::size_t>(bytes.size(), offset + count));
  if (count > 0) {
    std::memcpy(bytes.data() + offset, data, count);
  }
  return c4_Bytes(bytes.data(), static_cast<int>(bytes.size()), true);
}

}  // namespace Pvn::Database::Metakit::Persist
