// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

// Helpers over plain NUL-terminated character arrays. They work in place or return a pointer into
// the string they were given; none allocates or keeps state, so any thread may call them on strings
// that it alone is using. White space and letter case are those of the current locale. Nothing is
// fatal.

/// Stores `c` into each of the first `n` bytes of `s`, but never over its terminating NUL. A null
/// `s` does nothing. Returns `s`, as do the three functions below.
char* strnset(char* s, int c, unsigned int n);

/// Reverses `s` in place; null-safe.
char* strrev(char* s);

/// Puts `s` into lower case in place; null-safe.
char* strlwr(char* s);

/// Puts `s` into upper case in place; null-safe.
char* strupr(char* s);

namespace Rtk {

// REQUIRES, for all below: no argument is null.

/// The first byte of `s` that is not in `set`, or its terminating NUL.
const char* stripChars(const char* s, const char* set);

/// The first byte of `s` that is in `set`, or its terminating NUL.
const char* stripNotChars(const char* s, const char* set);

/// The first byte of `s` that is not white space, or its terminating NUL.
const char* stripSpace(const char* s);

/// The first white-space byte of `s`, or its terminating NUL.
const char* stripNotSpace(const char* s);

/// The last byte of `s` that is not in `set`. When every byte is, or `s` is empty, `s` itself.
const char* stripTrailingChars(const char* s, const char* set);

/// The last byte of `s` that is not white space. When every byte is, or `s` is empty, `s` itself.
const char* stripTrailingSpace(const char* s);

/// Cuts off every trailing byte that is in `set`.
/// REQUIRES: the array holds at least two bytes, since an empty `s` gets a NUL at index 1 as well.
void removeTrailingChars(char* s, const char* set);

/// Cuts off trailing white space.
/// REQUIRES: the array holds at least two bytes, since an empty `s` gets a NUL at index 1 as well.
void removeTrailingSpace(char* s);

}  // namespace Rtk
