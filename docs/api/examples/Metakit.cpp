// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <mk4.h>

#include <cstdio>

int main(int argc, char* argv[]) {
  if (argc != 2) {
    return 1;
  }
  std::remove(argv[1]);
  //! [use]
  const c4_IntProp key("Key");
  const c4_StringProp name("Name");
  {
    c4_Storage storage(argv[1], 1);
    c4_View places = storage.GetAs("Places[Key:I,Name:S]");
    c4_Row row;
    key(row) = 7;
    name(row) = "cellar";
    places.Add(row);
    storage.Commit();
  }
  c4_Storage storage(argv[1], 0);
  const c4_View places = storage.GetAs("Places[Key:I,Name:S]");
  for (int i = 0; i < places.GetSize(); ++i) {
    std::printf("%d: %s\n", static_cast<int>(key(places[i])),
                static_cast<const char*>(name(places[i])));
  }
  //! [use]
}
