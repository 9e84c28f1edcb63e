// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "metakit/Space.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <tuple>

namespace Metakit {

bool Space::reset(std::int32_t end, std::vector<Extent> used) {
  _found.clear();
  _gaps.clear();
  _gapsBySize.clear();
  _end = std::max(end, markSize);
  const auto isBefore = [](const Extent& a, const Extent& b) { return a.position < b.position; };
  // Mostly in order, as the rows were appended, which std::sort is slow at. Sorting takes memory.
  if (!std::is_sorted(used.begin(), used.end(), isBefore)) {
    std::stable_sort(used.begin(), used.end(), isBefore);
  }
  std::int32_t free = markSize;
  const std::int32_t limit = std::max(end - tailSize, markSize);
  std::size_t gaps = 0;
  for (const Extent& block : used) {
    if (block.size == 0) {
      continue;
    }
    if (block.position < free || block.size < 0 || block.size > limit - block.position) {
      return false;
    }
    gaps += block.position > free ? 1U : 0U;
    free = block.position + block.size;
  }
  // Counted first: a list that grows takes up to three times its size.
  _found.reserve(gaps + 1);
  free = markSize;
  for (const Extent& block : used) {
    if (block.size > 0 && block.position > free) {
      _found.push_back({free, block.position - free});
    }
    free = std::max(free, block.position + block.size);
  }
  if (limit > free) {
    _found.push_back({free, limit - free});
  }
  return true;
}

void Space::index() {
  for (const Extent& gap : _found) {
    _gaps.emplace_hint(_gaps.end(), gap.position, gap.size);
  }
  std::sort(_found.begin(), _found.end(), [](const Extent& a, const Extent& b) {
    return std::tie(a.size, a.position) < std::tie(b.size, b.position);
  });
  for (const Extent& gap : _found) {
    _gapsBySize.emplace_hint(_gapsBySize.end(), gap.size, gap.position);
  }
  _found = std::vector<Extent>();
}

bool Space::take(std::int32_t size, Extent& block) {
  index();
  const auto found = _gapsBySize.lower_bound({size, 0});
  if (found == _gapsBySize.end()) {
    return size <= std::numeric_limits<std::int32_t>::max() - _end && extend(_end + size, block);
  }
  block = takeFrom(_gaps.find(found->second), size);
  return true;
}

std::int32_t Space::freeAt(std::int32_t position) {
  index();
  const auto gap = _gaps.find(position);
  return gap != _gaps.end() ? gap->second : 0;
}

Extent Space::takeAt(std::int32_t position, std::int32_t size) {
  index();
  return takeFrom(_gaps.find(position), size);
}

Extent Space::takeFrom(Gaps::iterator gap, std::int32_t size) {
  const Extent block = {gap->first, size};
  const std::int32_t left = gap->second - size;
  removeGap(gap);
  if (left > 0) {
    addGap(block.position + size, left);
  }
  return block;
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
  index();
  const auto next = _gaps.lower_bound(block.position);
  if (next != _gaps.begin()) {
    const auto previous = std::prev(next);
    if (previous->first + previous->second == block.position) {
      block = {previous->first, previous->second + block.size};
      removeGap(previous);
    }
  }
  if (next != _gaps.end() && block.position + block.size == next->first) {
    block.size += next->second;
    removeGap(next);
  }
  if (block.position + block.size == _end) {
    _end = block.position;
    return;
  }
  addGap(block.position, block.size);
}

void Space::addGap(std::int32_t position, std::int32_t size) {
  _gaps.emplace(position, size);
  _gapsBySize.emplace(size, position);
}

void Space::removeGap(Gaps::iterator gap) {
  _gapsBySize.erase({gap->second, gap->first});
  _gaps.erase(gap);
}

}  // namespace Metakit
