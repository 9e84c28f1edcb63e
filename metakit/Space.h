// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "metakit/Codec.h"

namespace Metakit {

/// Which bytes of a datafile are free. A datafile has no free list: free is what the last commit
/// does not use. A block taken for a commit in the making is handed back when the commit fails; one
/// that a commit no longer uses is free for the next. Belongs to one datafile; nothing is fatal.
class Space {
 public:
  /// Starts over: a file that ends, its tail included, at `end` (0 for a file without a commit) and
  /// uses the blocks `used`. False when two of them overlap or one lies outside; then all is lost.
  bool reset(std::int32_t end, std::vector<Extent> used);

  /// Past the last byte that a block or tail takes.
  std::int32_t end() const { return _end; }

  /// Takes `size` > 0 bytes, from the smallest gap they fit into or past the end. False when the
  /// file would get longer than 2 GiB.
  bool take(std::int32_t size, Extent& block);

  /// How many bytes are free from `position` on, where a block ends; the end of the file is none.
  std::int32_t freeAt(std::int32_t position);

  /// Takes the first `size` of the bytes that are free from there on.
  /// REQUIRES: 0 < size <= freeAt(position).
  Extent takeAt(std::int32_t position, std::int32_t size);

  /// Takes what lies between the end and `position`, which becomes the end. False past 2 GiB.
  bool extend(std::int32_t position, Extent& block);

  /// Hands a block back.
  void give(Extent block);

 private:
  using Gaps = std::map<std::int32_t, std::int32_t>;

  void index();
  Extent takeFrom(Gaps::iterator gap, std::int32_t size);
  void addGap(std::int32_t position, std::int32_t size);
  void removeGap(Gaps::iterator gap);

  /// The gaps of a file that was opened, until the first commit asks for them: who only reads does
  /// not need more.
  std::vector<Extent> _found;

  /// Size by position; no two gaps touch, and none touches the end.
  Gaps _gaps;
  /// The same as pairs of size and position.
  std::set<std::pair<std::int32_t, std::int32_t>> _gapsBySize;
  std::int32_t _end = 0;
};

}  // namespace Metakit
