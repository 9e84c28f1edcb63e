// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

#include "rtk/messaging/MailboxServer.h"
#include "tool/Creator.h"

/// Carries out the conversion, on a thread of its own. Constructed first and destroyed last of the
/// two, while other threads may still run.
extern Pvn::Mt::Itc::Creator creator;

/// Serves the requests of both databases, on the thread that the conversion starts for it.
extern Rtk::MailboxServer databaseServer;
