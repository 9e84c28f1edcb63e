// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "tool/Servers.h"

#include <type_traits>

#include <gtest/gtest.h>

namespace {

static_assert(std::is_same_v<decltype(creator), Pvn::Mt::Itc::Creator>);
static_assert(std::is_same_v<decltype(databaseServer), Rtk::MailboxServer>);

/// The servers in the order of their construction. Plain, as it is filled in before main.
const void* constructed[4];
int constructedCount = 0;

void note(const void* server) {
  if (constructedCount < 4) {
    constructed[constructedCount] = server;
    ++constructedCount;
  }
}

}  // namespace

// The linker puts these in the place of MailboxServer's two constructors, of a whole object and of
// a base, under names of its making. On ARM constructors return the object.
// NOLINTBEGIN(clang-diagnostic-reserved-identifier)
extern "C" {
void* __real__ZN3Rtk13MailboxServerC1Ev(void* server);
void* __real__ZN3Rtk13MailboxServerC2Ev(void* server);

void* __wrap__ZN3Rtk13MailboxServerC1Ev(void* server) {
  note(server);
  return __real__ZN3Rtk13MailboxServerC1Ev(server);
}

void* __wrap__ZN3Rtk13MailboxServerC2Ev(void* server) {
  note(server);
  return __real__ZN3Rtk13MailboxServerC2Ev(server);
}
}
// NOLINTEND(clang-diagnostic-reserved-identifier)

namespace {

TEST(ServersTest, AreConstructedCreatorFirstSoThatItIsDestroyedLast) {
  ASSERT_EQ(constructedCount, 2);
  EXPECT_EQ(constructed[0], &creator);
  EXPECT_EQ(constructed[1], &databaseServer);
}

}  // namespace
