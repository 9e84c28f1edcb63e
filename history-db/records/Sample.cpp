// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/records/Sample.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <iterator>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "history-db/files/NewFile.h"
#include "history-db/records/Database.h"
#include "history-db/records/Layout.h"
#include "history-db/records/NewDatabase.h"
#include "history-db/records/Value.h"
#include "persist/history/Schema0System.h"
#include "persist/history/Schema0Zone.h"
#include "persist/history/Schema1System.h"
#include "persist/history/Schema1Zone.h"

// Everything here is made of integers: they are the same on every machine, and so are samples.

namespace HistoryDb {

namespace {

namespace Kiv = Pvn::Persist::History::Kiv;

constexpr std::int64_t secondsOfDay = 86400;
constexpr std::int64_t secondsOfYear = 31556952;

/// The generator splitmix64, which Guy Steele, Doug Lea and Christine Flood published in "Fast
/// Splittable Pseudorandom Number Generators", 2014. Those of the standard library are not the same
/// everywhere once they are distributed.
class Random {
 public:
  explicit Random(std::uint64_t seed) : _state(seed) {}

  /// Another one for each number.
  Random(const Random& parent, std::uint64_t number)
      : _state(Random(parent._state ^ Random(number).next()).next()) {}

  std::uint64_t next() {
    _state += 0x9E3779B97F4A7C15U;
    std::uint64_t bits = _state;
    bits = (bits ^ bits >> 30U) * 0xBF58476D1CE4E5B9U;
    bits = (bits ^ bits >> 27U) * 0x94D049BB133111EBU;
    return bits ^ bits >> 31U;
  }

  /// REQUIRES: `least` <= `most`, both far from the ends of the type.
  std::int64_t from(std::int64_t least, std::int64_t most) {
    return least + static_cast<std::int64_t>(next() % static_cast<std::uint64_t>(most - least + 1));
  }

 private:
  std::uint64_t _state;
};

/// Something like 1000 sin(2 pi time / period), made of two parabolas. REQUIRES: `time` >= 0.
std::int64_t wave(std::int64_t time, std::int64_t period) {
  const std::int64_t half = period / 2;
  const std::int64_t at = time % half;
  const std::int64_t value = 4000 * at / half * (half - at) / half;
  return time / half % 2 == 0 ? value : -value;
}

/// From -1000 to 1000, changing smoothly: points at random, `distance` seconds apart, and lines
/// between them. REQUIRES: `time` >= 0.
std::int64_t noise(const Random& source, std::int64_t time, std::int64_t distance) {
  const std::int64_t point = time / distance;
  const std::int64_t past = time % distance;
  const auto at = [&](std::int64_t number) {
    return Random(source, static_cast<std::uint64_t>(number)).from(-1000, 1000);
  };
  return (at(point) * (distance - past) + at(point + 1) * past) / distance;
}

/// A period to be filled: its times, and whether nothing was measured in it.
struct Stretch {
  std::int64_t begin;
  std::int64_t end;
  bool isGap;
};

/// The periods of a record's life that are still known, the oldest first.
struct Life {
  std::vector<Stretch> days;
  std::vector<Stretch> months;
};

/// Of the month that is `back` months before that of `time`.
std::int64_t startOfMonth(std::int64_t time, int back) {
  const std::time_t seconds = time;
  std::tm date = {};
  ::gmtime_r(&seconds, &date);
  std::tm start = {};
  start.tm_year = date.tm_year;
  start.tm_mon = date.tm_mon - back;
  start.tm_mday = 1;
  return ::timegm(&start);
}

/// A life that goes on at `now`. `age` is how many days it has lasted.
Life lifeOf(Random& random, std::int64_t now, std::int64_t age) {
  Life life;
  const std::int64_t birth = now - age * secondsOfDay;
  // One day without a measurement, and one that the device was off for a while before.
  const std::int64_t gap = random.from(1, 12);
  const std::int64_t pause = random.from(1, 16);
  std::int64_t begin = now - now % secondsOfDay;
  for (int i = 0; i < layoutOf(Kind::Zone, 0).rings[0].count; ++i) {
    if (i > 0 && begin + secondsOfDay <= birth) {
      break;
    }
    life.days.insert(life.days.begin(), {begin, i == 0 ? now : begin + secondsOfDay, i == gap});
    begin -= i == pause ? random.from(2, 4) * secondsOfDay : secondsOfDay;
  }
  const std::int64_t monthGap = random.from(1, 40);
  const std::int64_t monthPause = random.from(1, 40);
  int back = 0;
  for (int i = 0; i < layoutOf(Kind::Zone, 0).rings[1].count; ++i) {
    const std::int64_t end = startOfMonth(now, back - 1);
    if (i > 0 && end <= birth) {
      break;
    }
    life.months.insert(life.months.begin(),
                       {startOfMonth(now, back), i == 0 ? now : end, i == monthGap});
    back += i == monthPause ? 2 : 1;
  }
  return life;
}

bool beginsWith(std::string_view text, std::string_view beginning) {
  return text.substr(0, beginning.size()) == beginning;
}

/// Fills the current period of a record, which was cleared and begun.
class Filler {
 public:
  /// `record` is another one for each record, `birth` when the record was made.
  Filler(const Layout& layout, const Random& record, std::int64_t birth)
      : _layout(layout), _record(record), _birth(birth) {}

  template <class Period>
  void fill(Period& period, const Stretch& stretch) const {
    std::string bytes(reinterpret_cast<const char*>(&period), sizeof(Period));
    std::uint64_t number = 0;
    for (const Field& field : _layout.period) {
      for (int i = 0; i < field.count; ++i) {
        fillValue(bytes, field, field.offset + i * sizeOf(field.type), number++, stretch);
      }
    }
    std::memcpy(static_cast<void*>(&period), bytes.data(), sizeof(Period));
    period.time1 = static_cast<std::int32_t>(stretch.end);
  }

  /// The header, but for the number of the zone.
  template <class Record>
  void fillHeader(Record& record) const {
    std::string bytes(reinterpret_cast<const char*>(&record), sizeof(Record));
    Random random(_record, headerNumber);
    for (const Field& field : _layout.header) {
      if (std::string_view(field.name) == "zone") {
        continue;
      }
      for (int i = 0; i < field.count; ++i) {
        const std::int64_t value = random.from(1, field.type == Type::Int16 ? 250 : 99999);
        putBits(bytes, field.offset + i * sizeOf(field.type), field.type,
                static_cast<std::uint64_t>(value));
      }
    }
    std::memcpy(static_cast<void*>(&record), bytes.data(), sizeof(Record));
  }

 private:
  static constexpr std::uint64_t headerNumber = 1000;

  void fillValue(std::string& bytes, const Field& field, int offset, std::uint64_t number,
                 const Stretch& stretch) const {
    const std::string_view name = field.name;
    if (beginsWith(name, "time") || beginsWith(name, "max")) {
      return;
    }
    const Random value(_record, number);
    if (beginsWith(name, "min")) {
      const std::string other = "max" + std::string(name.substr(3));
      const Field* const most = _layout.periodField(other.c_str());
      if (!stretch.isGap && most != nullptr) {
        fillRange(bytes, offset, most->offset, value, stretch);
      }
    } else if (field.type == Type::Int32) {
      put(bytes, offset, field.type, counter(value, stretch.end));
    } else {
      // All records have values of the same size in one field.
      static constexpr std::int64_t sizes[] = {1000, 12000, 400, 3000};
      const std::int64_t size = sizes[number % std::size(sizes)];
      const std::int64_t height = size * curve(value, (stretch.begin + stretch.end) / 2) / 1000;
      put(bytes, offset, field.type, field.type == Type::Double ? height * 7 : height);
    }
  }

  /// A minimum and its maximum, which hold the ends of their range: the minimum the upper one.
  /// Those of a month are those of its days, known or not.
  static void fillRange(std::string& bytes, int least, int most, const Random& value,
                        const Stretch& stretch) {
    const std::int64_t bottom = hundredths(realAt(bytes, most));
    const std::int64_t range = hundredths(realAt(bytes, least)) - bottom;
    std::int64_t minimum = 1000000;
    std::int64_t maximum = 0;
    for (std::int64_t day = stretch.begin; day < stretch.end; day += secondsOfDay) {
      const std::int64_t middle = 1000 * curve(value, day + secondsOfDay / 2);
      const std::int64_t width = 27000 + 18 * noise(value, day, 2 * secondsOfDay);
      minimum = std::min(minimum, middle - width);
      maximum = std::max(maximum, middle + width);
    }
    put(bytes, least, Type::Double, bottom + range * minimum / 1000000);
    put(bytes, most, Type::Double, bottom + range * maximum / 1000000);
  }

  /// From 150 to 850 thousandths: it has its middle, follows the year, and wavers.
  static std::int64_t curve(const Random& value, std::int64_t time) {
    Random random(value);
    const std::int64_t middle = random.from(420, 580);
    const std::int64_t swing = random.from(90, 190);
    // The highest values come in July or August.
    const std::int64_t season = random.from(secondsOfYear * 5 / 8, secondsOfYear * 6 / 8);
    return middle + swing * wave(time + season, secondsOfYear) / 1000 +
           noise(value, time, 2 * secondsOfDay) * 40 / 1000 +
           noise(value, time + secondsOfDay, 9 * secondsOfDay) * 40 / 1000;
  }

  /// How much has been counted since the record was made.
  std::int64_t counter(const Random& value, std::int64_t time) const {
    Random random(value);
    const std::int64_t first = random.from(0, 2000);
    const std::int64_t ofDay = random.from(2, 400);
    const std::int64_t age = time - _birth;
    // Never falling: what wavers is less than what a day adds.
    return age < 0 ? first
                   : first + ofDay * age / secondsOfDay +
                         ofDay * noise(value, age, secondsOfDay) / 4000 + ofDay / 4;
  }

  static std::int64_t hundredths(double value) {
    return static_cast<std::int64_t>(value * 100 + (value < 0 ? -0.5 : 0.5));
  }

  /// A double takes hundredths.
  static void put(std::string& bytes, int offset, Type type, std::int64_t value) {
    putBits(bytes, offset, type,
            type == Type::Double ? bitsOf(static_cast<double>(value) / 100)
                                 : static_cast<std::uint64_t>(value));
  }

  const Layout& _layout;
  const Random& _record;
  const std::int64_t _birth;
};

/// Lets a record live: it is made, and each of its days and months is filled and followed by the
/// next one, as on a device.
template <class Record>
std::string bodyOf(Record record, const Life& life, const Filler& filler) {
  filler.fillHeader(record);
  record.initializeCurrentDayTime(static_cast<long>(life.days.front().begin));
  record.initializeCurrentMonthTime(static_cast<long>(life.months.front().begin));
  for (const Stretch& day : life.days) {
    if (&day != &life.days.front()) {
      record.shiftDays(static_cast<long>(day.begin));
    }
    filler.fill(record.days[0], day);
  }
  for (const Stretch& month : life.months) {
    if (&month != &life.months.front()) {
      record.shiftMonths(static_cast<long>(month.begin));
    }
    filler.fill(record.months[0], month);
  }
  return {reinterpret_cast<const char*>(&record), sizeof(Record)};
}

/// The history in row `row` of a table.
std::string historyOf(const Layout& layout, const Random& table, int row, std::int64_t now) {
  Random random(table, static_cast<std::uint64_t>(row));
  // Every fourth one is young and has used a part of its rings only.
  const std::int64_t age = row % 4 == 3 ? random.from(1, 45) : random.from(500, 3000);
  const Life life = lifeOf(random, now, age);
  const Filler filler(layout, random, now - age * secondsOfDay);
  const int zone = row + 1;
  const long begin = static_cast<long>(life.days.front().begin);
  if (layout.kind == Kind::System) {
    return layout.schema == 0 ? bodyOf(Kiv::Schema0::Bramal::System::Record(begin), life, filler)
                              : bodyOf(Kiv::Schema1::Bramal::System::Record(begin), life, filler);
  }
  return layout.schema == 0 ? bodyOf(Kiv::Schema0::Bramal::Zone::Record(zone, begin), life, filler)
                            : bodyOf(Kiv::Schema1::Bramal::Zone::Record(zone, begin), life, filler);
}

/// Keys look random, but no two are the same: each step can be undone (the last one is the
/// finalizer of MurmurHash3, by Austin Appleby).
std::int32_t keyOf(std::uint64_t seed, std::uint32_t number) {
  std::uint32_t bits = number + static_cast<std::uint32_t>(Random(seed).next());
  bits = (bits ^ bits >> 16U) * 0x85EBCA6BU;
  bits = (bits ^ bits >> 13U) * 0xC2B2AE35U;
  return static_cast<std::int32_t>(bits ^ bits >> 16U);
}

/// A record whose values tell where they belong.
class LabelledRecord {
 public:
  /// `table` is 1 or more.
  LabelledRecord(const Layout& layout, int table, int row)
      : _table(table), _row(row), _body(static_cast<std::size_t>(layout.size), '\0') {
    fill(layout.header, 0, 0);
    int ringNumber = 0;
    for (const Ring& ring : layout.rings) {
      ringNumber += 10;
      for (int i = 0; i < ring.count; ++i) {
        ++_filled;
        fill(layout.period, ring.offset + i * layout.periodSize, ringNumber + i);
      }
    }
  }

  const std::string& body() const { return _body; }

 private:
  void fill(List<Field> fields, int offset, int period) {
    int number = 0;
    for (const Field& field : fields) {
      for (int i = 0; i < field.count; ++i) {
        putBits(_body, offset + field.offset + i * sizeOf(field.type), field.type,
                label(field.type, period, ++number));
      }
    }
  }

  std::uint64_t label(Type type, int period, int number) const {
    const std::int64_t place = period * 100 + number;
    switch (type) {
      case Type::Int16:
        // 2048 places, and 32 rows of a table until they come again.
        return static_cast<std::uint64_t>((3 * _row + _table) % 32 * 2048 + _filled * 64 + number);
      case Type::Int32:
        return static_cast<std::uint64_t>(_table * 100000000 + _row % 10000 * 10000 + place);
      default:
        return bitsOf(static_cast<double>(_table * 100000000000 + _row * 10000 + place) + 0.5);
    }
  }

  const std::int64_t _table;
  const std::int64_t _row;
  /// Periods, the one that is being filled included.
  int _filled = 0;
  std::string _body;
};

}  // namespace

Status sample(const SampleOptions& options, Console& /*console*/) {
  const int counts[] = {options.systems, options.nativeZones, options.zones};
  static_assert(std::size(counts) == tableNames.size());
  std::int64_t size = 0;
  for (std::size_t table = 0; table < std::size(counts); ++table) {
    size += std::int64_t{counts[table]} * layoutOf(tableNames[table].kind, options.schema).size;
  }
  if (size > std::numeric_limits<std::int32_t>::max()) {
    throw Trouble(options.file + ": So many records take more than the 2 GiB that a database has.");
  }

  NewFile file(options.file, options.force);
  NewDatabase database(file);
  const Random seed(options.seed);
  // Some day from 2009 to 2020, in the course of which the device was looked at.
  Random date(seed, 0);
  const std::int64_t now = (14245 + date.from(0, 4382)) * secondsOfDay + date.from(3600, 82800);
  std::uint32_t number = 0;
  for (std::size_t table = 0; table < std::size(counts); ++table) {
    const Layout& layout = layoutOf(tableNames[table].kind, options.schema);
    const Random random(seed, table + 1);
    database.addTable(tableNames[table].name);
    for (int row = 0; row < counts[table]; ++row) {
      database.addRow(keyOf(options.seed, number++),
                      options.label
                          ? LabelledRecord(layout, static_cast<int>(table) + 1, row).body()
                          : historyOf(layout, random, row, now));
    }
  }
  database.commit();
  file.finish();
  return Status::Fine;
}

}  // namespace HistoryDb
