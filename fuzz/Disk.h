// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "metakit/File.h"

namespace Fuzz {

/// One file in memory, in place of the operating system's while it is inserted. Its bytes stay
/// where they are while it grows, up to `room`; under the address sanitizer those past its end
/// cannot be read. It can fail a chosen operation, and keep what it held before one.
class Disk {
 public:
  static constexpr std::size_t room = 64 * 1024 * 1024;

  Disk();
  ~Disk();
  Disk(const Disk&) = delete;
  Disk& operator=(const Disk&) = delete;

  /// Makes storages open this file, whatever their path, and gives it these bytes. No operation
  /// fails from now on.
  void insert(const std::uint8_t* bytes, std::size_t size);
  /// The same, with the bytes that it has.
  void insert();

  const std::uint8_t* bytes() const { return _bytes; }
  std::size_t size() const { return _size; }
  /// Writes, cuts and flushes since the bytes were given.
  std::size_t operations() const { return _operations; }

  /// The operation that many from now fails; with `tooLate` it takes effect all the same.
  void failAt(std::size_t operation, bool tooLate);
  void failNever() { _failAt = never; }
  /// `copy` gets what the file holds before the operation that many from now; at the latest by
  /// finishCut().
  void cutAt(std::size_t operation, Disk& copy);
  void finishCut();

 private:
  class OpenFile;

  static constexpr std::size_t never = SIZE_MAX;

  /// Whether the operation that begins takes effect, and the error that it gives.
  bool begin(int& error);
  void resize(std::size_t size);

  std::uint8_t* _bytes;
  std::size_t _size = 0;
  /// Bytes that may be other than 0.
  std::size_t _used = 0;
  std::size_t _operations = 0;
  std::size_t _failAt = never;
  bool _failsTooLate = false;
  std::size_t _cutAt = never;
  Disk* _copy = nullptr;
};

}  // namespace Fuzz
