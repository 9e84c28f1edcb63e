// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <cstring>
#include <string>

#include "fuzz/Check.h"
#include "fuzz/Digest.h"
#include "fuzz/Disk.h"
#include "fuzz/MemoryLimit.h"
#include "fuzz/Targets.h"
#include "metakit/Datafile.h"
#include "metakit/mk4.h"
#include "metakit/testing/FormatChecker.h"

namespace Fuzz {

namespace {

/// What a user of a file that is refused sees.
void checkThatItActsAsEmpty() {
  c4_Storage storage("", 1);
  check(!storage.Strategy().IsValid(), "a refused file stays refused");
  check(*storage.Description() == '\0', "a refused file has no views");
  c4_View view = storage.GetAs("T[Key:I,Record:B]");
  check(view.GetSize() == 0, "a refused file has no rows");
  view.Add(c4_Row());
  check(!storage.Commit(), "a refused file takes no commit");
}

void checkThatItIsRead() {
  c4_Storage storage("", 0);
  const c4_View view = storage.GetAs("T[Key:I,Record:B]");
  const c4_IntProp key("Key");
  const c4_BytesProp record("Record");
  for (int row = 0; row < view.GetSize() && row < 1000; ++row) {
    const c4_Bytes bytes = record(view[row]);
    check((bytes.Contents() == nullptr) == (bytes.Size() == 0), "an item has its bytes");
    check(key(view[row]) == key(view[row]), "an integer is one");
  }
}

}  // namespace

void read(const std::uint8_t* bytes, std::size_t size) {
  static Disk disk;
  disk.insert(bytes, size);
  bool valid = false;
  {
    const MemoryLimit limit(memoryLimit);
    Metakit::Datafile file("", true);
    valid = file.isValid();
    const Digest digest(*file.root());
    check(valid || digest.tables() == 1, "a refused file has no tables");
    check(!valid || file.commit() == 0, "a commit without changes succeeds");
  }
  if (size <= largestChecked) {
    const MemoryLimit limit(memoryLimit);
    valid ? checkThatItIsRead() : checkThatItActsAsEmpty();
  }
  check(disk.operations() == 0 && disk.size() == size &&
            (size == 0 || std::memcmp(disk.bytes(), bytes, size) == 0),
        "reading does not write");
  // The checker is made to be plain, not fast.
  if (size <= largestChecked) {
    const std::string file(reinterpret_cast<const char*>(bytes), size);
    check(valid || !Metakit::FormatChecker::faultIn(file).empty(), "a sound file is opened");
  }
}

}  // namespace Fuzz
