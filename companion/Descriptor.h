// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

namespace Companion {

/// A file that is open for reading as long as this object lives. One thread at a time.
class Descriptor {
 public:
  /// Throws Trouble when it cannot be opened.
  explicit Descriptor(const std::string& path);
  ~Descriptor();
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int get() const { return _descriptor; }

 private:
  const int _descriptor;
};

}  // namespace Companion
