// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "metakit/Codec.h"
#include "metakit/Commit.h"
#include "metakit/Sequence.h"
#include "metakit/Source.h"
#include "metakit/Space.h"

namespace Metakit {

/// One open datafile: finds its last commit, gives its views, and commits what was changed in them.
/// Owned by a `c4_Storage`; views that outlive it can still be read. Used by one thread at a time.
/// Nothing is fatal: a file that is damaged, is no datafile or cannot be opened acts as an empty
/// one and is never written.
class Datafile {
 public:
  /// Opens the file at once. With `write` a missing one is created.
  Datafile(const char* path, bool write);
  /// Takes ownership of a file that is open; null is one that cannot be opened.
  explicit Datafile(std::unique_ptr<File> file);
  ~Datafile();
  Datafile(const Datafile&) = delete;
  Datafile& operator=(const Datafile&) = delete;

  /// Whether the file could be opened and its last commit is sound.
  bool isValid() const { return _valid; }

  /// The table of one row whose properties are the views of the file.
  const std::shared_ptr<Sequence>& root() const { return _root; }

  /// The view that a description such as "name[Key:I,Record:B]" tells: as it is, added behind the
  /// others or restructured. Null when the description is malformed or is none of a view.
  std::shared_ptr<Sequence> view(std::string_view description);

  /// Writes all changes; the file holds either all of them or none at any moment. Gives 0, or the
  /// C library's number of what went wrong: then the file still is as the last commit left it, and
  /// the changes are kept for another try.
  int commit();

 private:
  /// Where the last commit of a file was found.
  struct Found {
    std::int64_t base = 0;
    std::int32_t end = 0;
    Extent rootWalk;
    Mark header;
  };

  bool load(std::unique_ptr<File> file);
  bool readRoot();
  void startEmpty();

  Extent placeAll(Commit& commit);
  bool canBeRead(const Commit& commit, std::int32_t limit) const;
  int write(const Commit& commit, Extent rootWalk, bool grows, std::int32_t limit);
  int settle();
  int startGrowing(std::int32_t limit);
  int writeBlocks(const Commit& commit);
  int writeTail(Extent rootWalk, bool grows, std::int32_t limit);
  int restore();
  int writeHeader(std::int32_t end);
  int writeMark(std::int32_t position, const Mark& mark);
  int flush();

  bool _valid = false;
  /// Null while no file is open.
  std::shared_ptr<Source> _source;
  std::shared_ptr<Sequence> _root;
  Space _space;

  /// End of the last commit, its tail included; 0 before the first one.
  std::int32_t _end = 0;
  /// What the header says of it; -1 while that is not known.
  std::int32_t _headerEnd = 0;
  Extent _rootWalk;
  /// Whether the file held a commit when it was opened. One that this object created itself is
  /// flushed by its user, who can make it again from the start.
  bool _flushes = false;
  /// Whether all that stands in the file is known to be on the device: until then a power cut may
  /// leave the commit before the last as the one that counts.
  bool _settled = false;
  /// Whether a commit that failed may have left something in the file.
  bool _torn = false;
};

}  // namespace Metakit
