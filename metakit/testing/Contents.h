// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "metakit/BytesColumn.h"
#include "metakit/Column.h"
#include "metakit/IntColumn.h"
#include "metakit/Sequence.h"
#include "metakit/Structure.h"
#include "metakit/ViewColumn.h"
#include "metakit/WideColumn.h"

namespace Metakit {

/// All rows of a table, nested ones too, as a text by which tests compare tables.
inline std::string contentsOf(const Sequence& table) {
  std::string text = "{";
  for (std::int32_t row = 0; row < table.rows(); ++row) {
    for (std::size_t i = 0; i < table.structure().fields.size(); ++i) {
      const Field& field = table.structure().fields[i];
      const Column& column = table.columnAt(static_cast<int>(i));
      text += field.name + '=';
      switch (field.type) {
        case 'I':
        case 'F':
          text += std::to_string(static_cast<const IntColumn&>(column).at(row));
          break;
        case 'L':
        case 'D':
          text += std::to_string(static_cast<const WideColumn&>(column).at(row));
          break;
        case 'V':
          text += contentsOf(*static_cast<const ViewColumn&>(column).at(row));
          break;
        default: {
          const BytesColumn::Item item = static_cast<const BytesColumn&>(column).at(row);
          text += std::to_string(item.size) + ':';
          text.insert(text.end(), item.bytes, item.bytes + item.size);
        }
      }
      text += ' ';
    }
    text += '\n';
  }
  return text + '}';
}

}  // namespace Metakit
