// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "bench/conversion/Rows.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include <mk4.h>

#include "persist/history/Schema0System.h"
#include "persist/history/Schema0Zone.h"
#include "persist/history/Schema1System.h"
#include "persist/history/Schema1Zone.h"

namespace Bench {

namespace {

namespace Schema0 = Pvn::Persist::History::Kiv::Schema0::Bramal;
namespace Schema1 = Pvn::Persist::History::Kiv::Schema1::Bramal;

static_assert(sizeof(Schema1::System::Record) == newSystemSize);
static_assert(sizeof(Schema1::Zone::Record) == newZoneSize);

constexpr std::size_t systemTable = 0;
constexpr std::size_t zoneTable = 2;

const c4_IntProp& keyColumn() {
  static const c4_IntProp column("Key");
  return column;
}

const c4_BytesProp& recordColumn() {
  static const c4_BytesProp column("Record");
  return column;
}

c4_View tableOf(c4_Storage& storage, std::size_t table) {
  return storage.GetAs((std::string(tableNames.at(table)) + "[Key:I,Record:B]").c_str());
}

/// Appends rows with bodies of `size` bytes.
void fill(c4_View view, int count, std::size_t size, int firstKey) {
  std::mt19937 random(1);
  std::vector<unsigned char> body(size);
  for (int i = 0; i < count; ++i) {
    std::generate(body.begin(), body.end(), [&] { return static_cast<unsigned char>(random()); });
    c4_Row row;
    keyColumn()(row) = keyOf(firstKey + i);
    recordColumn()(row) = c4_Bytes(body.data(), static_cast<int>(size));
    view.Add(row);
  }
}

template <class Old, class New>
void convertTable(const c4_View& view, std::size_t table,
                  const std::function<void(const ConvertedRow&)>& take) {
  const int rows = view.GetSize();
  for (int row = 0; row < rows; ++row) {
    const c4_Bytes stored = recordColumn()(view[row]);
    Old old;
    std::memcpy(static_cast<void*>(&old), stored.Contents(),
                std::min(sizeof old, static_cast<std::size_t>(stored.Size())));
    const New converted(old);
    take({table, keyColumn()(view[row]), &converted, sizeof converted});
  }
}

}  // namespace

bool makeInfile(const char* path, const Rows& rows) {
  std::filesystem::remove(path);
  c4_Storage storage(path, 1);
  fill(tableOf(storage, systemTable), rows.systems, sizeof(Schema0::System::Record), 0);
  fill(tableOf(storage, zoneTable), rows.zones, sizeof(Schema0::Zone::Record), rows.systems);
  return storage.Commit();
}

bool convertEach(const char* path, const std::function<void(const ConvertedRow&)>& take) {
  c4_Storage storage(path, 0);
  for (std::size_t table = 0; table < tableNames.size(); ++table) {
    const c4_View view = tableOf(storage, table);
    if (table == systemTable) {
      convertTable<Schema0::System::Record, Schema1::System::Record>(view, table, take);
    } else {
      convertTable<Schema0::Zone::Record, Schema1::Zone::Record>(view, table, take);
    }
  }
  return storage.Strategy().IsValid();
}

}  // namespace Bench
