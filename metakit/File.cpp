// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "metakit/File.h"

#include <utility>

#include "metakit/PosixFile.h"

namespace Metakit {

namespace {

FileOpener& currentOpener() {
  // Never destroyed: a storage may be opened while the process ends.
  static auto& opener = *new FileOpener;
  return opener;
}

}  // namespace

void setFileOpener(FileOpener opener) {
  currentOpener() = std::move(opener);
}

std::unique_ptr<File> openFile(const char* path, bool write) {
  const FileOpener& opener = currentOpener();
  return opener ? opener(path, write) : PosixFile::open(path, write);
}

}  // namespace Metakit
