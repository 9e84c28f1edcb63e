// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "bench/CountedFiles.h"

#include <utility>

#include "metakit/PosixFile.h"

namespace Bench {

class CountedFiles::CountingFile : public Metakit::File {
 public:
  CountingFile(CountedFiles& files, std::unique_ptr<File> file)
      : _files(files), _file(std::move(file)) {}

  std::int64_t length() const override { return _file->length(); }
  bool writable() const override { return _file->writable(); }

  const std::uint8_t* bytes(std::int64_t offset, std::size_t size) override {
    _files.counts.asked.push_back({offset, static_cast<std::int64_t>(size)});
    return _file->bytes(offset, size);
  }

  int write(std::int64_t offset, const void* bytes, std::size_t size) override {
    const auto end = offset + static_cast<std::int64_t>(size);
    _files.counts.bytesWritten += end - offset;
    ++_files.counts.writes;
    for (std::int64_t page = offset / pageSize; page * pageSize < end; ++page) {
      _files.counts.pages.insert(page);
    }
    return _file->write(offset, bytes, size);
  }

  int truncate(std::int64_t length) override { return _file->truncate(length); }
  int flush() override { return _file->flush(); }
  void close() override { _file->close(); }

 private:
  CountedFiles& _files;
  const std::unique_ptr<File> _file;
};

CountedFiles::CountedFiles() {
  Metakit::setFileOpener([this](const char* path, bool write) -> std::unique_ptr<Metakit::File> {
    auto file = Metakit::PosixFile::open(path, write);
    return file != nullptr ? std::make_unique<CountingFile>(*this, std::move(file)) : nullptr;
  });
}

CountedFiles::~CountedFiles() {
  Metakit::setFileOpener({});
}

}  // namespace Bench
