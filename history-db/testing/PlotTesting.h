// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "history-db/plot/Picture.h"
#include "history-db/plot/Series.h"
#include "history-db/records/Layout.h"
#include "history-db/records/Value.h"

namespace PlotTesting {

/// Seconds.
constexpr double day = 86400;
/// A time to count from, in seconds since 1970: 2023-11-14.
constexpr double now = 1.7e9;

/// A record to be drawn, all zero at first.
class Record {
 public:
  explicit Record(HistoryDb::Kind kind = HistoryDb::Kind::Zone, int schema = 0)
      : layout(HistoryDb::layoutOf(kind, schema)),
        bytes(static_cast<std::size_t>(layout.size), '\0') {}

  Record& set(const HistoryDb::Ring& ring, int index, const char* name, double value,
              int element = 0) {
    const HistoryDb::Field& field = *layout.periodField(name);
    const int offset = ring.offset + index * layout.periodSize + field.offset;
    HistoryDb::putBits(bytes, offset + element * sizeOf(field.type), field.type,
                       field.type == HistoryDb::Type::Double
                           ? HistoryDb::bitsOf(value)
                           : static_cast<std::uint64_t>(static_cast<std::int64_t>(value)));
    return *this;
  }

  Record& setTimes(const HistoryDb::Ring& ring, int index, double time0, double time1) {
    return set(ring, index, "time0", time0).set(ring, index, "time1", time1);
  }

  const HistoryDb::Ring& days() const { return layout.rings[0]; }
  const HistoryDb::Ring& months() const { return layout.rings[1]; }

  /// With the fields of those names.
  HistoryDb::Picture picture(const std::vector<std::string>& fields = {}) const {
    HistoryDb::Picture picture = pictureOf(bytes, layout, quantitiesOf(layout, fields, "file"));
    picture.title = "title";
    picture.subtitle = "subtitle";
    return picture;
  }

  const HistoryDb::Layout& layout;
  std::string bytes;
};

/// A record of any kind with periods at plausible and impossible times, and with values that are
/// plausible, extreme or none at all.
inline Record hostileRecord(std::mt19937& random) {
  const auto oneOf = [&](std::initializer_list<double> values) {
    return *(values.begin() + random() % values.size());
  };
  Record record(random() % 2 == 0 ? HistoryDb::Kind::System : HistoryDb::Kind::Zone,
                static_cast<int>(random() % 2));
  if (random() % 8 == 0) {
    std::generate(record.bytes.begin(), record.bytes.end(),
                  [&] { return static_cast<char>(random()); });
    return record;
  }
  constexpr double huge = std::numeric_limits<double>::max();
  const double usual = oneOf({0.001, 1, 1e3, 1e9, 1e15});
  const bool isPlausible = random() % 2 == 0;
  const double length = oneOf({1, 3600, 86400, 30 * 86400});
  for (const HistoryDb::Ring& ring : record.layout.rings) {
    double time = oneOf({0, 1000, 1.7e9, 2.1e9});
    for (int i = 0; i < ring.count; ++i) {
      for (const HistoryDb::Field& field : record.layout.period) {
        for (int element = 0; element < field.count; ++element) {
          const double value =
              field.type == HistoryDb::Type::Int16   ? oneOf({-32768, -1, 0, 1, 100, 32767})
              : field.type == HistoryDb::Type::Int32 ? oneOf({-2147483648.0, 0, 7, 2147483647})
              : isPlausible                          ? usual * static_cast<double>(random() % 1000)
                            : oneOf({0, -usual, usual, 1e-300, 5e-324, -1e15, 1e300, huge, -huge,
                                     HUGE_VAL, -HUGE_VAL, std::nan("")});
          record.set(ring, i, field.name, value, element);
        }
      }
      const bool isTimeHostile = !isPlausible && random() % 4 == 0;
      const double end = isTimeHostile ? oneOf({-2147483648.0, -1, 0, 1, 2147483647}) : time;
      time = std::max(time - length * oneOf({0.5, 1, 1, 1, 2}), -2147483648.0);
      record.setTimes(ring, i, random() % 8 == 0 ? 0 : time, end);
    }
  }
  return record;
}

}  // namespace PlotTesting
