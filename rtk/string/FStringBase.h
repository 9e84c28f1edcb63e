// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "rtk/string/StringBase.h"

namespace Rtk {

/// The logic of strings of fixed capacity, apart from their size, so that it exists once for all
/// `FString<N>`. The storage is the derived object's, which ends it; nothing is ever allocated.
/// Text that does not fit is cut and flagged. One thread at a time may use a string. Nothing is
/// fatal.
class FStringBase : public StringBase {
 public:
  using StringBase::operator=;
  /// Copies the text as far as it fits.
  FStringBase& operator=(const FStringBase& s);

  void copyIn(const char* src, int n) override;
  void insertAt(int position, const char* s) override;
  void appendTo(const char* src, int n) override;
  int maxLength() const override;

 protected:
  // REQUIRES: `storage` holds `maxLength + 1` bytes, at least two, and outlives this object.
  FStringBase(char c, char* storage, int maxLength);
  /// A null `s` makes an empty string.
  FStringBase(const char* s, char* storage, int maxLength);
  FStringBase(int v, char* storage, int maxLength);
  FStringBase(unsigned int v, char* storage, int maxLength);
  FStringBase(long v, char* storage, int maxLength);
  FStringBase(unsigned long v, char* storage, int maxLength);
  FStringBase(const FStringBase&) = delete;

 private:
  /// Fills the storage with NULs. Without that, insertAt() could reveal bytes that no operation of
  /// this string has written.
  FStringBase(char* storage, int maxLength);

  /// Constant after construction; the terminating NUL is not counted.
  int _maxLength;
};

}  // namespace Rtk
