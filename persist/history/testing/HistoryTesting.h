// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <new>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace HistoryTesting {

/// The bytes of a stored record or period, put together without the class that they belong to.
class Image {
 public:
  explicit Image(std::size_t size) : _bytes(size, 0) {}

  static Image random(std::size_t size) {
    Image image(size);
    std::minstd_rand source;
    for (std::uint8_t& byte : image._bytes) {
      byte = static_cast<std::uint8_t>(1 + source() % 255);
    }
    return image;
  }

  template <class Object>
  static Image of(const Object& object) {
    Image image(sizeof(Object));
    std::memcpy(image._bytes.data(), &object, sizeof(Object));
    return image;
  }

  /// The bytes of an object made in memory where no byte was zero.
  template <class Object, class... Arguments>
  static Image ofNew(Arguments&&... arguments) {
    std::vector<std::uint8_t> memory(sizeof(Object), 0xEE);
    return of(*new (memory.data()) Object(std::forward<Arguments>(arguments)...));
  }

  /// The first `size` bytes.
  std::string text(std::size_t size) const {
    return {_bytes.begin(), _bytes.begin() + static_cast<std::ptrdiff_t>(size)};
  }

  template <class Object>
  Object as() const {
    Object object;
    std::memcpy(static_cast<void*>(&object), _bytes.data(), sizeof(Object));
    return object;
  }

  std::size_t size() const { return _bytes.size(); }
  std::uint8_t byte(std::size_t offset) const { return _bytes.at(offset); }

  /// Writes the low `width` bytes of `bits`, the lowest first.
  Image& put(std::size_t offset, std::size_t width, std::uint64_t bits) {
    for (std::size_t i = 0; i < width; ++i) {
      _bytes.at(offset + i) = static_cast<std::uint8_t>(bits >> (8 * i));
    }
    return *this;
  }

  std::uint64_t get(std::size_t offset, std::size_t width) const {
    std::uint64_t bits = 0;
    for (std::size_t i = width; i > 0; --i) {
      bits = bits << 8 | _bytes.at(offset + i - 1);
    }
    return bits;
  }

  Image& clear(std::size_t offset, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) {
      _bytes.at(offset + i) = 0;
    }
    return *this;
  }

  Image& copy(const Image& from, std::size_t fromOffset, std::size_t offset, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) {
      _bytes.at(offset + i) = from._bytes.at(fromOffset + i);
    }
    return *this;
  }

  /// Tells the first byte that differs; empty when none does.
  std::string difference(const Image& expected) const {
    std::ostringstream text;
    if (size() != expected.size()) {
      text << "size " << size() << ", expected " << expected.size();
      return text.str();
    }
    for (std::size_t i = 0; i < size(); ++i) {
      if (_bytes[i] != expected._bytes[i]) {
        text << "byte " << i << " is " << +_bytes[i] << ", expected " << +expected._bytes[i];
        break;
      }
    }
    return text.str();
  }

 private:
  std::vector<std::uint8_t> _bytes;
};

inline std::uint64_t bitsOf(double value) {
  std::uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

/// Of 127.99, where the minimum of a zone begins.
constexpr std::uint64_t bitsOf12799 = 0x405FFF5C28F5C28F;

/// One row of the table of a class's fields: where its elements lie, and how to reach them through
/// the class.
template <class Object>
struct Field {
  const char* name;
  std::size_t offset;
  std::size_t width;
  std::size_t count;
  std::function<void*(Object&, std::size_t)> element;
};

// Naming the type and the count of the elements makes the compiler compare them with the class's.

template <class Value, class Object>
Field<Object> field(std::size_t offset, const char* name, Value Object::*member) {
  return {name, offset, sizeof(Value), 1,
          [member](Object& object, std::size_t) { return &(object.*member); }};
}

template <class Value, std::size_t count, class Object>
Field<Object> field(std::size_t offset, const char* name, Value (Object::*member)[count]) {
  return {name, offset, sizeof(Value), count,
          [member](Object& object, std::size_t i) { return &(object.*member)[i]; }};
}

template <class Object>
using Fields = std::vector<Field<Object>>;

/// A value of its own for element `number`; in eight bytes, a finite double.
inline std::uint64_t distinctBits(std::size_t number, std::size_t width) {
  const std::uint64_t low = 0x0101 + number;
  return width == 2 ? low : width == 4 ? 0x44330000 + low : 0x3FF1223344550000 + low;
}

/// Writes a value of its own into every field through the class, finds each at its offset and
/// zeros everywhere else; then puts the same bytes down and reads each value through the class.
template <class Object>
void expectFieldsAtTheirOffsets(const Fields<Object>& fields) {
  Object written = Image(sizeof(Object)).as<Object>();
  Image expected(sizeof(Object));
  std::size_t number = 0;
  for (const Field<Object>& field : fields) {
    for (std::size_t i = 0; i < field.count; ++i) {
      const std::uint64_t bits = distinctBits(number++, field.width);
      std::memcpy(field.element(written, i), &bits, field.width);
      expected.put(field.offset + i * field.width, field.width, bits);
    }
  }
  EXPECT_EQ(Image::of(written).difference(expected), "");

  auto read = expected.as<Object>();
  for (const Field<Object>& field : fields) {
    for (std::size_t i = 0; i < field.count; ++i) {
      std::uint64_t bits = 0;
      std::memcpy(&bits, field.element(read, i), field.width);
      EXPECT_EQ(bits, expected.get(field.offset + i * field.width, field.width))
          << field.name << "[" << i << "]";
    }
  }
}

/// Puts each field of `fields` from `from`, where the object begins at `fromOffset`, into `to`,
/// where it begins at `toOffset`.
template <class Object>
void copyFields(const Fields<Object>& fields, const Image& from, std::size_t fromOffset, Image& to,
                std::size_t toOffset) {
  for (const Field<Object>& field : fields) {
    to.copy(from, fromOffset + field.offset, toOffset + field.offset, field.width * field.count);
  }
}

// The fields that both schemas hold, each at the same place.

template <class Period, std::size_t intArrayCount>
Fields<Period> systemPeriodFields() {
  return {field<std::int32_t>(0, "time0", &Period::time0),
          field<std::int32_t>(4, "time1", &Period::time1),
          field<std::int16_t>(8, "shortValue1", &Period::shortValue1),
          field<double>(16, "realValue1", &Period::realValue1),
          field<std::int32_t>(24, "intValue1", &Period::intValue1),
          field<double>(32, "realValue2", &Period::realValue2),
          field<std::int32_t>(40, "intValue2", &Period::intValue2),
          field<double>(48, "minA", &Period::minA),
          field<double>(56, "maxA", &Period::maxA),
          field<double>(64, "minB", &Period::minB),
          field<double>(72, "maxB", &Period::maxB),
          field<double>(80, "realValue3", &Period::realValue3),
          field<double>(88, "realValue4", &Period::realValue4),
          field<std::int32_t>(96, "intValue3", &Period::intValue3),
          field<double>(104, "realValue5", &Period::realValue5),
          field<double>(112, "realValue6", &Period::realValue6),
          field<std::int32_t>(120, "intValue4", &Period::intValue4),
          field<std::int16_t, 15>(124, "shortArray", &Period::shortArray),
          field<std::int32_t, intArrayCount>(156, "intArray", &Period::intArray)};
}

template <class Record>
Fields<Record> systemHeaderFields() {
  return {field<std::int32_t>(0, "headerWord1", &Record::headerWord1),
          field<std::int32_t>(4, "headerWord2", &Record::headerWord2),
          field<std::int16_t, 4>(8, "headerShortsA", &Record::headerShortsA),
          field<std::int16_t, 4>(16, "headerShortsB", &Record::headerShortsB)};
}

template <class Period>
Fields<Period> zonePeriodFields() {
  return {field<std::int32_t>(0, "time0", &Period::time0),
          field<std::int32_t>(4, "time1", &Period::time1),
          field<std::int16_t, 4>(8, "shortArray", &Period::shortArray),
          field<std::int32_t>(16, "intValue1", &Period::intValue1),
          field<std::int32_t>(20, "intValue2", &Period::intValue2),
          field<double>(24, "realValue1", &Period::realValue1),
          field<std::int32_t>(32, "intValue3", &Period::intValue3),
          field<double>(40, "minA", &Period::minA),
          field<double>(48, "maxA", &Period::maxA),
          field<double>(56, "realValue2", &Period::realValue2),
          field<double>(64, "realValue3", &Period::realValue3),
          field<std::int32_t>(72, "intValue4", &Period::intValue4),
          field<std::int16_t>(76, "shortValue1", &Period::shortValue1),
          field<std::int32_t>(80, "intValue5", &Period::intValue5)};
}

template <class Record>
Fields<Record> zoneHeaderFields() {
  return {field<std::int32_t>(0, "zone", &Record::zone),
          field<std::int32_t>(4, "headerWord1", &Record::headerWord1),
          field<std::int32_t>(8, "headerWord2", &Record::headerWord2)};
}

/// The fields of a whole record: its header, then every field of every period of both rings.
template <class Record, class Period>
Fields<Record> recordFields(Fields<Record> fields, const Fields<Period>& periodFields,
                            std::size_t daysOffset, std::size_t monthsOffset) {
  for (const Field<Period>& of : periodFields) {
    for (std::size_t d = 0; d < 9; ++d) {
      fields.push_back(
          {of.name, daysOffset + d * sizeof(Period) + of.offset, of.width, of.count,
           [of, d](Record& record, std::size_t i) { return of.element(record.days[d], i); }});
    }
    for (std::size_t m = 0; m < 14; ++m) {
      fields.push_back(
          {of.name, monthsOffset + m * sizeof(Period) + of.offset, of.width, of.count,
           [of, m](Record& record, std::size_t i) { return of.element(record.months[m], i); }});
    }
  }
  return fields;
}

}  // namespace HistoryTesting
