#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "metakit/File.h"

namespace Metakit {

/// Files in memory for tests, in place of the operating system's while the object lives. It notes
/// what is done to them, and can refuse or drop it from a chosen operation on.
class MemoryDisk {
 public:
  struct Operation {
    enum class Kind { Write, Truncate, Flush };
    Kind kind;
    std::int64_t offset = 0;
    std::string bytes;
  };

  MemoryDisk() {
    setFileOpener([this](const char* path, bool write) { return open(path, write); });
  }
  ~MemoryDisk() { setFileOpener({}); }
  MemoryDisk(const MemoryDisk&) = delete;
  MemoryDisk& operator=(const MemoryDisk&) = delete;

  std::string& operator[](const std::string& path) { return content(path)->bytes; }
  bool exists(const std::string& path) const { return _files.count(path) > 0; }

  /// Everything that was tried since the last time it was cleared, also what did not succeed.
  std::vector<Operation> operations;
  /// Operations from this one on, and before that one, fail.
  std::size_t failFrom = SIZE_MAX;
  std::size_t failTo = SIZE_MAX;
  /// Writes from this one on are taken and not done, as if the power were gone.
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
  struct Content {
    // Bytes that were given out must stay where they are.
    Content() { bytes.reserve(16 * 1024 * 1024); }
    std::string bytes;
  };

  class MemoryFile : public File {
   public:
    MemoryFile(MemoryDisk& disk, std::shared_ptr<Content> content, bool writable)
        : _disk(disk), _content(std::move(content)), _writable(writable) {}

    std::int64_t length() const override {
      return static_cast<std::int64_t>(_content->bytes.size());
    }
    bool writable() const override { return _writable; }

    const std::uint8_t* bytes(std::int64_t offset, std::size_t size) override {
      if (offset < 0 || static_cast<std::size_t>(offset) + size > _content->bytes.size()) {
        std::abort();
      }
      return reinterpret_cast<const std::uint8_t*>(_content->bytes.data()) + offset;
    }

    int write(std::int64_t offset, const void* bytes, std::size_t size) override {
      const std::string text(static_cast<const char*>(bytes), size);
      if (!_disk.begin({Operation::Kind::Write, offset, text})) {
        return ENOSPC;
      }
      if (_disk.operations.size() <= _disk.dropFrom) {
        std::string& all = _content->bytes;
        const auto at = static_cast<std::size_t>(offset);
        if (all.size() < at + size) {
          all.resize(at + size);
        }
        all.replace(at, size, text);
      }
      return 0;
    }

    int truncate(std::int64_t length) override {
      if (!_disk.begin({Operation::Kind::Truncate, length, {}})) {
        return EIO;
      }
      if (_disk.operations.size() <= _disk.dropFrom) {
        _content->bytes.resize(static_cast<std::size_t>(length));
      }
      return 0;
    }

    int flush() override { return _disk.begin({Operation::Kind::Flush, 0, {}}) ? 0 : EIO; }

    void close() override {}

   private:
    MemoryDisk& _disk;
    std::shared_ptr<Content> _content;
    bool _writable;
  };

  std::unique_ptr<File> open(const char* path, bool write) {
    if (!write && !exists(path)) {
      return nullptr;
    }
    return std::make_unique<MemoryFile>(*this, content(path), write && !readOnly);
  }

  std::shared_ptr<Content> content(const std::string& path) {
    auto& file = _files[path];
    if (file == nullptr) {
      file = std::make_shared<Content>();
    }
    return file;
  }

  bool begin(Operation operation) {
    operations.push_back(std::move(operation));
    return operations.size() <= failFrom || operations.size() > failTo;
  }

  std::map<std::string, std::shared_ptr<Content>> _files;
};

}  // namespace Metakit
