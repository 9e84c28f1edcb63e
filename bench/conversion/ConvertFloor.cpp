// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

// convert-floor ZONES OUTFILE: what no program can do without that has each new record on the
// device before the next one. Writes as many bytes as the records of one system and ZONES zones
// have, end to end, each followed by sync().

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "bench/conversion/Rows.h"

namespace {

/// Bytes of which no two bodies are the same.
class Body {
 public:
  Body() : _bytes(Bench::newSystemSize) {
    std::mt19937 random(1);
    std::generate(_bytes.begin(), _bytes.end(),
                  [&] { return static_cast<unsigned char>(random()); });
  }

  const unsigned char* numbered(int row) {
    std::memcpy(_bytes.data(), &row, sizeof row);
    return _bytes.data();
  }

 private:
  std::vector<unsigned char> _bytes;
};

bool writeBodies(int file, const Bench::Rows& rows) {
  Body body;
  off_t end = 0;
  for (int row = 0; row < rows.count(); ++row) {
    const std::size_t size = row < rows.systems ? Bench::newSystemSize : Bench::newZoneSize;
    const ssize_t written = ::pwrite(file, body.numbered(row), size, end);
    if (written != static_cast<ssize_t>(size)) {
      return false;
    }
    end += written;
    ::sync();
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "Usage: convert-floor ZONES OUTFILE\n");
    return 2;
  }
  const int file = ::open(argv[2], O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (file < 0 || !writeBodies(file, Bench::systemWith(std::atoi(argv[1])))) {
    std::perror(argv[2]);
    return 1;
  }
  return ::close(file) == 0 ? 0 : 1;
}
