// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "fuzz/Disk.h"

#include <sys/mman.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "fuzz/Check.h"
#include "fuzz/Sanitizer.h"

#ifdef FUZZ_ADDRESS_SANITIZER
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(address, size) (static_cast<void>(0))
#define ASAN_UNPOISON_MEMORY_REGION(address, size) (static_cast<void>(0))
#endif

namespace Fuzz {

class Disk::OpenFile : public Metakit::File {
 public:
  explicit OpenFile(Disk& disk) : _disk(disk) {}

  std::int64_t length() const override { return static_cast<std::int64_t>(_disk._size); }
  bool writable() const override { return true; }

  const std::uint8_t* bytes(std::int64_t offset, std::size_t size) override {
    check(offset >= 0 && size <= _disk._size &&
              static_cast<std::size_t>(offset) <= _disk._size - size,
          "bytes are asked for within the file");
    return _disk._bytes + offset;
  }

  int write(std::int64_t offset, const void* bytes, std::size_t size) override {
    check(offset >= 0, "bytes are written within the file");
    const auto at = static_cast<std::size_t>(offset);
    if (at > room || size > room - at) {
      return ENOSPC;
    }
    int error = 0;
    if (_disk.begin(error)) {
      _disk.resize(std::max(_disk._size, at + size));
      std::memcpy(_disk._bytes + at, bytes, size);
    }
    return error;
  }

  int truncate(std::int64_t length) override {
    check(length >= 0 && length <= this->length(), "a file is cut back");
    int error = 0;
    if (_disk.begin(error)) {
      _disk.resize(static_cast<std::size_t>(length));
    }
    return error;
  }

  int flush() override {
    int error = 0;
    _disk.begin(error);
    return error;
  }

  void close() override {}

 private:
  Disk& _disk;
};

Disk::Disk() {
  void* mapped = ::mmap(nullptr, room, PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  check(mapped != MAP_FAILED, "memory for a file is there");
  _bytes = static_cast<std::uint8_t*>(mapped);
  ASAN_POISON_MEMORY_REGION(_bytes, room);
}

Disk::~Disk() {
  ASAN_UNPOISON_MEMORY_REGION(_bytes, room);
  ::munmap(_bytes, room);
}

void Disk::insert(const std::uint8_t* bytes, std::size_t size) {
  check(size <= room, "an input fits into the file");
  resize(0);
  resize(size);
  if (size > 0) {
    std::memcpy(_bytes, bytes, size);
  }
  insert();
}

void Disk::insert() {
  _operations = 0;
  _failAt = never;
  _cutAt = never;
  Metakit::setFileOpener(
      [this](const char* /*path*/, bool /*write*/) { return std::make_unique<OpenFile>(*this); });
}

void Disk::failAt(std::size_t operation, bool tooLate) {
  _failAt = _operations + operation;
  _failsTooLate = tooLate;
}

void Disk::cutAt(std::size_t operation, Disk& copy) {
  _cutAt = _operations + operation;
  _copy = &copy;
}

void Disk::finishCut() {
  if (_cutAt != never) {
    _cutAt = never;
    _copy->resize(0);
    _copy->resize(_size);
    std::memcpy(_copy->_bytes, _bytes, _size);
  }
}

bool Disk::begin(int& error) {
  if (_operations == _cutAt) {
    finishCut();
  }
  const bool fails = _operations++ == _failAt;
  error = fails ? EIO : 0;
  return !fails || _failsTooLate;
}

void Disk::resize(std::size_t size) {
  if (size > _size) {
    ASAN_UNPOISON_MEMORY_REGION(_bytes, size);
    const std::size_t dirty = std::min(size, std::max(_used, _size));
    if (dirty > _size) {
      std::memset(_bytes + _size, 0, dirty - _size);
    }
  } else {
    ASAN_POISON_MEMORY_REGION(_bytes + size, _size - size);
  }
  _size = size;
  _used = std::max(_used, size);
}

}  // namespace Fuzz
