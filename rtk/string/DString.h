// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>

#include "rtk/string/StringBase.h"

namespace Rtk {

/// A string in a heap block of its own, which it frees at its end. The block grows in whole steps
/// of `increment` bytes and never shrinks; only formatting never grows it. When memory runs out,
/// the string cuts and flags the text as a fixed one does; one that got no first block is empty and
/// tries again at the next text stored or appended. One thread at a time may use it. Fatal: an
/// `increment` of 0 ends the process with SIGFPE; no memory for a string made from null.
class DString : public StringBase {
 public:
  /// The step in bytes of a string made without one, enough for most names.
  static constexpr int defaultIncrement = 16;

  // The first block has room for the text and for `hint` characters. A copy takes the text alone:
  // its step is the one given here, not that of the original.
  // REQUIRES: `increment > 0`.
  explicit DString(char c, int hint = 0, int increment = defaultIncrement);
  /// A null `s` makes an empty string.
  explicit DString(const char* s = nullptr, int hint = 0, int increment = defaultIncrement);
  explicit DString(const String& s, int hint = 0, int increment = defaultIncrement);
  DString(const DString& s, int hint = 0, int increment = defaultIncrement);
  explicit DString(int v, int hint = 0, int increment = defaultIncrement);
  explicit DString(unsigned int v, int hint = 0, int increment = defaultIncrement);
  explicit DString(long v, int hint = 0, int increment = defaultIncrement);
  explicit DString(unsigned long v, int hint = 0, int increment = defaultIncrement);
  ~DString() override;

  DString& operator=(const DString& s);

  DString& operator=(const String& s) override;
  /// Null empties the string and leaves `truncated()` as it was.
  DString& operator=(const char* s) override;
  DString& operator=(char c) override;
  DString& operator=(int value) override;
  DString& operator=(unsigned int value) override;
  DString& operator=(long value) override;
  DString& operator=(unsigned long value) override;
  /// A null `src` empties the string and leaves `truncated()` as it was.
  void copyIn(const char* src, int n) override;
  /// Null does nothing.
  void insertAt(int position, const char* s) override;

  DString& operator+=(const String& s) override;
  /// Null does nothing.
  DString& operator+=(const char* s) override;
  DString& operator+=(char c) override;
  DString& operator+=(int value) override;
  DString& operator+=(unsigned int value) override;
  DString& operator+=(long value) override;
  DString& operator+=(unsigned long value) override;
  /// A null `src` does nothing.
  void appendTo(const char* src, int n) override;

  int maxLength() const override;

 private:
  struct Sizing {
    int need;
    int increment;
  };

  /// Takes the first block, for `need` characters; `_buffer` is null when there is no memory.
  explicit DString(Sizing sizing);

  /// Returns a new block for more than `need` bytes, of NULs except for the first byte, which has
  /// no value, and stores its size in `capacity`. Returns null if memory is short.
  char* allocate(std::int64_t need, int& capacity) const;

  /// Moves on to a new, yet empty block for more than `need` bytes. The old one is handed out in
  /// `replaced` (null when there is none to free), since a text to be stored may be part of it.
  /// False, with nothing changed, when there is no memory.
  bool replaceBlock(std::int64_t need, char*& replaced);

  /// Stores the text, or begins to share `_emptyString` when there is no block.
  void validate(const char* src, int len);

  /// Constant after construction.
  int _increment;
  /// The size of the block in bytes, NUL included.
  int _capacity;
  /// `_buffer` is the shared `_emptyString`, which is never freed.
  bool _usesStaticBuffer;

  /// The buffer of all strings that got no block; nothing but NUL is ever written to it.
  static char _emptyString;
};

}  // namespace Rtk
