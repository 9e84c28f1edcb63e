#include "metakit/Datafile.h"

#include <cerrno>

#include <limits>
#include <string>
#include <utility>

#include "metakit/EntryReader.h"
#include "metakit/File.h"
#include "metakit/Structure.h"

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

Datafile::Datafile(const char* path, bool write) {
  auto file = openFile(path, write);
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
  walk.integer();
  const std::int32_t size = walk.count();
  const auto* text = reinterpret_cast<const char*>(walk.bytes(size));
  if (bytes[0] != 0x80 || text == nullptr) {
    return false;
  }
  const std::shared_ptr<const Structure> structure =
      parseStructure({text, static_cast<std::size_t>(size)});
  if (structure == nullptr) {
    return false;
  }
  WalkReader again = walk;
  std::vector<Extent> used = {_rootWalk};
  if (!EntryReader(*_source, &used).rows(walk, *structure) || !walk.atEnd() ||
      !_space.reset(_end, std::move(used))) {
    return false;
  }
  _root = std::make_shared<Sequence>(_source, structure, again);
  return _root->rows() == 1;
}

// ---- Views ----

std::shared_ptr<Sequence> Datafile::view(std::string_view description) {
  std::unique_ptr<Structure> wanted = parseStructure(description);
  if (wanted == nullptr || wanted->fields.size() != 1 || wanted->fields[0].type != 'V') {
    return nullptr;
  }
  auto structure = _root->structure().clone();
  int index = structure->find(wanted->fields[0].name);
  if (index < 0) {
    index = static_cast<int>(structure->fields.size());
    structure->fields.push_back(std::move(wanted->fields[0]));
    _root->restructure(std::move(structure));
  } else {
    Field& field = structure->fields[static_cast<std::size_t>(index)];
    if (field.type != 'V' || !field.rows->isSameAs(*wanted->fields[0].rows)) {
      field = std::move(wanted->fields[0]);
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
  const std::string description = _root->structure().description();
  Commit commit(_space);
  Bytes walk;
  appendInteger(walk, 0);
  appendInteger(walk, static_cast<std::int32_t>(description.size()));
  walk.insert(walk.end(), description.begin(), description.end());
  _root->save(commit, walk);
  if (walk.size() > static_cast<std::size_t>(maxRootWalkSize)) {
    return EFBIG;
  }
  const Extent rootWalk = commit.place(std::move(walk));
  commit.release(_rootWalk);

  const std::int32_t blocksEnd = _space.end();
  const bool grows = blocksEnd > _end;
  const std::int64_t limit = grows ? tailPosition(_source->base(), blocksEnd) : _end - tailSize;
  if (limit > std::numeric_limits<std::int32_t>::max() - tailSize) {
    return EFBIG;
  }
  const std::int32_t end = static_cast<std::int32_t>(limit) + tailSize;
  if (grows) {
    commit.fillUpTo(end);
  }
  if (commit.failed()) {
    return EFBIG;
  }
  const int error = write(commit, rootWalk, grows, static_cast<std::int32_t>(limit));
  if (error != 0) {
    return error;
  }

  std::vector<Extent> free = commit.finish();
  _rootWalk = rootWalk;
  if (grows) {
    free.push_back({blocksEnd, end - tailSize - blocksEnd});
    if (_end > 0) {
      free.push_back({_end - tailSize, tailSize});
    }
  }
  _end = end;
  _source->setLimit(end - tailSize);
  if (_flushes && !grows) {
    // The new tail may still be on its way to the device; so these wait for the next flush.
    _cooling.insert(_cooling.end(), free.begin(), free.end());
    free.clear();
  }
  for (const Extent& block : free) {
    _space.give(block);
  }
  return 0;
}

int Datafile::write(const Commit& commit, Extent rootWalk, bool grows, std::int32_t limit) {
  int error = writeBlocks(commit, grows, limit);
  if (error == 0) {
    error = writeTail(rootWalk, grows, limit);
  }
  if (error != 0) {
    restore(grows);
  }
  return error;
}

/// Best effort: the file opens at the last commit without it, too, unless the tail got there in
/// spite of the error.
void Datafile::restore(bool grows) {
  if (grows) {
    _source->file().truncate(_source->base() + _end);
  } else {
    writeMark(_end - markSize, tailOf(_rootWalk));
  }
}

int Datafile::writeBlocks(const Commit& commit, bool grows, std::int32_t limit) {
  File& file = _source->file();
  int error = 0;
  if (grows) {
    if (file.length() > _source->base() + _end) {
      error = file.truncate(_source->base() + _end);
    }
    // Should this commit not be completed, the header may be all that leads to the last one. It is
    // behind when the commit that made the file longer was cut off before its last write.
    if (error == 0 && (_end == 0 || _headerEnd != _end)) {
      error = writeHeader(_end);
      if (error == 0) {
        error = flush();
      }
    }
    // Whoever opens the file from now on is led back from its new end to the last commit.
    if (error == 0) {
      error = writeMark(limit, {Mark::Kind::SkipTail, {}, 0, limit - _end});
    }
  }
  for (const Commit::Placed& placed : commit.blocks()) {
    if (error != 0) {
      return error;
    }
    error = file.write(_source->base() + placed.block.position, placed.bytes,
                       static_cast<std::size_t>(placed.block.size));
  }
  return error != 0 ? error : flush();
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
  const int error = _flushes ? _source->file().flush() : 0;
  if (error == 0) {
    for (const Extent& block : std::exchange(_cooling, {})) {
      _space.give(block);
    }
  }
  return error;
}

}  // namespace Metakit
