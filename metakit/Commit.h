// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include "metakit/Codec.h"
#include "metakit/Space.h"
#include "metakit/Structure.h"

namespace Metakit {

/// A block and the free bytes right behind it that are kept for it to grow into.
struct Growable {
  Extent block;
  std::int32_t slack = 0;

  Extent withSlack() const { return {block.position, block.size + slack}; }
};

/// A commit in the making: the blocks that it is to write, those that it makes superfluous, and
/// what the columns have to note once it is complete. Until finish() nothing has changed for
/// anybody: a commit that is given up hands its blocks back and leaves columns and file as they
/// were. Lives on the stack of the storage that commits; nothing is fatal.
class Commit {
 public:
  /// Bytes to be written.
  struct Placed {
    Extent block;
    const std::uint8_t* bytes;
  };

  /// `space` must outlive this object.
  explicit Commit(Space& space) : _space(space), _endBefore(space.end()) {}
  ~Commit();
  Commit(const Commit&) = delete;
  Commit& operator=(const Commit&) = delete;

  /// Finds room for a block; nothing for `size` 0. The bytes must stay valid until the commit is
  /// over. When there is no room left the commit fails, and so does every further block.
  Extent place(const std::uint8_t* bytes, std::int64_t size);

  /// The same for the bytes of a walk, of which the commit keeps a copy. If the file gets longer
  /// anyway they go to its end, where the tail is written, too: that touches a page less.
  Extent placeWalk(Bytes&& walk);

  /// Gives a block other bytes, elsewhere. One that has to move gets slack in proportion to its
  /// size, so that the cost of moving a block that grows is a constant for each byte.
  Growable replace(const Growable& old, Bytes&& bytes);

  /// Adds bytes to a block: behind it, where the last commit uses nothing, or elsewhere if there is
  /// no room. `oldBytes` are those of the block.
  Growable append(const Growable& old, const std::uint8_t* oldBytes, Bytes&& bytes);

  /// Adds bytes to a block and leaves it where it is. The first `again` of them stand there
  /// already, as its last bytes, in all bits that the last commit uses. False when there is no room
  /// behind it; then the bytes are left to the caller.
  bool extend(const Growable& old, std::int32_t again, Bytes& bytes, Growable& extended);

  /// Takes the bytes from the end of all blocks up to `position`.
  void fillUpTo(std::int32_t position);

  /// There is something that cannot be written.
  void fail() { _failed = true; }

  /// To be called around the rows of a nested view, which must not nest too deep to be read again.
  bool enter() { return ++_depth <= maxNesting; }
  void leave() { --_depth; }

  /// The block is not used any more when this commit is complete.
  void release(Extent block) { _released.push_back(block); }
  void release(const std::vector<Extent>& blocks);

  /// Has `note` called when the commit is complete.
  void whenDone(std::function<void()> note) { _notes.push_back(std::move(note)); }

  bool failed() const { return _failed; }
  const std::vector<Placed>& blocks() const { return _placed; }

  /// The commit is complete. Gives the blocks that it released, which are not free yet.
  std::vector<Extent> finish();

 private:
  /// Takes room for a block and its slack; at the end if that is wanted.
  Growable take(std::int64_t size, std::int32_t slack, bool atEnd = false);
  /// Has a copy of the bytes written at `position`.
  void write(std::int32_t position, Bytes&& bytes);

  Space& _space;
  const std::int32_t _endBefore;
  bool _failed = false;
  int _depth = 0;
  std::vector<Placed> _placed;
  std::vector<Bytes> _copies;
  std::vector<Extent> _taken;
  std::vector<Extent> _released;
  std::vector<std::function<void()>> _notes;
};

}  // namespace Metakit
