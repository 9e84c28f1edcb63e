// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "metakit/Codec.h"

namespace Fuzz {

// Datafiles that are put together byte by byte, with no regard to what the engine would write.

constexpr std::int32_t mebi = 1024 * 1024;

/// A file as the parts that are written; the bytes between them and up to the length are a hole.
struct SparseFile {
  struct Part {
    std::int64_t position;
    Metakit::Bytes bytes;
  };

  /// In order, none adjacent to the next.
  std::vector<Part> parts;
  std::int64_t length = 0;
};

/// A file without holes.
SparseFile dense(Metakit::Bytes bytes);

/// Puts a file together: blocks from the front, then the root walk and the tail.
class Builder {
 public:
  Builder();

  std::int32_t size() const { return static_cast<std::int32_t>(_file.length); }

  Metakit::Extent add(const Metakit::Bytes& block);
  /// A block of zeros that the file does not store.
  Metakit::Extent addHole(std::int32_t size);

  /// `entries` are those of the root's views. Nothing stands between the blocks and the end.
  SparseFile finishSparse(const std::string& description, const Metakit::Bytes& entries);
  /// The same. REQUIRES: there is no hole.
  Metakit::Bytes finish(const std::string& description, const Metakit::Bytes& entries);

 private:
  SparseFile _file;
};

Metakit::Bytes integers(std::initializer_list<std::int32_t> list);
Metakit::Bytes operator+(Metakit::Bytes a, const Metakit::Bytes& b);
Metakit::Bytes times(const Metakit::Bytes& part, std::int32_t count);
std::string repeated(const std::string& part, std::int32_t count);

/// What a walk says of a block.
Metakit::Bytes entry(Metakit::Extent block);

/// "a,b,..." of the given type, each name as short as that allows.
std::string manyFields(std::int32_t count, const std::string& type);

/// Rows of a sequence that take no bytes.
Metakit::Bytes emptyRows(std::int32_t rows, std::int32_t entriesOfSize0);

/// A file of one view whose table is `table`: number of rows and entries.
Metakit::Bytes oneView(Builder& builder, const std::string& description,
                       const Metakit::Bytes& table);
Metakit::Bytes oneView(const std::string& description, const Metakit::Bytes& table);

/// A column of `rows` rows of a nested view, all with the same walk.
Metakit::Bytes sameNested(const std::string& description, std::int32_t rows,
                          const Metakit::Bytes& nested);

}  // namespace Fuzz
