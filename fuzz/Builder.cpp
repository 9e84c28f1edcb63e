// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "fuzz/Builder.h"

#include <cstddef>
#include <utility>

#include "fuzz/Check.h"

namespace Fuzz {

using Metakit::appendExtent;
using Metakit::appendInteger;
using Metakit::Bytes;
using Metakit::Extent;
using Metakit::Mark;

SparseFile dense(Bytes bytes) {
  const auto length = static_cast<std::int64_t>(bytes.size());
  return {{{0, std::move(bytes)}}, length};
}

Builder::Builder() : _file(dense(Bytes(Metakit::markSize))) {}

Extent Builder::add(const Bytes& block) {
  const Extent extent{size(), static_cast<std::int32_t>(block.size())};
  SparseFile::Part& last = _file.parts.back();
  if (last.position + static_cast<std::int64_t>(last.bytes.size()) == _file.length) {
    last.bytes.insert(last.bytes.end(), block.begin(), block.end());
  } else {
    _file.parts.push_back({_file.length, block});
  }
  _file.length += extent.size;
  return extent;
}

Extent Builder::addHole(std::int32_t size) {
  const Extent extent{this->size(), size};
  _file.length += size;
  return extent;
}

SparseFile Builder::finishSparse(const std::string& description, const Bytes& entries) {
  Bytes walk;
  appendInteger(walk, 0);
  appendInteger(walk, static_cast<std::int32_t>(description.size()));
  walk.insert(walk.end(), description.begin(), description.end());
  appendInteger(walk, 1);
  walk.insert(walk.end(), entries.begin(), entries.end());
  const Extent root = add(walk);
  Bytes tail(Metakit::tailSize);
  Metakit::encodeMark({Mark::Kind::SkipTail, {}, 0, size()}, tail.data());
  Metakit::encodeMark({Mark::Kind::CommitTail, {}, root.size, root.position},
                      tail.data() + Metakit::markSize);
  add(tail);
  Metakit::encodeMark({Mark::Kind::Header, {}, 0, size()}, _file.parts.front().bytes.data());
  return _file;
}

Bytes Builder::finish(const std::string& description, const Bytes& entries) {
  SparseFile file = finishSparse(description, entries);
  check(file.parts.size() == 1, "a file without holes is in one part");
  return std::move(file.parts.front().bytes);
}

Bytes integers(std::initializer_list<std::int32_t> list) {
  Bytes walk;
  for (const std::int32_t integer : list) {
    appendInteger(walk, integer);
  }
  return walk;
}

Bytes operator+(Bytes a, const Bytes& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

Bytes times(const Bytes& part, std::int32_t count) {
  Bytes all;
  for (std::int32_t i = 0; i < count; ++i) {
    all.insert(all.end(), part.begin(), part.end());
  }
  return all;
}

std::string repeated(const std::string& part, std::int32_t count) {
  std::string all;
  for (std::int32_t i = 0; i < count; ++i) {
    all += part;
  }
  return all;
}

Bytes entry(Extent block) {
  Bytes walk;
  appendExtent(walk, block);
  return walk;
}

std::string manyFields(std::int32_t count, const std::string& type) {
  static const std::string letters = "0123456789abcdefghijklmnopqrstuvwxyz!#$%&()*+-./;<=>?@{|}~";
  std::string all;
  for (std::int32_t i = 0; i < count; ++i) {
    all += i > 0 ? "," : "";
    for (auto rest = static_cast<std::size_t>(i) + 1; rest > 0; rest /= letters.size()) {
      all += letters[rest % letters.size()];
    }
    all += type;
  }
  return all;
}

Bytes emptyRows(std::int32_t rows, std::int32_t entriesOfSize0) {
  return integers({0, rows}) + times(integers({0}), entriesOfSize0);
}

Bytes oneView(Builder& builder, const std::string& description, const Bytes& table) {
  const Extent block = builder.add(integers({0}) + table);
  return builder.finish(description, entry(block));
}

Bytes oneView(const std::string& description, const Bytes& table) {
  Builder builder;
  return oneView(builder, description, table);
}

Bytes sameNested(const std::string& description, std::int32_t rows, const Bytes& nested) {
  Builder builder;
  const Extent block = builder.add(times(nested, rows));
  return oneView(builder, "t[v[" + description + "]]", integers({rows}) + entry(block));
}

}  // namespace Fuzz
