// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/files/Attributes.h"

#include <fcntl.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <string>

#include <gtest/gtest.h>

#include "history-db/base/Trouble.h"
#include "history-db/files/Descriptor.h"
#include "history-db/testing/AccessControlTesting.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using HistoryDb::Descriptor;

/// A pipe has no extended attributes.
TEST(AttributesTest, AnAttributeThatCannotBeGivenIsAnError) {
  const TestSupport::TemporaryFolder folder;
  const Descriptor from(::open(folder.path("file").c_str(), O_RDWR | O_CREAT, 0600));
  const std::string list = HistoryDbTesting::accessControlList();
  ASSERT_EQ(::fsetxattr(from.get(), "system.posix_acl_access", list.data(), list.size(), 0), 0);
  int ends[2] = {};
  ASSERT_EQ(::pipe(ends), 0);
  const Descriptor end(ends[0]);
  const Descriptor to(ends[1]);
  try {
    HistoryDb::copyAttributes(from.get(), to.get(), "NAME");
    FAIL();
  } catch (const HistoryDb::Trouble& trouble) {
    EXPECT_EQ(std::string(trouble.what())
                  .rfind("NAME: Its attribute system.posix_acl_access cannot be given to another "
                         "file. ",
                         0),
              0U)
        << trouble.what();
  }
}

}  // namespace
