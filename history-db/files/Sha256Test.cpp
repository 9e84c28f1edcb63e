// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/files/Sha256.h"

#include <string>

#include <gtest/gtest.h>

#include "history-db/base/Trouble.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using HistoryDb::InputFile;
using HistoryDb::sha256OfFile;

class Sha256OfFileTest : public ::testing::Test {
 protected:
  std::string ofBytes(const std::string& bytes) const {
    TestSupport::writeFile(folder.path("file"), bytes);
    return sha256OfFile(InputFile(folder.path("file")));
  }

  const TestSupport::TemporaryFolder folder;
};

// The examples of FIPS 180-4.
TEST_F(Sha256OfFileTest, IsThatOfTheStandard) {
  EXPECT_EQ(ofBytes(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  EXPECT_EQ(ofBytes("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(ofBytes(std::string(1000000, 'a')),
            "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

}  // namespace
