// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "fuzz/Digest.h"

#include <cstddef>
#include <cstring>
#include <vector>

#include "metakit/BytesColumn.h"
#include "metakit/Column.h"
#include "metakit/IntColumn.h"
#include "metakit/Structure.h"
#include "metakit/ViewColumn.h"
#include "metakit/WideColumn.h"

namespace Fuzz {

using Metakit::BytesColumn;
using Metakit::Column;
using Metakit::Field;
using Metakit::IntColumn;
using Metakit::Sequence;
using Metakit::ViewColumn;
using Metakit::WideColumn;

void Digest::add(std::uint64_t number) {
  _value = (_value ^ number) * 0x9E3779B97F4A7C15;
  _value ^= _value >> 32;
}

void Digest::add(const std::uint8_t* bytes, std::int32_t size) {
  add(static_cast<std::uint64_t>(size));
  for (std::int32_t at = 0; at < size; at += 8) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes + at, static_cast<std::size_t>(size - at < 8 ? size - at : 8));
    add(word);
  }
}

void Digest::add(const Sequence& table) {
  const std::vector<Field>& fields = table.structure().fields;
  const std::int32_t rows = table.rows();
  ++_tables;
  add(static_cast<std::uint64_t>(rows));
  add(fields.size());
  _cells += fields.empty() ? rows : 0;
  for (std::size_t i = 0; i < fields.size() && rows > 0; ++i) {
    const Column& column = table.columnAt(static_cast<int>(i));
    _cells += rows;
    for (std::int32_t row = 0; row < rows; ++row) {
      switch (fields[i].type) {
        case 'I':
        case 'F':
          add(static_cast<std::uint64_t>(static_cast<const IntColumn&>(column).at(row)));
          break;
        case 'L':
        case 'D':
          add(static_cast<std::uint64_t>(static_cast<const WideColumn&>(column).at(row)));
          break;
        case 'V':
          add(*static_cast<const ViewColumn&>(column).at(row));
          break;
        default: {
          const BytesColumn::Item item = static_cast<const BytesColumn&>(column).at(row);
          add(item.bytes, item.size);
        }
      }
    }
  }
}

}  // namespace Fuzz
