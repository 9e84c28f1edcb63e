// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <vector>

#include "metakit/File.h"

namespace Bench {

/// Counts what storages ask of their files that are opened while the object lives. One at a time,
/// for one thread; it must outlive the storages.
class CountedFiles {
 public:
  struct Range {
    std::int64_t offset;
    std::int64_t size;
  };

  static constexpr std::int64_t pageSize = 4096;

  CountedFiles();
  ~CountedFiles();
  CountedFiles(const CountedFiles&) = delete;
  CountedFiles& operator=(const CountedFiles&) = delete;

  struct Counts {
    std::int64_t bytesWritten = 0;
    std::int64_t writes = 0;
    /// The numbers of the pages that were written to.
    std::set<std::int64_t> pages;
    /// What was to be read.
    std::vector<Range> asked;
  };
  Counts counts;

 private:
  class CountingFile;
};

}  // namespace Bench
