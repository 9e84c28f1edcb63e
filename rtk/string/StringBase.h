// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "rtk/string/String.h"

namespace Rtk {

/// What all strings share: each operation that reads the buffer or rewrites it in place. A concrete
/// type provides the buffer, owns and ends it, and adds the operations that depend on how storage
/// is obtained. Operations that need another one call it through the virtual table, so that a
/// concrete type's version runs. One thread at a time may use a string. Nothing is fatal.
class StringBase : public String {
 public:
  using String::operator=;
  /// Copies the text, never the buffer pointer.
  StringBase& operator=(const StringBase& s);

  void clear() override;

  operator char() const override;
  const char* getString() const override;
  int length() const override;
  bool isEmpty() const override;
  bool truncated() const override;

  bool operator==(const char* s) const override;
  bool operator==(const String& s) const override;
  bool operator!=(const char* s) const override;
  bool operator!=(const String& s) const override;
  bool isEqualIgnoreCase(const char* s) const override;
  bool operator==(char c) const override;
  int compare(const char* s) const override;
  int compareIgnoreCase(const char* s) const override;
  bool isEqualSubstring(int from, int to, const char* s) const override;
  bool isEqualSubstringIgnoreCase(int from, int to, const char* s) const override;
  bool startsWith(const char* prefix) const override;
  bool startsWith(const char* prefix, int offset) const override;
  bool endsWith(const char* suffix) const override;

  int indexOf(char c) const override;
  int indexOf(char c, int from) const override;
  int indexOf(const char* s) const override;
  int indexOf(const char* s, int from) const override;
  int lastIndexOf(char c) const override;
  int count(char c) const override;

  [[gnu::format(printf, 2, 3)]] void format(const char* fmt, ...) override;
  [[gnu::format(printf, 2, 3)]] void formatAppend(const char* fmt, ...) override;
  [[gnu::format(printf, 2, 0)]] void vformat(const char* fmt, va_list args) override;
  [[gnu::format(printf, 2, 0)]] void vformatAppend(const char* fmt, va_list args) override;

  void toUpper() override;
  void toLower() override;
  void removeLeadingSpaces() override;
  void removeTrailingSpaces() override;
  void removeLeadingChars(const char* set) override;
  void removeTrailingChars(const char* set) override;
  void cut(int from, int to) override;
  void trimRight(int n) override;
  void setChar(int index, char c) override;
  int replace(char from, char to) override;
  void rot13() override;
  char* getBuffer(int& size) override;

 protected:
  /// `buffer` must outlive this object, or be replaced by a block that does.
  explicit StringBase(char* buffer);
  StringBase(const StringBase&) = delete;

  /// Judges the result `written` of a formatted output into `room` bytes: when they were too few,
  /// or it failed, flags the cut and terminates the buffer at index `terminateAt`.
  void validateSizeAfterFormat(int room, int written, int terminateAt);

  /// Copies up to the first NUL, at most `n` bytes, and fills up to `n` with NULs, as strncpy
  /// does; unlike there, the two may overlap.
  static void copyText(char* to, const char* from, int n);

  /// Copies up to the first NUL, at most `n` bytes, and terminates the buffer there and `n` bytes
  /// after `to`. Leaves the bytes between these two NULs unchanged. The two may overlap.
  static void appendText(char* to, const char* from, int n);

  /// Moves the `keep` bytes from `position` on up by `n` and copies the first `n` bytes of `s` to
  /// `position`. Terminates the text only if `keep` is positive: without a tail, the text ends at
  /// the next NUL that the buffer already holds. `s` may be part of this string's own text.
  /// REQUIRES: `0 <= position < length()`, and the buffer has room for the result.
  void insertText(int position, const char* s, int n, int keep);

  /// Inserts `s` into a buffer that must not grow beyond `capacity` characters, and terminates the
  /// buffer there. Returns false if it dropped part of `s` or of the tail.
  /// REQUIRES: `0 <= position < length()`. All bytes of the buffer are initialised.
  bool insertWithin(int capacity, int position, const char* s);

  /// The last operation that may cut had to drop characters.
  bool _truncated;
  /// Always terminated by a NUL.
  char* _buffer;

 private:
  void moveDownToStart(const char* rest);
};

}  // namespace Rtk
