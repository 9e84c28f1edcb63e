// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "tests/support/KeptFile.h"

#include <cstdlib>

#include <gtest/gtest.h>

#include "tests/support/TemporaryFolder.h"

namespace TestSupport {

void expectKept(const std::string& path, const std::string& text) {
  if (std::getenv("WRITE_KEPT_FILES") != nullptr) {
    writeFile(path, text);
  }
  // Not EXPECT_EQ: the texts are long, and their differences are better told by other means.
  EXPECT_TRUE(readFile(path) == text)
      << path << " is not what it should be. With WRITE_KEPT_FILES=1 in the environment this test "
      << "writes it anew; \"git diff\" tells what has changed.";
}

}  // namespace TestSupport
