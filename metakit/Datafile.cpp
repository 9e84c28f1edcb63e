// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "metakit/Datafile.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <map>
#include <string>
#include <utility>

#include "metakit/EntryReader.h"
#include "metakit/File.h"
#include "metakit/Structure.h"
#include "metakit/ViewColumn.h"

namespace Metakit {

namespace {

/// A tail is one write, and must not be torn: it stays within one sector of the device.
constexpr std::int64_t sectorSize = 512;

/// The first position from `position` on where a tail lies within one sector.
std::int64_t tailPosition(std::int64_t base, std::int64_t position) {
  const std::int64_t inSector = (base + position) % sectorSize;
  return inSector <= sectorSize - tailSize ? position : position + sectorSize - inSector;
}

Mark tailOf(Extent rootWalk) {
  return {Mark::Kind::CommitTail, {}, rootWalk.size, rootWalk.position};
}

/// The mark at `offset`; none when the file does not reach there.
Mark markAt(File& file, std::int64_t offset) {
  if (offset < 0 || offset + markSize > file.length()) {
    return {};
  }
  const std::uint8_t* bytes = file.bytes(offset, markSize);
  return bytes != nullptr ? decodeMark(bytes) : Mark{};
}

}  // namespace

Datafile::Datafile(const char* path, bool write) : Datafile(openFile(path, write)) {}

Datafile::Datafile(std::unique_ptr<File> file) {
  _valid = file != nullptr && load(std::move(file));
  if (!_valid) {
    _source = nullptr;
    startEmpty();
  }
}

Datafile::~Datafile() {
  if (_source != nullptr) {
    _source->file().close();
  }
}

void Datafile::startEmpty() {
  _root = std::make_shared<Sequence>(_source, std::make_shared<Structure>());
  _root->append();
}

// ---- Opening ----

namespace {

/// A commit tail at `offset` and what must stand before it.
bool readTail(File& file, std::int64_t offset, std::int64_t& base, std::int32_t& end,
              Extent& rootWalk) {
  const Mark tail = markAt(file, offset);
  const Mark skip = markAt(file, offset - markSize);
  if (tail.kind != Mark::Kind::CommitTail || skip.kind != Mark::Kind::SkipTail) {
    return false;
  }
  base = offset - markSize - skip.value;
  if (base < 0) {
    return false;
  }
  end = skip.value + tailSize;
  rootWalk = {tail.value, tail.size};
  return true;
}

}  // namespace

bool Datafile::load(std::unique_ptr<File> file) {
  const std::int64_t length = file->length();
  if (length > std::numeric_limits<std::int32_t>::max()) {
    return false;
  }
  Found found;
  // From the end of the file backwards. A skip tail leads past bytes of a commit that was not
  // completed.
  std::int64_t at = length - markSize;
  Mark last = markAt(*file, at);
  while (last.kind == Mark::Kind::SkipTail) {
    at -= static_cast<std::int64_t>(last.value) + markSize;
    last = markAt(*file, at);
  }
  if (readTail(*file, at, found.base, found.end, found.rootWalk)) {
    found.header = markAt(*file, found.base);
  }
  if (length > 0 && found.header.kind != Mark::Kind::Header) {
    // The end is torn; then the header tells where the last complete commit ends.
    found = {};
    found.header = markAt(*file, 0);
    const std::int32_t end = found.header.value;
    if (found.header.kind != Mark::Kind::Header || end > length) {
      return false;
    }
    if (end > 0 && (!readTail(*file, end - markSize, found.base, found.end, found.rootWalk) ||
                    found.base != 0)) {
      return false;
    }
  }
  _end = found.end;
  _headerEnd = found.header.value;
  _rootWalk = found.rootWalk;
  _flushes = _end > 0;
  _source =
      std::make_shared<Source>(std::move(file), found.base, _end - tailSize, found.header.order);
  if (_end > 0) {
    return readRoot();
  }
  startEmpty();
  return _space.reset(0, {});
}

bool Datafile::readRoot() {
  if (!_source->holds(_rootWalk)) {
    return false;
  }
  const std::uint8_t* bytes = _source->bytes(_rootWalk);
  if (bytes == nullptr) {
    return false;
  }
  WalkReader walk(bytes, _rootWalk.size);
  const bool beginsWell = walk.integer() == 0;
  const std::string_view description = walk.text(walk.count());
  if (!beginsWell || walk.failed()) {
    return false;
  }
  const std::shared_ptr<const Structure> structure = parseStructure(description);
  if (structure == nullptr || WalkReader(walk).count() != 1) {
    return false;
  }
  WalkReader again = walk;
  std::vector<Extent> used = {_rootWalk};
  if (!EntryReader(*_source, used).rows(walk, *structure) || !walk.atEnd() ||
      !_space.reset(_end, std::move(used))) {
    return false;
  }
  _root = std::make_shared<Sequence>(_source, structure, again);
  return true;
}

// ---- Views ----

std::shared_ptr<Sequence> Datafile::view(std::string_view description) {
  std::unique_ptr<Structure> wanted = parseStructure(description);
  if (wanted == nullptr || wanted->fields.size() != 1 || wanted->fields[0].type != 'V') {
    return nullptr;
  }
  Field& view = wanted->fields[0];
  auto structure = _root->structure().clone();
  if (view.isRecursive()) {
    view.rows = structure.get();
  }
  int index = structure->find(view.name);
  if (index < 0) {
    index = static_cast<int>(structure->fields.size());
    structure->fields.push_back(std::move(view));
    _root->restructure(std::move(structure));
  } else {
    Field& field = structure->fields[static_cast<std::size_t>(index)];
    if (!field.isSameAs(view)) {
      field = std::move(view);
      _root->restructure(std::move(structure));
    }
  }
  return static_cast<ViewColumn&>(_root->columnAt(index)).at(0);
}

// ---- Committing ----

int Datafile::commit() {
  if (!_valid) {
    return EBADF;
  }
  if (!_source->file().writable()) {
    return EROFS;
  }
  // A file without views is not even begun.
  if (!_root->changed() || _root->structure().fields.empty()) {
    return 0;
  }
  Commit commit(_space);
  const Extent rootWalk = placeAll(commit);

  const std::int32_t blocksEnd = _space.end();
  // Files of other makers may have their tail across two sectors: it is not overwritten.
  const bool grows =
      blocksEnd > _end || tailPosition(_source->base(), _end - tailSize) != _end - tailSize;
  const std::int64_t limit =
      grows ? tailPosition(_source->base(), std::max(blocksEnd, _end + 1)) : _end - tailSize;
  if (_source->base() + limit > std::numeric_limits<std::int32_t>::max() - tailSize) {
    return EFBIG;
  }
  const std::int32_t end = static_cast<std::int32_t>(limit) + tailSize;
  if (grows) {
    commit.fillUpTo(end);
  }
  if (commit.failed() || !canBeRead(commit, end - tailSize)) {
    return EFBIG;
  }
  const int error = write(commit, rootWalk, grows, end - tailSize);
  if (error != 0) {
    return error;
  }

  for (const Extent& block : commit.finish()) {
    _space.give(block);
  }
  if (grows) {
    _space.give({blocksEnd, end - tailSize - blocksEnd});
    if (_end > 0) {
      _space.give({_end - tailSize, tailSize});
    }
  }
  _rootWalk = rootWalk;
  _end = end;
  _source->setLimit(end - tailSize);
  return 0;
}

/// Places all blocks that changed and the root walk, which it gives.
Extent Datafile::placeAll(Commit& commit) {
  const std::string description = _root->structure().description();
  Bytes walk;
  appendInteger(walk, 0);
  appendInteger(walk, static_cast<std::int32_t>(description.size()));
  walk.insert(walk.end(), description.begin(), description.end());
  _root->save(commit, walk);
  if (walk.size() > static_cast<std::size_t>(maxRootWalkSize)) {
    commit.fail();
  }
  commit.release(_rootWalk);
  return commit.placeWalk(std::move(walk));
}

/// Whether a file whose blocks end at `limit` may hold what the commit is to write.
bool Datafile::canBeRead(const Commit& commit, std::int32_t limit) const {
  std::map<std::int32_t, const std::uint8_t*> placed;
  for (const Commit::Placed& block : commit.blocks()) {
    placed.emplace(block.block.position, block.bytes);
  }
  const auto bytes = [&](Extent block) {
    const auto found = placed.find(block.position);
    return found != placed.end() ? found->second : _source->bytes(block);
  };
  const Commit::Placed& root = commit.blocks().back();
  WalkReader walk(root.bytes, root.block.size);
  walk.integer();
  walk.text(walk.count());
  return _root->structure().countFields() <= maxFields &&
         Tally().addAll(walk, _root->structure(), limit, bytes);
}

int Datafile::write(const Commit& commit, Extent rootWalk, bool grows, std::int32_t limit) {
  int error = settle();
  if (error != 0) {
    return error;
  }
  _settled = false;
  if (grows) {
    error = startGrowing(limit);
  }
  if (error == 0) {
    error = writeBlocks(commit);
  }
  if (error == 0) {
    error = writeTail(rootWalk, grows, limit);
  }
  if (error != 0) {
    _torn = true;
    // If this fails, too, the next commit comes back to it.
    restore();
  }
  return error;
}

/// From here on the last commit is the one that counts, on the device as well, whatever becomes of
/// bytes that it does not use.
int Datafile::settle() {
  int error = _settled ? 0 : flush();
  const bool isWhole =
      !_torn && _headerEnd == _end && _source->file().length() == _source->base() + _end;
  if (error == 0 && _end > 0 && !isWhole) {
    error = restore();
    if (error == 0) {
      error = flush();
    }
  }
  _settled = error == 0;
  return error;
}

/// Takes back what a commit that was not completed left.
int Datafile::restore() {
  File& file = _source->file();
  const std::int64_t end = _source->base() + _end;
  int error = 0;
  if (_torn && _end > 0) {
    error = writeMark(_end - markSize, tailOf(_rootWalk));
  }
  if (error == 0 && file.length() > end) {
    error = file.truncate(end);
  }
  // It is behind when the commit that made the file longer was cut off before its last write.
  if (error == 0 && _end > 0 && _headerEnd != _end) {
    error = writeHeader(_end);
  }
  _torn = _torn && error != 0;
  return error;
}

int Datafile::startGrowing(std::int32_t limit) {
  int error = 0;
  if (_end == 0) {
    error = restore();
    if (error == 0) {
      error = writeHeader(0);
    }
  }
  // Whoever opens the file from now on is led back from its new end to the last commit. Should that
  // be torn, the header does it.
  if (error == 0) {
    error = writeMark(limit, {Mark::Kind::SkipTail, {}, 0, limit - _end});
  }
  // Behind other bytes the header is not found.
  if (error == 0 && _source->base() > 0) {
    error = flush();
  }
  return error;
}

int Datafile::writeBlocks(const Commit& commit) {
  File& file = _source->file();
  for (const Commit::Placed& placed : commit.blocks()) {
    const int error = file.write(_source->base() + placed.block.position, placed.bytes,
                                 static_cast<std::size_t>(placed.block.size));
    if (error != 0) {
      return error;
    }
  }
  // The tables are to be read from there.
  if (file.bytes(_source->base(), static_cast<std::size_t>(_space.end() - tailSize)) == nullptr) {
    return ENOMEM;
  }
  return flush();
}

int Datafile::writeTail(Extent rootWalk, bool grows, std::int32_t limit) {
  const Mark tail = tailOf(rootWalk);
  if (!grows) {
    return writeMark(limit + markSize, tail);
  }
  std::uint8_t bytes[tailSize];
  encodeMark({Mark::Kind::SkipTail, {}, 0, limit}, bytes);
  encodeMark(tail, bytes + markSize);
  int error = _source->file().write(_source->base() + limit, bytes, sizeof bytes);
  if (error == 0) {
    error = flush();
  }
  return error != 0 ? error : writeHeader(limit + tailSize);
}

int Datafile::writeHeader(std::int32_t end) {
  _headerEnd = -1;
  const int error = writeMark(0, {Mark::Kind::Header, _source->order(), 0, end});
  if (error == 0) {
    _headerEnd = end;
  }
  return error;
}

int Datafile::writeMark(std::int32_t position, const Mark& mark) {
  std::uint8_t bytes[markSize];
  encodeMark(mark, bytes);
  return _source->file().write(_source->base() + position, bytes, sizeof bytes);
}

int Datafile::flush() {
  return _flushes ? _source->file().flush() : 0;
}

}  // namespace Metakit
