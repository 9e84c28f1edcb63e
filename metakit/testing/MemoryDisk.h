// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "metakit/File.h"

namespace MetakitTesting {

/// The name that tests give to their file, and the structure of their table.
constexpr char path[] = "file";
constexpr char tableDescription[] = "T[Key:I,Record:B]";

}  // namespace MetakitTesting

namespace Metakit {

/// Files in memory for tests, in place of the operating system's while the object lives. It notes
/// what is done to them, so that it can be done again in part, and can refuse or drop it from a
/// chosen operation on.
class MemoryDisk {
 public:
  struct Operation {
    enum class Kind { Write, Truncate, Flush };
    Kind kind;
    std::int64_t offset = 0;
    std::string bytes;
    /// Whether it took effect.
    bool done = true;

    /// Does it to a file's bytes.
    void applyTo(std::string& file) const {
      const auto at = static_cast<std::size_t>(offset);
      if (kind == Kind::Truncate) {
        file.resize(at);
      } else if (kind == Kind::Write) {
        file.resize(std::max(file.size(), at + bytes.size()));
        file.replace(at, bytes.size(), bytes);
      }
    }
  };

  MemoryDisk() {
    setFileOpener([this](const char* path, bool write) { return open(path, write); });
  }
  ~MemoryDisk() { setFileOpener({}); }
  MemoryDisk(const MemoryDisk&) = delete;
  MemoryDisk& operator=(const MemoryDisk&) = delete;

  std::string& operator[](const std::string& path) { return *content(path); }
  bool exists(const std::string& path) const { return _files.count(path) > 0; }

  /// Everything that was tried since the last time it was cleared, also what did not succeed.
  std::vector<Operation> operations;
  /// Operations from this one on, and before that one, fail; they count from 0, or from where
  /// `operations` was cleared.
  std::size_t failFrom = SIZE_MAX;
  std::size_t failTo = SIZE_MAX;
  /// Whether what fails takes effect all the same.
  bool failsTooLate = false;
  /// Operations from this one on are gone once the file is closed, as if the process had been
  /// killed before them.
  std::size_t dropFrom = SIZE_MAX;
  bool readOnly = false;

  std::size_t flushes() const {
    std::size_t count = 0;
    for (const Operation& operation : operations) {
      count += operation.kind == Operation::Kind::Flush ? 1 : 0;
    }
    return count;
  }

 private:
  class MemoryFile : public File {
   public:
    MemoryFile(MemoryDisk& disk, std::shared_ptr<std::string> content, bool writable)
        : _disk(disk), _content(std::move(content)), _writable(writable) {}

    std::int64_t length() const override { return static_cast<std::int64_t>(_content->size()); }
    bool writable() const override { return _writable; }

    const std::uint8_t* bytes(std::int64_t offset, std::size_t size) override {
      if (offset < 0 || static_cast<std::size_t>(offset) + size > _content->size()) {
        std::abort();
      }
      return reinterpret_cast<const std::uint8_t*>(_content->data()) + offset;
    }

    int write(std::int64_t offset, const void* bytes, std::size_t size) override {
      return perform({Kind::Write, offset, {static_cast<const char*>(bytes), size}}, ENOSPC);
    }
    int truncate(std::int64_t length) override {
      return perform({Kind::Truncate, length, {}}, EIO);
    }
    int flush() override { return perform({Kind::Flush, 0, {}}, EIO); }

    void close() override {
      if (_survives) {
        *_content = *_survives;
      }
    }

   private:
    using Kind = Operation::Kind;

    int perform(Operation operation, int error) {
      const std::size_t number = _disk.operations.size();
      const bool fails = number >= _disk.failFrom && number < _disk.failTo;
      operation.done = !fails || _disk.failsTooLate;
      if (number >= _disk.dropFrom && !_survives) {
        _survives = *_content;
      }
      if (operation.done) {
        operation.applyTo(*_content);
      }
      _disk.operations.push_back(std::move(operation));
      return fails ? error : 0;
    }

    MemoryDisk& _disk;
    std::shared_ptr<std::string> _content;
    bool _writable;
    std::optional<std::string> _survives;
  };

  std::unique_ptr<File> open(const char* path, bool write) {
    if (!write && !exists(path)) {
      return nullptr;
    }
    const auto file = content(path);
    // Bytes that are given out must stay where they are while the file grows.
    file->reserve(16 * 1024 * 1024);
    return std::make_unique<MemoryFile>(*this, file, write && !readOnly);
  }

  std::shared_ptr<std::string> content(const std::string& path) {
    auto& file = _files[path];
    if (file == nullptr) {
      file = std::make_shared<std::string>();
    }
    return file;
  }

  std::map<std::string, std::shared_ptr<std::string>> _files;
};

}  // namespace Metakit
