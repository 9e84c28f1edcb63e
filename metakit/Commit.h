#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include "metakit/Codec.h"
#include "metakit/Space.h"
#include "metakit/Structure.h"

namespace Metakit {

/// A commit in the making: the blocks that it is to write, those that it makes superfluous, and
/// what the columns have to note once it is complete. Until finish() nothing has changed for
/// anybody: a commit that is given up hands its blocks back and leaves columns and file as they
/// were. Lives on the stack of the storage that commits; nothing is fatal.
class Commit {
 public:
  /// A block to be written.
  struct Placed {
    Extent block;
    const std::uint8_t* bytes;
  };

  /// `space` must outlive this object.
  explicit Commit(Space& space) : _space(space) {}
  ~Commit();
  Commit(const Commit&) = delete;
  Commit& operator=(const Commit&) = delete;

  /// Finds room for a block; nothing for `size` 0. The bytes must stay valid until the commit is
  /// over. When there is no room left the commit fails, and so does every further block.
  Extent place(const std::uint8_t* bytes, std::int64_t size);

  /// The same for bytes of which the commit keeps a copy.
  Extent place(Bytes&& bytes);

  /// Takes the bytes from the end of all blocks up to `position`.
  void fillUpTo(std::int32_t position);

  /// There is something that cannot be written.
  void fail() { _failed = true; }

  /// To be told of every table: one of that many rows is written.
  void noteRows(std::int32_t rows) { _mostRows = std::max(_mostRows, rows); }
  std::int32_t mostRows() const { return _mostRows; }

  /// To be called around the rows of a nested view, which must not nest too deep to be read again.
  void enter() { _failed = ++_depth > maxNesting || _failed; }
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
  Space& _space;
  bool _failed = false;
  std::int32_t _mostRows = 0;
  int _depth = 0;
  std::vector<Placed> _placed;
  std::vector<Bytes> _copies;
  std::vector<Extent> _taken;
  std::vector<Extent> _released;
  std::vector<std::function<void()>> _notes;
};

}  // namespace Metakit
