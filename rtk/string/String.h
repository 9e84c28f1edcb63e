// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdarg>

namespace Rtk {

/// The interface of every string of the framework: a NUL-terminated text of bytes in a buffer that
/// the concrete type provides and ends. Lengths and indices count bytes; letter case and white
/// space are those of the current locale. A string takes no lock: one thread at a time may use it.
/// Nothing is fatal: text for which there is no room is cut, and `truncated()` tells so. Each
/// operation that may cut sets or clears that flag; those that only read leave it alone.
///
/// REQUIRES: pointers to text are not null, unless an operation says what null does.
class String {
 public:
  // The order of the virtual operations is fixed: it is the layout of the virtual table.

  virtual ~String() = default;

  // Storing. The source may be this string's own text. Numbers are stored in decimal.
  virtual String& operator=(const String& s) = 0;
  virtual String& operator=(const char* s) = 0;
  virtual String& operator=(char c) = 0;
  virtual String& operator=(int value) = 0;
  virtual String& operator=(unsigned int value) = 0;
  virtual String& operator=(long value) = 0;
  virtual String& operator=(unsigned long value) = 0;
  /// Replaces the text by the first `n` bytes of `src`, fewer when a NUL comes earlier. A negative
  /// `n` counts as 0.
  virtual void copyIn(const char* src, int n) = 0;
  /// Inserts `s` before the byte at `position`; a negative position is the start, one at or past
  /// the end appends. Without room for all, more of the tail may go than strictly needed.
  /// If the string then keeps nothing of the tail, it does not terminate the text after `s`: where
  /// `s` passes the old end, the bytes that an earlier, longer text left in the buffer become text
  /// again, up to the next NUL. This is intended. For example, a string with room for 10 that held
  /// "abcdefghij" and now holds "abcdef" contains "abcdXYZhij" after insertAt(4, "XYZ").
  virtual void insertAt(int position, const char* s) = 0;
  /// Leaves `truncated()` as it was.
  virtual void clear() = 0;

  virtual String& operator+=(const String& s) = 0;
  virtual String& operator+=(const char* s) = 0;
  virtual String& operator+=(char c) = 0;
  virtual String& operator+=(int value) = 0;
  virtual String& operator+=(unsigned int value) = 0;
  virtual String& operator+=(long value) = 0;
  virtual String& operator+=(unsigned long value) = 0;
  /// Appends the first `n` bytes of `src`, fewer when a NUL comes earlier. A negative `n` counts
  /// as 0.
  virtual void appendTo(const char* src, int n) = 0;

  // Reading.
  /// The first byte; NUL for an empty string.
  virtual operator char() const = 0;
  /// Valid until the next operation that changes the text, or the end of the string.
  virtual const char* getString() const = 0;
  virtual int length() const = 0;
  /// How many bytes fit without further storage, the terminating NUL not counted.
  virtual int maxLength() const = 0;
  virtual bool isEmpty() const = 0;
  virtual bool truncated() const = 0;

  // Comparing. Null equals nothing.
  virtual bool operator==(const char* s) const = 0;
  virtual bool operator==(const String& s) const = 0;
  virtual bool operator!=(const char* s) const = 0;
  virtual bool operator!=(const String& s) const = 0;
  virtual bool isEqualIgnoreCase(const char* s) const = 0;
  /// Compares the first byte alone, on purpose: "abc" equals 'a', and an empty string equals NUL.
  virtual bool operator==(char c) const = 0;
  /// As strcmp; -1 when `s` is null.
  virtual int compare(const char* s) const = 0;
  /// As strcasecmp; -1 when `s` is null.
  virtual int compareIgnoreCase(const char* s) const = 0;
  /// Whether the bytes `from` to `to`, both inclusive, are those that `s` begins with. A bound past
  /// the end means the last byte, a negative `from` the first; a range that ends before it begins
  /// compares the one byte at its start. False when `s` is null.
  /// REQUIRES: the string is not empty.
  virtual bool isEqualSubstring(int from, int to, const char* s) const = 0;
  /// REQUIRES: the string is not empty.
  virtual bool isEqualSubstringIgnoreCase(int from, int to, const char* s) const = 0;
  /// An empty string starts with nothing, not even with "".
  virtual bool startsWith(const char* prefix) const = 0;
  /// Whether `prefix` stands at `offset`; false unless `offset` is within the text.
  virtual bool startsWith(const char* prefix, int offset) const = 0;
  /// Every string ends with "".
  virtual bool endsWith(const char* suffix) const = 0;

  // Searching. Results are indices, -1 when there is none or `from` is not within the text.
  virtual int indexOf(char c) const = 0;
  virtual int indexOf(char c, int from) const = 0;
  virtual int indexOf(const char* s) const = 0;
  virtual int indexOf(const char* s, int from) const = 0;
  virtual int lastIndexOf(char c) const = 0;
  /// REQUIRES: `c` is not NUL.
  virtual int count(char c) const = 0;

  // Formatting as printf does. It never grows the storage; text that does not fit is cut.
  // REQUIRES: no argument points into this string's own text.
  [[gnu::format(printf, 2, 3)]] virtual void format(const char* fmt, ...) = 0;
  [[gnu::format(printf, 2, 3)]] virtual void formatAppend(const char* fmt, ...) = 0;
  [[gnu::format(printf, 2, 0)]] virtual void vformat(const char* fmt, va_list args) = 0;
  [[gnu::format(printf, 2, 0)]] virtual void vformatAppend(const char* fmt, va_list args) = 0;

  // Rewriting in place. Except for changes of case, `replace` and `rot13`, these clear
  // `truncated()`.
  virtual void toUpper() = 0;
  virtual void toLower() = 0;
  virtual void removeLeadingSpaces() = 0;
  virtual void removeTrailingSpaces() = 0;
  virtual void removeLeadingChars(const char* set) = 0;
  virtual void removeTrailingChars(const char* set) = 0;
  /// Removes the bytes `from` to `to`, both inclusive. Does nothing when the range is empty or
  /// does not begin within the text.
  virtual void cut(int from, int to) = 0;
  /// Removes the last `n` bytes, all when there are fewer, none when `n` is negative.
  virtual void trimRight(int n) = 0;
  /// Does nothing when `index` is not within the text.
  virtual void setChar(int index, char c) = 0;
  /// Replaces every `from` by `to` and returns how many there were.
  virtual int replace(char from, char to) = 0;
  /// Rotates the letters by half the alphabet; twice restores the text.
  virtual void rot13() = 0;
  /// The storage itself, for writing up to `size` bytes and a terminating NUL into it. Valid as
  /// `getString()` is.
  virtual char* getBuffer(int& size) = 0;

 protected:
  String() = default;
  String(const String&) = delete;
};

}  // namespace Rtk
