// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "metakit/Commit.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace Metakit {

namespace {

/// Bytes to be kept free behind a block of that size.
std::int32_t slackFor(std::size_t size) {
  return static_cast<std::int32_t>(
      std::min<std::size_t>(size / 4, std::numeric_limits<std::int32_t>::max()));
}

}  // namespace

Commit::~Commit() {
  for (const Extent& block : _taken) {
    _space.give(block);
  }
}

Growable Commit::take(std::int64_t size, std::int32_t slack, bool atEnd) {
  if (size == 0 || _failed) {
    return {};
  }
  constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
  const auto fits = [&](std::int32_t room) { return size <= most - slack - room; };
  const auto needed = static_cast<std::int32_t>(size + slack);
  Extent room;
  const bool found = atEnd ? fits(_space.end()) && _space.extend(_space.end() + needed, room)
                           : fits(0) && _space.take(needed, room);
  if (!found) {
    _failed = true;
    return {};
  }
  _taken.push_back(room);
  return {{room.position, static_cast<std::int32_t>(size)}, slack};
}

void Commit::write(std::int32_t position, Bytes&& bytes) {
  // Moving the vectors of a growing list does not move their bytes.
  _copies.push_back(std::move(bytes));
  const Bytes& copy = _copies.back();
  _placed.push_back({{position, static_cast<std::int32_t>(copy.size())}, copy.data()});
}

Extent Commit::place(const std::uint8_t* bytes, std::int64_t size) {
  _failed = _failed || (bytes == nullptr && size > 0);
  const Extent block = take(size, 0).block;
  if (block.size > 0) {
    _placed.push_back({block, bytes});
  }
  return block;
}

Extent Commit::placeWalk(Bytes&& walk) {
  const Extent block =
      take(static_cast<std::int64_t>(walk.size()), 0, _space.end() > _endBefore).block;
  if (block.size > 0) {
    write(block.position, std::move(walk));
  }
  return block;
}

Growable Commit::replace(const Growable& old, Bytes&& bytes) {
  const Growable placed = take(static_cast<std::int64_t>(bytes.size()),
                               old.block.size > 0 ? slackFor(bytes.size()) : 0);
  release(old.withSlack());
  if (placed.block.size > 0) {
    write(placed.block.position, std::move(bytes));
  }
  return placed;
}

Growable Commit::append(const Growable& old, const std::uint8_t* oldBytes, Bytes&& bytes) {
  Growable extended = old;
  if (bytes.empty() || _failed || extend(old, 0, bytes, extended)) {
    return extended;
  }
  if (oldBytes == nullptr && old.block.size > 0) {
    _failed = true;
    return {};
  }
  Bytes all;
  all.reserve(static_cast<std::size_t>(old.block.size) + bytes.size());
  all.insert(all.end(), oldBytes, oldBytes + old.block.size);
  all.insert(all.end(), bytes.begin(), bytes.end());
  return replace(old, std::move(all));
}

bool Commit::extend(const Growable& old, std::int32_t again, Bytes& bytes, Growable& extended) {
  const std::int64_t added = static_cast<std::int64_t>(bytes.size()) - again;
  if (old.block.size == 0 || added > std::numeric_limits<std::int32_t>::max() - old.block.size) {
    return false;
  }
  const auto more = static_cast<std::int32_t>(added);
  std::int32_t slack = old.slack;
  if (slack < more) {
    // What happens to be free behind the slack does as well.
    const std::int32_t end = old.block.position + old.block.size + slack;
    const std::int32_t missing = more - slack;
    const std::int32_t free = _space.freeAt(end);
    if (free < missing) {
      return false;
    }
    const std::int32_t wanted = slackFor(static_cast<std::size_t>(old.block.size) + bytes.size());
    const Extent taken = _space.takeAt(end, missing + std::min(free - missing, wanted));
    _taken.push_back(taken);
    slack += taken.size;
  }
  write(old.block.position + old.block.size - again, std::move(bytes));
  extended = {{old.block.position, old.block.size + more}, slack - more};
  return true;
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
