#include <string>

#include <gtest/gtest.h>

#include "metakit/mk4.h"
#include "tests/support/Golden.h"

namespace {

using TestSupport::caseName;
using TestSupport::GoldenFile;
using TestSupport::goldenFiles;
using TestSupport::readDescription;
using TestSupport::readTables;

/// Files that the library itself wrote.
class GoldenTest : public ::testing::TestWithParam<GoldenFile> {};

TEST_P(GoldenTest, IsReadToTheByte) {
  const GoldenFile& file = GetParam();
  EXPECT_EQ(readDescription(file.path), file.description);
  EXPECT_EQ(readTables(file.path, file.input), file.input);
}

INSTANTIATE_TEST_SUITE_P(All, GoldenTest, ::testing::ValuesIn(goldenFiles()), caseName);

}  // namespace
