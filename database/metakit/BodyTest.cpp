// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "database/metakit/Body.h"

#include <ostream>
#include <string>

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;
using Pvn::Database::Metakit::Persist::bodyWith;
using Pvn::Database::Metakit::Persist::copyFromBody;

constexpr unsigned int recordSize = 8;

/// A range of a record of 8 bytes, and what comes of reading or writing it.
struct Case {
  const char* name;
  std::string body;
  unsigned int size;
  unsigned int offset;
  std::string expected;
};

std::ostream& operator<<(std::ostream& stream, const Case& body) {
  return stream << body.name;
}

std::string caseName(const ::testing::TestParamInfo<Case>& body) {
  return body.param.name;
}

c4_Bytes bytesOf(const std::string& text) {
  return c4_Bytes(text.data(), static_cast<int>(text.size()));
}

class BodyReadTest : public ::testing::TestWithParam<Case> {};

TEST_P(BodyReadTest, CopiesWhatTheRecordHasAndTouchesNothingElse) {
  const Case& range = GetParam();
  const std::string bodyAndMore = range.body + "################";
  const c4_Bytes body(bodyAndMore.data(), static_cast<int>(range.body.size()));
  std::string buffer = "..........";
  copyFromBody(body, recordSize, buffer.data(), range.size, range.offset);
  EXPECT_EQ(buffer, range.expected);
}

INSTANTIATE_TEST_SUITE_P(
    All, BodyReadTest,
    ::testing::Values(
        Case{"Whole", "01234567", 8, 0, "01234567.."}, Case{"Part", "01234567", 3, 2, "234......."},
        Case{"NothingAtTheEnd", "01234567", 0, 8, ".........."},
        Case{"ShortBody", "abcd", 8, 0, "abcd\0\0\0\0.."s},
        Case{"PastAShortBody", "abcd", 4, 2, "cd\0\0......"s},
        Case{"BehindAShortBody", "ab", 3, 4, "\0\0\0......."s},
        Case{"EmptyBody", "", 8, 0, "\0\0\0\0\0\0\0\0.."s},
        Case{"LongBody", "0123456789ab", 8, 0, "01234567.."},
        Case{"EndOfTheRecordInALongBody", "0123456789ab", 3, 5, "567......."},
        Case{"SizeThatWrapsAround", "01234567", 0xFFFFFFFE, 4, "4567......"},
        Case{"SizeThatWrapsAroundInALongBody", "0123456789ab", 0xFFFFFFFC, 4, "4567......"},
        Case{"SizeThatWrapsAroundInAShortBody", "abcde", 0xFFFFFFFC, 4, "e\0\0\0......"s}),
    caseName);

TEST(BodyTest, ReadsNothingIntoNoBuffer) {
  copyFromBody(bytesOf("01234567"), recordSize, nullptr, 0, 0);
  copyFromBody(c4_Bytes(), recordSize, nullptr, 0, recordSize);
}

class BodyWriteTest : public ::testing::TestWithParam<Case> {};

TEST_P(BodyWriteTest, PutsDataOverTheBodyWhichGrowsAsNeeded) {
  const Case& range = GetParam();
  const std::string data = "ABCDEFGHIJ";
  const c4_Bytes body =
      bodyWith(bytesOf(range.body), recordSize, data.data(), range.size, range.offset);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(body.Contents()),
                        static_cast<std::size_t>(body.Size())),
            range.expected);
}

INSTANTIATE_TEST_SUITE_P(
    All, BodyWriteTest,
    ::testing::Values(
        Case{"Whole", "01234567", 8, 0, "ABCDEFGH"}, Case{"Part", "01234567", 3, 2, "01ABC567"},
        Case{"Nothing", "01234567", 0, 8, "01234567"},
        Case{"OneByte", "01234567", 1, 2, "01A34567"},
        Case{"WithinAShortBody", "0123", 2, 1, "0AB3"},
        Case{"OverTheEndOfAShortBody", "0123", 4, 2, "01ABCD"},
        Case{"AfterAGap", "ab", 2, 4, "ab\0\0AB"s}, Case{"IntoNoBody", "", 4, 4, "\0\0\0\0ABCD"s},
        Case{"WithinALongBody", "0123456789ab", 4, 4, "0123ABCD89ab"},
        Case{"SizeThatWrapsAround", "01234567", 0xFFFFFFFC, 4, "0123ABCD"},
        Case{"SizeThatWrapsAroundInAShortBody", "0", 0xFFFFFFFE, 6, "0\0\0\0\0\0AB"s}),
    caseName);

TEST(BodyTest, LeavesTheBodyItStartedFromAlone) {
  const std::string body = "01234567";
  bodyWith(bytesOf(body), recordSize, "ABCD", 4, 0);
  EXPECT_EQ(body, "01234567");
}

TEST(BodyTest, OwnsItsBytes) {
  std::string body = "01234567";
  std::string data = "ABCD";
  const c4_Bytes written = bodyWith(bytesOf(body), recordSize, data.data(), 4, 0);
  body.assign(8, '-');
  data.assign(4, '-');
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(written.Contents()), 8), "ABCD4567");
}

}  // namespace
