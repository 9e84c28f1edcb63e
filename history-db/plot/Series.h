// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "history-db/records/Layout.h"

namespace HistoryDb {

/// Something of the periods that is drawn by itself: a field, an element of one, or a minimum and
/// its maximum.
struct Quantity {
  /// Such as "realValue1", "shortArray[2]" or "minA to maxA".
  std::string name;
  /// The same field twice unless it is a band.
  const Field* lower;
  const Field* upper;
  /// Of an array; 0 otherwise.
  int element;

  bool isBand() const { return lower != upper; }
};

/// The quantities that are meant by names of fields of a period: "minA", "maxA" (both are one
/// band), "shortArray[2]", "shortArray" for each of its elements; each quantity once. All bands
/// when there are no names. Throws Trouble, which names the file, when there is no such field or
/// element.
std::vector<Quantity> quantitiesOf(const Layout& layout, const std::vector<std::string>& names,
                                   const std::string& file);

/// A period of a ring on the time axis.
struct Span {
  /// In the ring; 0 is the current period.
  int index;
  double begin;
  /// Not before `begin`.
  double end;
  /// Whether its times are set. One that is unused holds nothing.
  bool isUsed;
};

/// The periods of a ring in their order, the oldest first: by their times as long as these make
/// sense, otherwise by their place in the ring.
struct Timeline {
  const Ring* ring;
  /// Whether positions are times, in seconds since 1970; the current period ends at 0 otherwise,
  /// the one before it at -1.
  bool isTime;
  /// What the axis shows.
  double begin;
  double end;
  /// With times, unused periods are here only where they lie between others, and then as one.
  std::vector<Span> spans;
  /// What is odd about them, in sentences.
  std::vector<std::string> notes;
};

/// REQUIRES: the record is laid out so, here and below.
Timeline timelineOf(std::string_view record, const Layout& layout, const Ring& ring);

/// What a period holds of a quantity.
struct Reading {
  enum class Kind {
    Drawn,
    /// Unused, or still at its start values, the minimum above the maximum.
    None,
    /// No finite number or an absurdly large one.
    LeftOut
  };
  Kind kind;
  double lower;
  double upper;
};

/// Of a period. REQUIRES: `index` is one of the ring.
Reading readingOf(std::string_view record, const Layout& layout, const Ring& ring, int index,
                  const Quantity& quantity);

}  // namespace HistoryDb
