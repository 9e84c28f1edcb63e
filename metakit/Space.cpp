#include "metakit/Space.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace Metakit {

bool Space::reset(std::int32_t end, std::vector<Extent> used) {
  _gaps.clear();
  _end = std::max(end, markSize);
  std::sort(used.begin(), used.end(),
            [](const Extent& a, const Extent& b) { return a.position < b.position; });
  std::int32_t free = markSize;
  const std::int32_t limit = std::max(end - tailSize, markSize);
  for (const Extent& block : used) {
    if (block.size == 0) {
      continue;
    }
    if (block.position < free || block.size < 0 || block.size > limit - block.position) {
      return false;
    }
    if (block.position > free) {
      _gaps.emplace_hint(_gaps.end(), free, block.position - free);
    }
    free = block.position + block.size;
  }
  if (limit > free) {
    _gaps.emplace_hint(_gaps.end(), free, limit - free);
  }
  return true;
}

bool Space::take(std::int32_t size, Extent& block) {
  for (auto gap = _gaps.begin(); gap != _gaps.end(); ++gap) {
    if (gap->second < size) {
      continue;
    }
    block = {gap->first, size};
    const std::int32_t left = gap->second - size;
    const auto next = _gaps.erase(gap);
    if (left > 0) {
      _gaps.emplace_hint(next, block.position + size, left);
    }
    return true;
  }
  return size <= std::numeric_limits<std::int32_t>::max() - _end && extend(_end + size, block);
}

bool Space::extend(std::int32_t position, Extent& block) {
  if (position < _end) {
    return false;
  }
  block = {_end, position - _end};
  _end = position;
  return true;
}

void Space::give(Extent block) {
  if (block.size == 0) {
    return;
  }
  auto next = _gaps.lower_bound(block.position);
  if (next != _gaps.end() && block.position + block.size == next->first) {
    block.size += next->second;
    next = _gaps.erase(next);
  }
  if (next != _gaps.begin()) {
    const auto previous = std::prev(next);
    if (previous->first + previous->second == block.position) {
      block = {previous->first, previous->second + block.size};
      _gaps.erase(previous);
    }
  }
  if (block.position + block.size == _end) {
    _end = block.position;
    return;
  }
  _gaps.emplace(block.position, block.size);
}

}  // namespace Metakit
