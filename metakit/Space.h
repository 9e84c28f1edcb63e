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

  /// Takes what lies between the end and `position`, which becomes the end. False past 2 GiB.
  bool extend(std::int32_t position, Extent& block);

  /// Hands a block back.
  void give(Extent block);

 private:
  void addGap(std::int32_t position, std::int32_t size);
  void removeGap(std::map<std::int32_t, std::int32_t>::iterator gap);

  /// Size by position; no two gaps touch, and none touches the end.
  std::map<std::int32_t, std::int32_t> _gaps;
  /// The same as pairs of size and position.
  std::set<std::pair<std::int32_t, std::int32_t>> _gapsBySize;
  std::int32_t _end = 0;
};

}  // namespace Metakit
