#include "metakit/Commit.h"

#include <limits>
#include <utility>

namespace Metakit {

Commit::~Commit() {
  for (const Extent& block : _taken) {
    _space.give(block);
  }
}

Extent Commit::place(const std::uint8_t* bytes, std::int64_t size) {
  Extent block;
  if (size == 0 || _failed) {
    return block;
  }
  if (bytes == nullptr || size > std::numeric_limits<std::int32_t>::max() ||
      !_space.take(static_cast<std::int32_t>(size), block)) {
    _failed = true;
    return {};
  }
  _taken.push_back(block);
  _placed.push_back({block, bytes});
  return block;
}

Extent Commit::place(Bytes&& bytes) {
  // Moving the vectors of a growing list does not move their bytes.
  _copies.push_back(std::move(bytes));
  return place(_copies.back().data(), static_cast<std::int64_t>(_copies.back().size()));
}

void Commit::fillUpTo(std::int32_t position) {
  Extent filling;
  if (_failed || !_space.extend(position, filling)) {
    _failed = true;
    return;
  }
  _taken.push_back(filling);
}

void Commit::release(const std::vector<Extent>& blocks) {
  _released.insert(_released.end(), blocks.begin(), blocks.end());
}

std::vector<Extent> Commit::finish() {
  _taken.clear();
  for (const auto& note : _notes) {
    note();
  }
  return std::move(_released);
}

}  // namespace Metakit
