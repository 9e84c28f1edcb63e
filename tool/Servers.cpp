// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "tool/Servers.h"

// The order of these two is that of their construction, and the reverse of their destruction.
Pvn::Mt::Itc::Creator creator;
Rtk::MailboxServer databaseServer;
