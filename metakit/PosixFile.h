// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "metakit/File.h"

namespace Metakit {

/// A file of the operating system. What is written goes through the descriptor, what is read comes
/// from a mapping, which the system keeps at one with it. Interrupted and short writes are
/// continued. A write past the limit that the process has for the size of files is an error and
/// does not end it.
class PosixFile : public File {
 public:
  /// A `FileOpener` for the operating system's files. Anything but a regular file is refused.
  static std::unique_ptr<File> open(const char* path, bool write);

  /// The file that a descriptor is open for, for writing as well if `writable` is set. The caller
  /// keeps its descriptor. Returns null if the process has no free descriptor.
  static std::unique_ptr<File> share(int descriptor, bool writable);

  ~PosixFile() override;
  PosixFile(const PosixFile&) = delete;
  PosixFile& operator=(const PosixFile&) = delete;

  std::int64_t length() const override { return _length; }
  bool writable() const override { return _writable; }
  const std::uint8_t* bytes(std::int64_t offset, std::size_t size) override;
  void letGo() override;
  Range storedFrom(std::int64_t offset) override;
  int write(std::int64_t offset, const void* bytes, std::size_t size) override;
  int truncate(std::int64_t length) override;
  int flush() override;
  void close() override;

 private:
  struct Mapping {
    std::uint8_t* start;
    std::size_t size;
  };

  static std::unique_ptr<File> adopt(int descriptor, bool writable);

  PosixFile(int descriptor, bool writable, std::int64_t length)
      : _descriptor(descriptor), _writable(writable), _length(length) {}

  bool map(std::uint64_t size);
  int checkLimit(std::int64_t end);

  int _descriptor;
  const bool _writable;
  std::int64_t _length;
  /// Up to here the size of files is known not to be limited.
  std::int64_t _allowed = 0;
  /// The last one is in use; those before it are kept for the bytes given out of them.
  std::vector<Mapping> _mappings;
};

}  // namespace Metakit
