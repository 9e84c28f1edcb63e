// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

#include "database/metakit/testing/TableTesting.h"
#include "metakit/Sequence.h"

// A table that has as many rows as it can count. No file is that large, so this file is compiled
// without access control, to change the number of rows.

namespace {

using namespace DatabaseTesting;

TEST_F(TableTest, FullTableTakesNoRecordAndSaysSo) {
  // The first row has the key, so that no others are looked at.
  openTable({{7, bodyOf('a')}});
  std::int32_t& count = table->_view->_table->_rows;
  count = std::numeric_limits<std::int32_t>::max();
  RecordHandle* record = nullptr;
  EXPECT_EQ(output([&] {
              record = table->createRecordWithKey("01234567", memory.get(), recordObjectSize, 7);
            }),
            duplicateLine + tableLine + "appendRecord(): no more rows possible.\n");
  EXPECT_EQ(record, nullptr);
  EXPECT_TRUE(memory.isUntouched());
  EXPECT_EQ(count, std::numeric_limits<std::int32_t>::max());
  count = 1;
  EXPECT_EQ(rowsInFile(), (Rows{{7, bodyOf('a')}}));
}

}  // namespace
