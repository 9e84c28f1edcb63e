// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

namespace Metakit {

/// The file under a datafile: the few things that a storage asks of it. Tests replace it, to count
/// what is written, to fail or to stop at a chosen point. A storage owns its file and is its only
/// user, on one thread at a time. Operations tell errors by the C library's numbers, 0 for none;
/// nothing is fatal.
class File {
 public:
  virtual ~File() = default;

  /// Bytes that the file has now.
  virtual std::int64_t length() const = 0;

  /// Whether it was opened for writing, too.
  virtual bool writable() const = 0;

  /// The bytes from `offset` on; null when they cannot be had. They stay readable as long as this
  /// object lives.
  /// REQUIRES: offset + size <= length(), and the bytes are not cut off afterwards.
  virtual const std::uint8_t* bytes(std::int64_t offset, std::size_t size) = 0;

  /// Lets the bytes that were given out leave memory; each comes back when it is looked at again.
  virtual void letGo() {}

  /// Writes all the bytes at once, past the end as well.
  virtual int write(std::int64_t offset, const void* bytes, std::size_t size) = 0;

  /// Cuts the file back to `length`.
  virtual int truncate(std::int64_t length) = 0;

  /// Blocks until everything written is on the device.
  virtual int flush() = 0;

  /// The first bytes from `offset` on that the file system stores, up to the next hole; what is
  /// between holds zeros. Empty when only a hole follows. REQUIRES: offset <= length().
  struct Range {
    std::int64_t begin;
    std::int64_t end;
  };
  virtual Range storedFrom(std::int64_t offset) { return {offset, length()}; }

  /// Lets the file go. What it holds can still be had by bytes(), no other operation may follow.
  virtual void close() = 0;
};

/// Opens a regular file for reading, or for reading and writing when `write` is set: then a missing
/// one is created, and one that may only be read is opened for that. Null when it cannot be opened.
using FileOpener = std::function<std::unique_ptr<File>(const char* path, bool write)>;

/// Makes storages open their files through `opener` from now on; an empty one brings the operating
/// system's files back. REQUIRES: no other thread opens a storage meanwhile.
void setFileOpener(FileOpener opener);

/// Opens a file through the opener in force.
std::unique_ptr<File> openFile(const char* path, bool write);

}  // namespace Metakit
