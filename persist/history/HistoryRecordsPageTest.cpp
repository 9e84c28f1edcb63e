// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include <string>

#include <gtest/gtest.h>

#include "persist/history/Schema0Zone.h"
#include "persist/history/testing/HistoryTesting.h"
#include "tests/support/HexDump.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using HistoryTesting::Image;
using Pvn::Persist::History::Kiv::Schema0::Bramal::Zone::Record;

TEST(HistoryRecordsPageTest, WorkedDumpIsWhatTheClassWrites) {
  Record record(3, 1000000000);
  record.headerWord1 = 7;
  record.days[0].shortArray[0] = -2;
  record.days[0].intValue1 = 100000;
  const std::string bytes = TestSupport::hexDump(Image::of(record).text(112));
  EXPECT_EQ(bytes,
            "0000  03 00 00 00 07 00 00 00 00 00 00 00 00 00 00 00\n"
            "0010  00 ca 9a 3b 00 ca 9a 3b fe ff 00 00 00 00 00 00\n"
            "0020  a0 86 01 00 00 00 00 00 00 00 00 00 00 00 00 00\n"
            "0030  00 00 00 00 00 00 00 00 8f c2 f5 28 5c ff 5f 40\n"
            "0040  00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00\n"
            "0050  00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00\n"
            "0060  00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00\n");
  const std::string page = TestSupport::readFile(HISTORY_RECORDS_PAGE);
  EXPECT_NE(page.find("```\n" + bytes + "```\n"), std::string::npos) << HISTORY_RECORDS_PAGE;
}

}  // namespace
