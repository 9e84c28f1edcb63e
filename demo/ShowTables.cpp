// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

// Shows what the history tables of a database file hold: `show-tables FILE`.

#include <mk4.h>

#include <algorithm>
#include <cstdio>
#include <string>

namespace {

constexpr int shownKeys = 8;

/// Such as "4624" or "100 to 12000".
std::string sizesOf(const c4_View& view) {
  const c4_BytesProp record("Record");
  int smallest = 0;
  int largest = 0;
  for (int row = 0; row < view.GetSize(); ++row) {
    const int size = static_cast<c4_Bytes>(record(view[row])).Size();
    smallest = row == 0 ? size : std::min(smallest, size);
    largest = std::max(largest, size);
  }
  const std::string most = std::to_string(largest);
  return smallest == largest ? most : std::to_string(smallest) + " to " + most;
}

std::string keysOf(const c4_View& view) {
  const c4_IntProp key("Key");
  std::string keys;
  for (int row = 0; row < std::min(view.GetSize(), shownKeys); ++row) {
    keys += ' ' + std::to_string(static_cast<t4_i32>(key(view[row])));
  }
  return view.GetSize() > shownKeys ? keys + " ..." : keys;
}

void showTable(c4_Storage& storage, const std::string& name) {
  const c4_View view = storage.GetAs((name + "[Key:I,Record:B]").c_str());
  if (view.GetSize() == 0) {
    std::printf("  %s: no records\n", name.c_str());
    return;
  }
  std::printf("  %s: %d %s of %s bytes\n    keys%s\n", name.c_str(), view.GetSize(),
              view.GetSize() == 1 ? "record" : "records", sizesOf(view).c_str(),
              keysOf(view).c_str());
}

}  // namespace

int main(int argc, char* argv[]) {
  if (argc != 2) {
    std::fprintf(stderr, "Usage: %s FILE\n", argv[0]);
    return 2;
  }
  c4_Storage storage(argv[1], 0);
  if (!storage.Strategy().IsValid()) {
    std::fprintf(stderr, "%s: %s cannot be read as a database\n", argv[0], argv[1]);
    return 1;
  }
  std::printf("%s\n", argv[1]);
  for (const char* name : {"TormaQuilletHistory", "nativeZoneHistory", "ZoneHistory"}) {
    showTable(storage, name);
  }
  return 0;
}
